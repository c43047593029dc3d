#include <bit>
#include <cstdint>
#include <unordered_map>

#include "marlune/formats/PropertyListForms.h"
#include "marlune/formats/Utf16.h"

namespace marlune {
namespace {

using detail::PropertyListBudget;

void appendBigEndian(Bytes& bytes, std::uint64_t value, unsigned size) {
  for (unsigned i = size; i-- > 0;) bytes.push_back(static_cast<char>((value >> (8 * i)) & 0xFFu));
}

/// The power of two (its exponent) of bytes that holds `value`.
unsigned exponentFor(std::uint64_t value) {
  if (value <= 0xFFu) return 0;
  if (value <= 0xFFFFu) return 1;
  return value <= 0xFFFF'FFFFu ? 2 : 3;
}

void appendUnsigned(Bytes& bytes, std::uint64_t value) {
  const unsigned exponent = exponentFor(value);
  bytes.push_back(static_cast<char>(0x10u | exponent));
  appendBigEndian(bytes, value, 1u << exponent);
}

/// A marker byte with its count, in the marker itself where that fits.
void appendMarker(Bytes& bytes, unsigned kind, std::size_t count) {
  constexpr std::size_t countFollows = 0xF;
  if (count < countFollows) {
    bytes.push_back(static_cast<char>((kind << 4) | count));
  } else {
    bytes.push_back(static_cast<char>((kind << 4) | countFollows));
    appendUnsigned(bytes, count);
  }
}

std::optional<Bytes> encodedText(std::string_view text) {
  Bytes bytes;
  if (detail::isAscii(text)) {
    appendMarker(bytes, 0x5, text.size());
    bytes += text;
    return bytes;
  }
  const auto units = utf16FromUtf8(text);
  if (!units) return std::nullopt;
  appendMarker(bytes, 0x6, units->size());
  for (const char16_t unit : *units) appendBigEndian(bytes, unit, 2);
  return bytes;
}

/// A scalar as it stands in the file.
std::optional<Bytes> encodedScalar(const PropertyList& value) {
  if (const auto* text = value.text()) return encodedText(*text);
  Bytes bytes;
  if (const auto* data = value.data()) {
    appendMarker(bytes, 0x4, data->size());
    bytes += *data;
  } else if (const auto boolean = value.boolean()) {
    bytes.push_back(*boolean ? 0x09 : 0x08);
  } else if (const auto integer = value.integer()) {
    const auto bits = std::bit_cast<std::uint64_t>(*integer);
    appendUnsigned(bytes, bits);
  } else if (const auto large = value.unsignedInteger()) {
    bytes.push_back(0x14);
    appendBigEndian(bytes, 0, 8);
    appendBigEndian(bytes, *large, 8);
  } else if (const auto real = value.real()) {
    bytes.push_back(0x23);
    appendBigEndian(bytes, std::bit_cast<std::uint64_t>(*real), 8);
  } else if (const auto date = value.date()) {
    bytes.push_back(0x33);
    appendBigEndian(bytes, std::bit_cast<std::uint64_t>(secondsOf(*date) - detail::propertyListEpoch), 8);
  } else if (const auto uid = value.uid()) {
    const unsigned size = 1u << exponentFor(uid->value);
    bytes.push_back(static_cast<char>(0x80u | (size - 1)));
    appendBigEndian(bytes, uid->value, size);
  }
  return bytes;
}

/// Numbers the objects, a container before what it holds, the keys of a dictionary before its values; then
/// lays them out.
class BinaryWriter {
 public:
  std::optional<Bytes> write(const PropertyList& root) {
    if (!number(root, 1)) return std::nullopt;
    return layOut();
  }

 private:
  struct Object {
    const Bytes* scalar;  // null for a container
    unsigned kind = 0;
    std::size_t count = 0;
    std::size_t firstReference = 0;
  };

  std::size_t numberScalar(Bytes encoded) {
    // The encoding tells kinds apart, so what is written alike is alike.
    const auto [place, isNew] = scalars_.try_emplace(std::move(encoded), objects_.size());
    if (isNew) objects_.push_back({.scalar = &place->first});
    return place->second;
  }

  std::size_t numberContainer(unsigned kind, std::size_t count, std::size_t references) {
    objects_.push_back(
        {.scalar = nullptr, .kind = kind, .count = count, .firstReference = references_.size()});
    references_.resize(references_.size() + references);
    return objects_.size() - 1;
  }

  std::optional<std::size_t> number(const PropertyList& value, std::size_t depth) {
    if (!budget_.takeValues(1)) return std::nullopt;
    const auto* array = value.array();
    const auto* entries = value.dictionary();
    if (!array && !entries) {
      auto encoded = encodedScalar(value);
      if (!encoded || !budget_.takeBytes(encoded->size())) return std::nullopt;
      return numberScalar(std::move(*encoded));
    }
    if (depth >= PropertyList::maximumDepth) return std::nullopt;
    const std::size_t count = array ? array->size() : entries->size();
    const std::size_t self = numberContainer(array ? 0xA : 0xD, count, array ? count : 2 * count);
    std::size_t next = objects_[self].firstReference;
    if (entries) {
      for (const auto& entry : *entries) {
        auto key = encodedText(entry.key);
        if (!key || !budget_.takeValues(1) || !budget_.takeBytes(key->size())) return std::nullopt;
        references_[next++] = numberScalar(std::move(*key));
      }
    }
    for (std::size_t i = 0; i < count; ++i) {
      const auto child = number(array ? (*array)[i] : (*entries)[i].value, depth + 1);
      if (!child) return std::nullopt;
      references_[next++] = *child;
    }
    return self;
  }

  Bytes layOut() const {
    Bytes bytes = "bplist00";
    const unsigned referenceSize = 1u << exponentFor(objects_.size());
    std::vector<std::size_t> offsets;
    offsets.reserve(objects_.size());
    for (const Object& object : objects_) {
      offsets.push_back(bytes.size());
      if (object.scalar) {
        bytes += *object.scalar;
        continue;
      }
      appendMarker(bytes, object.kind, object.count);
      const std::size_t references = object.kind == 0xD ? 2 * object.count : object.count;
      for (std::size_t i = 0; i < references; ++i) {
        appendBigEndian(bytes, references_[object.firstReference + i], referenceSize);
      }
    }
    const std::size_t table = bytes.size();
    const unsigned offsetSize = 1u << exponentFor(table);
    for (const std::size_t offset : offsets) appendBigEndian(bytes, offset, offsetSize);
    bytes.append(6, '\0');
    bytes.push_back(static_cast<char>(offsetSize));
    bytes.push_back(static_cast<char>(referenceSize));
    appendBigEndian(bytes, objects_.size(), 8);
    appendBigEndian(bytes, 0, 8);  // the root was numbered first
    appendBigEndian(bytes, table, 8);
    return bytes;
  }

  std::unordered_map<Bytes, std::size_t> scalars_;
  std::vector<Object> objects_;
  std::vector<std::size_t> references_;
  PropertyListBudget budget_;
};

}  // namespace

std::optional<Bytes> writeBinaryPropertyList(const PropertyList& list) {
  return BinaryWriter().write(list);
}

}  // namespace marlune
