#include "cli/JsonFile.h"

#include <fmt/format.h>

#include "cli/Errors.h"

namespace marlune::cli {

simdjson::dom::array arrayOf(simdjson::dom::parser& parser, std::string_view json, std::string_view name,
                             std::string_view entries) {
  if (json.starts_with("\xEF\xBB\xBF")) json.remove_prefix(3);
  simdjson::dom::element root;
  if (const auto error = parser.parse(simdjson::padded_string(json)).get(root)) {
    throw WrongCall(fmt::format("{} is no JSON: {}", name, simdjson::error_message(error)));
  }
  simdjson::dom::array array;
  if (root.get(array) != simdjson::SUCCESS) {
    throw WrongCall(fmt::format("{} is not a JSON array of {}", name, entries));
  }
  return array;
}

std::optional<simdjson::dom::element> memberOf(simdjson::dom::object object, std::string_view key) {
  simdjson::dom::element value;
  if (object[key].get(value) != simdjson::SUCCESS || value.is_null()) return std::nullopt;
  return value;
}

}  // namespace marlune::cli
