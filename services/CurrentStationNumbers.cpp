#include "services/CurrentStationNumbers.h"

#include <algorithm>
#include <charconv>

namespace marlune::services {
namespace {

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

bool isCapital(char c) {
  return c >= 'A' && c <= 'Z';
}

template <typename Number>
std::optional<Number> numberOf(std::string_view text) {
  Number number{};
  const auto [stop, problem] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool whole = problem == std::errc() && stop == text.data() + text.size();
  return whole ? std::optional(number) : std::nullopt;
}

// Takes " (Depth 35.4ft)" out of the name. False when such a mark is begun and not understood.
bool takeDepth(std::string& name, std::optional<double>& depthFeet) {
  constexpr std::string_view open = " (Depth ";
  constexpr std::string_view close = "ft)";
  const auto begin = name.find(open);
  if (begin == std::string::npos) return true;
  const auto end = name.find(close, begin);
  if (end == std::string::npos) return false;
  const std::string_view figure =
      std::string_view(name).substr(begin + open.size(), end - begin - open.size());
  depthFeet = numberOf<double>(figure);
  name.erase(begin, end + close.size() - begin);
  return depthFeet.has_value();
}

}  // namespace

std::optional<CurrentStationNumber> currentStationNumber(std::string_view number) {
  constexpr std::size_t letters = 3;
  constexpr std::size_t length = 7;
  if (number.size() < length + 2 || number[length] != '_' || !isDigit(number[length + 1]))
    return std::nullopt;
  const std::string_view id = number.substr(0, length);
  const auto bin = numberOf<int>(number.substr(length + 1));
  const bool known = std::all_of(id.begin(), id.begin() + letters, isCapital) &&
                     std::all_of(id.begin() + letters, id.end(), isDigit);
  if (!known || !bin || *bin < 1) return std::nullopt;
  return CurrentStationNumber{std::string(id), *bin};
}

std::optional<CurrentStationName> currentStationName(std::string_view whole) {
  constexpr std::string_view word = " Current";
  const auto end = whole.rfind(word);
  if (end == std::string_view::npos) return std::nullopt;
  const std::string_view marks = whole.substr(end + word.size());
  if (!marks.empty() && !(marks.starts_with(" (") && marks.ends_with(')'))) return std::nullopt;
  whole = whole.substr(0, end);
  const auto comma = whole.rfind(", ");
  if (comma == std::string_view::npos || comma == 0) return std::nullopt;
  CurrentStationName parts{std::string(whole.substr(0, comma)), std::nullopt,
                           std::string(whole.substr(comma + 2))};
  if (!takeDepth(parts.name, parts.depthFeet) || parts.name.empty() || parts.state.empty())
    return std::nullopt;
  return parts;
}

}  // namespace marlune::services
