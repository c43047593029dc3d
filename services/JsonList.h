#pragma once

#include <rapidjson/document.h>

#include <optional>
#include <string>
#include <string_view>

namespace marlune::services {

// Reading of the lists that other services answer and deployers save: whatever they hold, reading ends in
// values or in words about what is wrong. Sources only; no header of a list shows the library under it.

/// Reads a whole JSON text, perhaps with a byte-order mark. What is wrong with it, or an empty text.
std::string readJson(std::string_view json, rapidjson::Document& document);

/// The object's member of that name; null when there is none, or no object.
const rapidjson::Value* member(const rapidjson::Value* object, const char* name);

/// The text without blanks around it; empty for what is no text. It lives as long as the document.
std::string_view textOf(const rapidjson::Value* value);

/// Nothing for what is no finite number, written as a number or as a text.
std::optional<double> numberOf(const rapidjson::Value* value);

/// Whether the text can be the number of a station or port, which goes into file names and addresses.
bool isCode(std::string_view text);

/// Whether there is such a place on earth.
bool isPlace(double latitude, double longitude);

}  // namespace marlune::services
