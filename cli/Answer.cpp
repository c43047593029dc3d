#include "cli/Answer.h"

#include <fmt/format.h>

#include <utility>

#include "cli/Table.h"

namespace marlune::cli {
namespace {

std::function<std::string()> line(std::string text) {
  return [text = std::move(text)] { return text + "\n"; };
}

}  // namespace

Answer nothing(std::string text) {
  return {nullptr, text.empty() ? nullptr : line(std::move(text))};
}

Answer answerOf(std::optional<bool> value, const std::string& absent) {
  if (!value) return nothing(absent);
  return {[value](JsonWriter& json) { json.boolean(*value); }, line(*value ? "yes" : "no")};
}

Answer answerOf(std::optional<std::string> value, const std::string& absent) {
  if (!value) return nothing(absent);
  return {[value](JsonWriter& json) { json.text(*value); }, line(plainText(*value))};
}

Answer answerOf(const std::vector<std::string>& values) {
  return {[values](JsonWriter& json) {
            json.beginArray();
            for (const auto& value : values) json.text(value);
            json.endArray();
          },
          [values] {
            std::string lines;
            for (const auto& value : values) lines += plainText(value) + "\n";
            return lines;
          }};
}

Answer answerOfInteger(std::int64_t value) {
  return {[value](JsonWriter& json) { json.integer(value); }, line(fmt::to_string(value))};
}

Answer answerOfNumber(double value, const std::string& unit) {
  return {[value](JsonWriter& json) { json.number(value); }, line(fmt::format("{:g}", value) + unit)};
}

}  // namespace marlune::cli
