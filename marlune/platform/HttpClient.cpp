#include "marlune/platform/HttpClient.h"

namespace marlune {

std::string encodedAddress(std::string_view published) {
  constexpr std::string_view encoded = "#%\"'<>`\\^{|}";
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string address;
  address.reserve(published.size() + 16);
  bool inQuery = false;
  for (const char character : published) {
    const auto byte = static_cast<unsigned char>(character);
    // A plus stands for a blank in a query, and for itself anywhere else.
    const bool breaks = byte <= 0x20 || byte >= 0x7f || encoded.find(character) != std::string_view::npos ||
                        (character == '+' && inQuery);
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

}  // namespace marlune
