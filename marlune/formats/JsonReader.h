#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "simdjson.h"

namespace marlune {

// For the library's own sources alone: who includes this must be built with the flags of the JSON library,
// which change the layout of its classes. Others see JsonReaders.h.

/// Reads JSON documents into trees. Keeps its room between documents, so it is worth keeping; used by one
/// thread at a time.
///
/// A document must be UTF-8, perhaps with a byte-order mark, nest at most 1024 deep and be at most 64 MiB
/// long. A whole number beyond 64 bits is a double. One that no double holds spoils only what asks for it: it
/// stands as an empty object.
class JsonReader {
 public:
  /// The outermost value, which lasts until the next call; nothing for what is no document.
  std::optional<simdjson::dom::element> read(std::string_view bytes);

  /// What was wrong with the last document, for people.
  std::string_view error() const { return error_; }

  /// Bytes of the largest document that it has room for.
  std::size_t capacity() const { return parser_.capacity(); }

 private:
  static constexpr std::size_t maximumSize = std::size_t{64} << 20;
  simdjson::dom::parser parser_{maximumSize};
  std::string_view error_;  // of static texts
};

/// The values of a tree as a strict reader takes them: nothing for another type. A number is no truth value
/// and a truth value no number.
namespace json {

/// A whole number in the range of 64 bits, also one that is written with a fraction or an exponent.
inline std::optional<std::int64_t> integer(simdjson::dom::element value) {
  if (value.is<std::int64_t>()) return std::int64_t(value);
  if (value.type() != simdjson::dom::element_type::DOUBLE) return std::nullopt;
  const double wide = value.get_double().value_unsafe();
  if (wide != std::trunc(wide) || wide < -0x1p63 || wide >= 0x1p63) return std::nullopt;
  return static_cast<std::int64_t>(wide);
}

inline std::optional<double> number(simdjson::dom::element value) {
  double result = 0.0;
  return value.get_double().get(result) == simdjson::SUCCESS ? std::optional(result) : std::nullopt;
}

/// Lasts as long as the tree.
inline std::optional<std::string_view> text(simdjson::dom::element value) {
  std::string_view result;
  return value.get_string().get(result) == simdjson::SUCCESS ? std::optional(result) : std::nullopt;
}

inline std::optional<bool> flag(simdjson::dom::element value) {
  bool result = false;
  return value.get_bool().get(result) == simdjson::SUCCESS ? std::optional(result) : std::nullopt;
}

/// A copy of the text under `key`; nothing where there is none or something else.
inline std::optional<std::string> textOf(simdjson::dom::object members, std::string_view key) {
  simdjson::dom::element value;
  if (members[key].get(value) != simdjson::SUCCESS) return std::nullopt;
  const auto held = text(value);
  return held ? std::optional<std::string>(*held) : std::nullopt;
}

}  // namespace json

}  // namespace marlune
