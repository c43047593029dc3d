#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "cli/JsonWriter.h"

namespace marlune::cli {

/// What a command gives, in both forms; only the one that is asked for is made. Copies share nothing that
/// changes, so an answer may be made on one thread and shown on another.
struct Answer {
  /// Writes the result as one JSON value. Empty: null.
  std::function<void(JsonWriter&)> json;
  /// The same for people: lines of UTF-8 with line ends. Empty: nothing to say.
  std::function<std::string()> people;
};

/// Null; people read `line`.
Answer nothing(std::string line);

/// Each null where there is no value; people then read `absent`.
Answer answerOf(std::optional<bool> value, const std::string& absent = "");
Answer answerOf(std::optional<std::string> value, const std::string& absent = "");
Answer answerOf(const std::vector<std::string>& values);

Answer answerOfInteger(std::int64_t value);
/// `unit` stands behind the number where people read it.
Answer answerOfNumber(double value, const std::string& unit = "");

}  // namespace marlune::cli
