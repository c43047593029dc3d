#pragma once

#include <string>
#include <string_view>

namespace marlune::services {

/// Text as it stands in an XML attribute or element.
inline std::string escapedXml(std::string_view text) {
  std::string out;
  for (const char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      default:
        out.push_back(c);
    }
  }
  return out;
}

}  // namespace marlune::services
