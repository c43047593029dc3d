#pragma once

#include <string>
#include <string_view>

namespace marlune {

/// Appends a text of well-formed UTF-8 to `out` as a JSON string, quotes included.
inline void appendJsonText(std::string& out, std::string_view text) {
  constexpr std::string_view digits = "0123456789abcdef";
  out += '"';
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      out.append({'\\', c});
    } else if (byte < 0x20) {
      out.append("\\u00").append({digits[byte >> 4U], digits[byte & 15U]});
    } else {
      out += c;
    }
  }
  out += '"';
}

}  // namespace marlune
