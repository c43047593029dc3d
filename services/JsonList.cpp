#include "services/JsonList.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include <fmt/format.h>
#include <rapidjson/error/en.h>

namespace marlune::services {

std::string readJson(std::string_view json, rapidjson::Document& document) {
  // Iterative, so that a deeply nested file cannot exhaust the stack.
  constexpr unsigned reading = rapidjson::kParseIterativeFlag | rapidjson::kParseFullPrecisionFlag |
                               rapidjson::kParseValidateEncodingFlag;
  constexpr std::string_view mark = "\xEF\xBB\xBF";
  if (json.starts_with(mark)) json.remove_prefix(mark.size());
  document.Parse<reading>(json.data(), json.size());
  if (!document.HasParseError()) return {};
  return fmt::format("no JSON at byte {}: {}", document.GetErrorOffset(),
                     rapidjson::GetParseError_En(document.GetParseError()));
}

const rapidjson::Value* member(const rapidjson::Value* object, const char* name) {
  if (object == nullptr || !object->IsObject()) return nullptr;
  const auto found = object->FindMember(name);
  return found == object->MemberEnd() ? nullptr : &found->value;
}

std::string_view textOf(const rapidjson::Value* value) {
  if (value == nullptr || !value->IsString()) return {};
  std::string_view text(value->GetString(), value->GetStringLength());
  while (text.starts_with(' ')) text.remove_prefix(1);
  while (text.ends_with(' ')) text.remove_suffix(1);
  return text;
}

std::optional<double> numberOf(const rapidjson::Value* value) {
  if (value != nullptr && value->IsNumber()) return value->GetDouble();
  const std::string_view text = textOf(value);
  double number = 0;
  const auto [stop, problem] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool whole = problem == std::errc() && stop == text.data() + text.size() && std::isfinite(number);
  return whole ? std::optional(number) : std::nullopt;
}

bool isCode(std::string_view text) {
  return !text.empty() && text.size() <= 32 && std::all_of(text.begin(), text.end(), [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c == '-';
  });
}

bool isPlace(double latitude, double longitude) {
  return std::abs(latitude) <= 90 && std::abs(longitude) <= 180;
}

}  // namespace marlune::services
