#pragma once

#include <cmath>
#include <string>
#include <string_view>

#include <fmt/format.h>

namespace marlune::services {

/// Text as it stands between the quotes of a JSON string.
inline std::string escapedJson(std::string_view text) {
  std::string out;
  for (const char c : text) {
    if (c == '"' || c == '\\') out.push_back('\\');
    if (static_cast<unsigned char>(c) < 0x20)
      out += fmt::format("\\u{:04x}", static_cast<unsigned>(c));
    else
      out.push_back(c);
  }
  return out;
}

/// The number with at most so many decimals, as short as it goes: "-3.2", "7", and "-0" for what is just
/// below zero.
inline std::string shortNumber(double number, int decimals) {
  const double scale = std::pow(10.0, decimals);
  return fmt::format("{}", std::round(number * scale) / scale);
}

}  // namespace marlune::services
