#include "marlune/formats/PropertyList.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <unordered_map>

#include "marlune/formats/PropertyListForms.h"

namespace marlune {

PropertyList::PropertyList() = default;
PropertyList::PropertyList(std::in_place_t, bool value) : value_(value) {}
PropertyList::PropertyList(std::in_place_t, std::uint64_t bits, bool fitsSigned)
    : value_(fitsSigned ? Value(std::bit_cast<std::int64_t>(bits)) : Value(bits)) {}
PropertyList::PropertyList(double value) : value_(value) {}
PropertyList::PropertyList(Date value) : value_(value) {}
PropertyList::PropertyList(std::string text) : value_(std::move(text)) {}
PropertyList::PropertyList(std::string_view text) : value_(std::in_place_type<std::string>, text) {}
PropertyList::PropertyList(const char* text) : value_(std::in_place_type<std::string>, text) {}
PropertyList::PropertyList(Array values) : value_(std::move(values)) {}
PropertyList::PropertyList(Dictionary entries) : value_(std::move(entries)) {}
PropertyList::PropertyList(Uid value) : value_(value) {}
PropertyList::PropertyList(const PropertyList&) = default;
PropertyList::PropertyList(PropertyList&&) noexcept = default;
PropertyList& PropertyList::operator=(const PropertyList&) = default;
PropertyList& PropertyList::operator=(PropertyList&&) noexcept = default;
PropertyList::~PropertyList() = default;

PropertyList PropertyList::ofData(Bytes bytes) {
  PropertyList list;
  list.value_.emplace<Blob>(Blob{std::move(bytes)});
  return list;
}

namespace {

template <class T, class Variant>
std::optional<T> valueOf(const Variant& value) {
  if (const T* held = std::get_if<T>(&value)) return *held;
  return std::nullopt;
}

}  // namespace

std::optional<bool> PropertyList::boolean() const {
  return valueOf<bool>(value_);
}
std::optional<std::int64_t> PropertyList::integer() const {
  return valueOf<std::int64_t>(value_);
}
std::optional<double> PropertyList::real() const {
  return valueOf<double>(value_);
}
std::optional<Date> PropertyList::date() const {
  return valueOf<Date>(value_);
}
std::optional<PropertyList::Uid> PropertyList::uid() const {
  return valueOf<Uid>(value_);
}
const std::string* PropertyList::text() const {
  return std::get_if<std::string>(&value_);
}
const PropertyList::Array* PropertyList::array() const {
  return std::get_if<Array>(&value_);
}
PropertyList::Array* PropertyList::array() {
  return std::get_if<Array>(&value_);
}
const PropertyList::Dictionary* PropertyList::dictionary() const {
  return std::get_if<Dictionary>(&value_);
}

std::optional<std::uint64_t> PropertyList::unsignedInteger() const {
  if (const auto* held = std::get_if<std::int64_t>(&value_)) {
    if (*held < 0) return std::nullopt;
    return static_cast<std::uint64_t>(*held);
  }
  return valueOf<std::uint64_t>(value_);
}

const Bytes* PropertyList::data() const {
  const auto* blob = std::get_if<Blob>(&value_);
  return blob ? &blob->bytes : nullptr;
}

const PropertyList* PropertyList::find(std::string_view key) const {
  const auto* entries = dictionary();
  if (!entries) return nullptr;
  for (const Entry& entry : *entries) {
    if (entry.key == key) return &entry.value;
  }
  return nullptr;
}

void PropertyList::set(std::string_view key, PropertyList value) {
  auto* entries = std::get_if<Dictionary>(&value_);
  assert(entries);
  if (!entries) return;
  for (Entry& entry : *entries) {
    if (entry.key == key) {
      entry.value = std::move(value);
      return;
    }
  }
  entries->push_back({std::string(key), std::move(value)});
}

bool PropertyList::operator==(const PropertyList& other) const {
  return value_ == other.value_;
}

std::optional<PropertyList> readPropertyList(std::string_view bytes) {
  return detail::isBinaryPropertyList(bytes) ? detail::readBinaryPropertyList(bytes)
                                             : detail::readXmlPropertyList(bytes);
}

namespace detail {
namespace {

bool repeatsKey(const PropertyList::Dictionary& entries) {
  constexpr std::size_t fewEnoughForPairs = 16;
  if (entries.size() <= fewEnoughForPairs) {
    for (std::size_t i = 1; i < entries.size(); ++i) {
      for (std::size_t k = 0; k < i; ++k) {
        if (entries[i].key == entries[k].key) return true;
      }
    }
    return false;
  }
  std::vector<std::string_view> keys;
  keys.reserve(entries.size());
  for (const auto& entry : entries) keys.emplace_back(entry.key);
  std::sort(keys.begin(), keys.end());
  return std::adjacent_find(keys.begin(), keys.end()) != keys.end();
}

}  // namespace

void keepLastOfEachKey(PropertyList::Dictionary& entries) {
  if (!repeatsKey(entries)) return;
  PropertyList::Dictionary kept;
  std::unordered_map<std::string, std::size_t> places;
  for (auto& entry : entries) {
    const auto [place, isNew] = places.try_emplace(entry.key, kept.size());
    if (isNew) {
      kept.push_back(std::move(entry));
    } else {
      kept[place->second].value = std::move(entry.value);
    }
  }
  entries = std::move(kept);
}

}  // namespace detail
}  // namespace marlune
