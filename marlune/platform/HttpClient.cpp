#include "marlune/platform/HttpClient.h"

#include <cstdint>

#include "marlune/formats/Text.h"

namespace marlune {

namespace {

constexpr std::string_view hostCharacters =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._~";
constexpr std::string_view addressCharacters = "0123456789abcdefABCDEF:.";

/// ":8080"
bool isPort(std::string_view text) {
  if (!text.starts_with(':')) return false;
  text.remove_prefix(1);
  if (text.empty() || text.size() > 5 || text.find_first_not_of("0123456789") != text.npos) return false;
  const std::int64_t number = lenientInteger(text);
  return number > 0 && number < 65'536;
}

std::string encoded(std::string_view text, std::string_view breaking, bool plusBreaksQuery) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string address;
  address.reserve(text.size() + 16);
  bool inQuery = false;
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    const bool breaks = byte <= 0x20 || byte >= 0x7f || breaking.find(character) != std::string_view::npos ||
                        (character == '+' && inQuery && plusBreaksQuery);
    if (breaks) {
      address += '%';
      address += digits[byte >> 4U];
      address += digits[byte & 0x0fU];
    } else {
      address += character;
    }
    if (character == '?') inQuery = true;
  }
  return address;
}

}  // namespace

std::string encodedAddress(std::string_view published) {
  // A plus stands for a blank in a query, and for itself anywhere else.
  return encoded(published, "#%\"'<>`\\^{|}", true);
}

std::string encodedGivenAddress(std::string_view given) {
  return encoded(given.substr(0, given.find('#')), "\"<>`\\^{|}", false);
}

bool isHttpAddress(std::string_view address) {
  const auto schemeEnd = address.find("://");
  if (schemeEnd == std::string_view::npos) return false;
  std::string scheme(address.substr(0, schemeEnd));
  for (char& letter : scheme) {
    if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
  }
  if (scheme != "http" && scheme != "https") return false;
  std::string_view authority = address.substr(schemeEnd + 3);
  authority = authority.substr(0, authority.find_first_of("/?#"));
  const bool isNumeric = authority.starts_with('[');
  const auto hostEnd = isNumeric ? authority.find(']') : authority.find(':');
  if (isNumeric && hostEnd == std::string_view::npos) return false;
  const std::string_view name = isNumeric ? authority.substr(1, hostEnd - 1) : authority.substr(0, hostEnd);
  const std::string_view rest =
      hostEnd == std::string_view::npos ? "" : authority.substr(hostEnd + (isNumeric ? 1 : 0));
  return !name.empty() &&
         name.find_first_not_of(isNumeric ? addressCharacters : hostCharacters) == name.npos &&
         (rest.empty() || isPort(rest));
}

}  // namespace marlune
