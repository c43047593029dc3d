#pragma once

#include <charconv>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace marlune::services {

/// The plain decimal number that is the whole text; nothing for anything else.
template <typename Number>
std::optional<Number> numberOf(std::string_view text) {
  Number number{};
  const char* end = text.data() + text.size();
  const auto [stop, problem] = std::from_chars(text.data(), end, number);
  if (problem != std::errc() || stop != end) return std::nullopt;
  return number;
}

/// As above; nothing for a text that is absent.
template <typename Number>
std::optional<Number> numberOf(const std::optional<std::string>& text) {
  return text ? numberOf<Number>(std::string_view(*text)) : std::nullopt;
}

/// The instant, in seconds since 1970, of a UTC time written in one of the patterns: each of the letters y,
/// M, d, H, m and s stands for a digit of that field, any other character for itself ("yyyyMMdd HH:mm").
/// Nothing for a text of another form, a time that does not exist, and years before 1900 or after 2100.
std::optional<std::int64_t> instantOf(std::string_view text,
                                      std::initializer_list<std::string_view> patterns);

/// "2025-03-05T06:00:00" of an instant, with another text between day and time if so wished.
std::string instantText(std::int64_t time, std::string_view between = "T");

}  // namespace marlune::services
