#include "marlune/platform/HttpClient.h"

namespace marlune {

namespace {

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

}  // namespace marlune
