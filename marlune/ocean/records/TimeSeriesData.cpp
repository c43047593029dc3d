#include "marlune/ocean/records/TimeSeriesData.h"

#include <array>
#include <charconv>
#include <cmath>

namespace marlune {

std::string numberAttribute(double value) {
  std::array<char, 400> room{};  // the smallest number has 343 characters
  const auto [end, failure] = std::to_chars(room.data(), room.data() + room.size(),
                                            value == 0.0 ? 0.0 : value, std::chars_format::fixed);
  std::string text(room.data(), end);
  if (std::isfinite(value) && text.find('.') == std::string::npos) text += ".0";
  return text;
}

}  // namespace marlune
