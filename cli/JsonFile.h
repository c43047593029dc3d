#pragma once

#include <simdjson.h>

#include <optional>
#include <string_view>

namespace marlune::cli {

/// The outermost array of a JSON file that a call names. Throws WrongCall, which calls the file `name` and
/// its entries `entries`.
simdjson::dom::array arrayOf(simdjson::dom::parser& parser, std::string_view json, std::string_view name,
                             std::string_view entries);

/// The member of an object, or nothing when it is absent or null.
std::optional<simdjson::dom::element> memberOf(simdjson::dom::object object, std::string_view key);

}  // namespace marlune::cli
