#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "marlune/formats/PropertyList.h"

/// What the readers and writers of the two forms share. Not published.
namespace marlune::detail {

/// Instants stand in binary property lists as seconds since 2001-01-01 00:00:00 UTC.
inline constexpr double propertyListEpoch = 978'307'200;

/// The one key of the dictionary that stands for a Uid in the XML form.
inline constexpr std::string_view xmlUidKey = "CF$UID";

/// Counts down what one list may still take.
class PropertyListBudget {
 public:
  bool takeValues(std::size_t count) { return take(values_, count); }
  bool takeBytes(std::size_t count) { return take(bytes_, count); }

 private:
  static bool take(std::size_t& left, std::size_t count) {
    if (count > left) return false;
    left -= count;
    return true;
  }
  std::size_t values_ = PropertyList::maximumValues;
  std::size_t bytes_ = PropertyList::maximumBytes;
};

inline bool isAscii(std::string_view text) {
  unsigned bits = 0;
  for (const char c : text) bits |= static_cast<unsigned char>(c);
  return bits < 0x80;
}

/// Makes a key stand once: at its first place, with its last value.
void keepLastOfEachKey(PropertyList::Dictionary& entries);

bool isBinaryPropertyList(std::string_view bytes);
std::optional<PropertyList> readBinaryPropertyList(std::string_view bytes);
std::optional<PropertyList> readXmlPropertyList(std::string_view bytes);

}  // namespace marlune::detail
