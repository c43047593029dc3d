#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "marlune/base/Data.h"
#include "marlune/base/Export.h"
#include "marlune/time/Date.h"

namespace marlune {

/// A property list: a truth value, number, instant, run of bytes or text, or an array or dictionary of such
/// values. A plain value: copies are independent, and one object may be read from any number of threads as
/// long as none changes it.
///
///     PropertyList list = PropertyList::Array{"8454000", "9414290"};
///     if (auto bytes = writeXmlPropertyList(list)) files.write(path, *bytes);
///
///     if (auto read = readPropertyList(bytes))
///       if (const PropertyList* name = read->find("name"))
///         if (const std::string* region = name->text()) ...
class MARLUNE_API PropertyList {
 public:
  struct Entry;
  using Array = std::vector<PropertyList>;
  /// Entries in the order of the file or of insertion; a key stands once.
  using Dictionary = std::vector<Entry>;

  /// A reference into the object table of a keyed archive.
  struct Uid {
    std::uint64_t value = 0;
    bool operator==(const Uid&) const = default;
  };

  /// Bounds of what is read and written. Reading counts what stands after shared references are expanded, so
  /// a small file cannot ask for much memory.
  static constexpr std::size_t maximumDepth = 512;
  static constexpr std::size_t maximumValues = 1'000'000;
  static constexpr std::size_t maximumBytes = std::size_t{64} << 20;  // of texts, keys and data together

  /// An empty dictionary.
  PropertyList();
  PropertyList(std::same_as<bool> auto value) : PropertyList(std::in_place, value) {}
  template <std::integral Integer>
  requires(!std::same_as<Integer, bool> && !std::same_as<Integer, char>) PropertyList(Integer value)
      : PropertyList(std::in_place, static_cast<std::uint64_t>(value), std::in_range<std::int64_t>(value)) {}
  PropertyList(double value);
  PropertyList(Date value);
  PropertyList(std::string text);  // UTF-8
  PropertyList(std::string_view text);
  PropertyList(const char* text);
  PropertyList(Array values);
  PropertyList(Dictionary entries);  // requires: no key twice
  PropertyList(Uid value);
  static PropertyList ofData(Bytes bytes);

  PropertyList(const PropertyList&);
  PropertyList(PropertyList&&) noexcept;
  PropertyList& operator=(const PropertyList&);
  PropertyList& operator=(PropertyList&&) noexcept;
  ~PropertyList();

  /// Each gives the value when it is of that kind exactly, else nothing; integer() is also nothing beyond
  /// the signed range, and unsignedInteger() below zero. Pointers live as long as the value is unchanged.
  std::optional<bool> boolean() const;
  std::optional<std::int64_t> integer() const;
  std::optional<std::uint64_t> unsignedInteger() const;
  std::optional<double> real() const;
  std::optional<Date> date() const;
  std::optional<Uid> uid() const;
  const Bytes* data() const;
  const std::string* text() const;
  const Array* array() const;
  const Dictionary* dictionary() const;
  Array* array();

  /// The value under `key`; null when there is none or this is no dictionary. Looks at the entries in order.
  const PropertyList* find(std::string_view key) const;

  /// Puts `value` under `key`: in place of the one that is there, else at the end. Requires a dictionary.
  void set(std::string_view key, PropertyList value);

  /// Same kinds and values, dictionaries in the same order. As with doubles, no NaN equals another.
  bool operator==(const PropertyList& other) const;

 private:
  PropertyList(std::in_place_t, bool value);
  PropertyList(std::in_place_t, std::uint64_t bits, bool fitsSigned);

  struct Blob {
    Bytes bytes;
    bool operator==(const Blob&) const = default;
  };
  // Unsigned only beyond the signed range, so that equal numbers are equal values.
  using Value = std::variant<Dictionary, Array, std::string, Blob, bool, std::int64_t, std::uint64_t, double,
                             Date, Uid>;
  Value value_;
};

struct PropertyList::Entry {
  std::string key;
  PropertyList value;
  bool operator==(const Entry&) const = default;
};

/// Reads a property list in either form: binary, or XML in any encoding that XmlReader understands. Nothing
/// when the bytes are anything else, damaged in any place or beyond the bounds above. Sets are read as
/// arrays; where a dictionary repeats a key, the last value counts.
MARLUNE_API std::optional<PropertyList> readPropertyList(std::string_view bytes);

/// The binary form. The same value gives the same bytes; equal texts, numbers, dates and data are stored
/// once. Nothing when a text is not UTF-8 or a bound above is passed.
MARLUNE_API std::optional<Bytes> writeBinaryPropertyList(const PropertyList& list);

/// The XML form, UTF-8, indented by tabs. The same value gives the same bytes. Dates lose the fraction of
/// their second. A Uid is written as a dictionary of the one key "CF$UID", and read back as a Uid. Nothing
/// when a text is not UTF-8 or holds a character XML cannot, a date lies outside the years 1 to 9999, or a
/// bound above is passed.
MARLUNE_API std::optional<Bytes> writeXmlPropertyList(const PropertyList& list);

}  // namespace marlune
