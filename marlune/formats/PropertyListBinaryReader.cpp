#include <bit>
#include <cstdint>
#include <utility>

#include "marlune/formats/PropertyListForms.h"
#include "marlune/formats/Utf16.h"

namespace marlune::detail {
namespace {

constexpr std::string_view magic = "bplist00";
constexpr std::size_t trailerSize = 32;

/// `size` bytes (8 at most) as a big-endian number. Requires that they are there.
std::uint64_t bigEndian(const char* bytes, std::size_t size) {
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < size; ++i) value = (value << 8) | static_cast<unsigned char>(bytes[i]);
  return value;
}

/// Reads objects by their number in the offset table, each as often as it is referred to. The budget pays for
/// every visit, so objects that share or overlap their parts cost no more than honest ones; a cycle ends at
/// the depth bound.
class BinaryReader {
 public:
  explicit BinaryReader(std::string_view bytes) : bytes_(bytes) {}

  std::optional<PropertyList> read() {
    PropertyList root;
    if (!readTrailer() || !budget_.takeValues(1) || !readObject(top_, 1, root)) return std::nullopt;
    return root;
  }

 private:
  /// The part of an object that follows its marker byte.
  struct Cursor {
    std::size_t position;
  };

  bool readTrailer() {
    if (bytes_.size() < magic.size() + 1 + trailerSize) return false;
    const char* trailer = bytes_.data() + bytes_.size() - trailerSize;
    offsetSize_ = static_cast<unsigned char>(trailer[6]);
    referenceSize_ = static_cast<unsigned char>(trailer[7]);
    count_ = bigEndian(trailer + 8, 8);
    top_ = bigEndian(trailer + 16, 8);
    const std::uint64_t table = bigEndian(trailer + 24, 8);
    if (offsetSize_ < 1 || offsetSize_ > 8 || referenceSize_ < 1 || referenceSize_ > 8) return false;
    const std::uint64_t end = bytes_.size() - trailerSize;
    if (table <= magic.size() || table >= end || top_ >= count_) return false;
    // The table fills what lies between the objects and the trailer.
    if ((end - table) % offsetSize_ != 0 || (end - table) / offsetSize_ != count_) return false;
    objectsEnd_ = static_cast<std::size_t>(table);
    return true;
  }

  /// Moves past `size` bytes; nothing when the objects end before.
  std::optional<std::string_view> take(Cursor& cursor, std::uint64_t size) const {
    if (size > objectsEnd_ - cursor.position) return std::nullopt;
    const auto taken = bytes_.substr(cursor.position, static_cast<std::size_t>(size));
    cursor.position += taken.size();
    return taken;
  }

  /// The count in the marker, or in the integer that follows a marker of all ones.
  std::optional<std::uint64_t> takeCount(Cursor& cursor, unsigned low) const {
    if (low != 0xF) return low;
    const auto marker = take(cursor, 1);
    if (!marker) return std::nullopt;
    const unsigned byte = static_cast<unsigned char>(marker->front());
    if ((byte & 0xF0u) != 0x10u || (byte & 0xFu) > 3) return std::nullopt;
    const auto digits = take(cursor, std::uint64_t{1} << (byte & 0xFu));
    if (!digits) return std::nullopt;
    return bigEndian(digits->data(), digits->size());
  }

  std::optional<std::string_view> takeCounted(Cursor& cursor, unsigned low, std::uint64_t unit) const {
    const auto count = takeCount(cursor, low);
    if (!count || *count > objectsEnd_ / unit) return std::nullopt;
    return take(cursor, *count * unit);
  }

  /// Finds object `number`: its marker byte, and the cursor behind it.
  std::optional<std::pair<unsigned, Cursor>> find(std::uint64_t number) const {
    if (number >= count_) return std::nullopt;
    const std::size_t slot = objectsEnd_ + static_cast<std::size_t>(number) * offsetSize_;
    const std::uint64_t offset = bigEndian(bytes_.data() + slot, offsetSize_);
    if (offset < magic.size() || offset >= objectsEnd_) return std::nullopt;
    const auto position = static_cast<std::size_t>(offset);
    return std::pair{unsigned{static_cast<unsigned char>(bytes_[position])}, Cursor{position + 1}};
  }

  std::uint64_t reference(std::string_view references, std::size_t index) const {
    return bigEndian(references.data() + index * referenceSize_, referenceSize_);
  }

  bool readObject(std::uint64_t number, std::size_t depth, PropertyList& value) {
    auto found = find(number);
    if (!found) return false;
    auto [marker, cursor] = *found;
    const unsigned low = marker & 0xFu;
    switch (marker >> 4) {
      case 0x0:
        if (low != 0x8 && low != 0x9) return false;
        value = low == 0x9;
        return true;
      case 0x1:
        return readInteger(cursor, low, value);
      case 0x2:
        return readReal(cursor, low, value);
      case 0x3:
        return readDate(cursor, low, value);
      case 0x4:
        return readData(cursor, low, value);
      case 0x5:
      case 0x6: {
        std::string text;
        if (!readText(cursor, marker, text)) return false;
        value = std::move(text);
        return true;
      }
      case 0x8:
        return readUid(cursor, low, value);
      case 0xA:
      case 0xB:  // an ordered set
      case 0xC:  // a set
        return readArray(cursor, low, depth, value);
      case 0xD:
        return readDictionary(cursor, low, depth, value);
      default:
        return false;
    }
  }

  bool readInteger(Cursor cursor, unsigned low, PropertyList& value) const {
    if (low > 4) return false;
    const auto digits = take(cursor, std::uint64_t{1} << low);
    if (!digits) return false;
    if (low < 3) {
      value = bigEndian(digits->data(), digits->size());
      return true;
    }
    const std::uint64_t lower = bigEndian(digits->data() + digits->size() - 8, 8);
    if (low == 3) {
      value = std::bit_cast<std::int64_t>(lower);
      return true;
    }
    // Sixteen bytes hold what eight signed ones cannot; a number beyond 64 bits is none of ours.
    const std::uint64_t upper = bigEndian(digits->data(), 8);
    const auto signedLower = std::bit_cast<std::int64_t>(lower);
    if (upper == 0) {
      value = lower;
    } else if (upper == ~std::uint64_t{0} && signedLower < 0) {
      value = signedLower;
    } else {
      return false;
    }
    return true;
  }

  bool readReal(Cursor cursor, unsigned low, PropertyList& value) const {
    if (low != 2 && low != 3) return false;
    const auto digits = take(cursor, std::uint64_t{1} << low);
    if (!digits) return false;
    const std::uint64_t bits = bigEndian(digits->data(), digits->size());
    value = low == 3 ? std::bit_cast<double>(bits)
                     : static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(bits)));
    return true;
  }

  bool readDate(Cursor cursor, unsigned low, PropertyList& value) const {
    const auto digits = low == 3 ? take(cursor, 8) : std::nullopt;
    if (!digits) return false;
    value = dateFromSeconds(std::bit_cast<double>(bigEndian(digits->data(), 8)) + propertyListEpoch);
    return true;
  }

  bool readData(Cursor cursor, unsigned low, PropertyList& value) {
    const auto bytes = takeCounted(cursor, low, 1);
    if (!bytes || !budget_.takeBytes(bytes->size())) return false;
    value = PropertyList::ofData(Bytes(*bytes));
    return true;
  }

  bool readText(Cursor cursor, unsigned marker, std::string& text) {
    const bool wide = (marker >> 4) == 0x6;
    const auto bytes = takeCounted(cursor, marker & 0xFu, wide ? 2 : 1);
    if (!bytes || !budget_.takeBytes(bytes->size())) return false;
    if (!wide) {
      text = *bytes;
      return isAscii(*bytes);
    }
    auto decoded = utf8FromUtf16BigEndian(*bytes);
    if (!decoded) return false;
    text = std::move(*decoded);
    return true;
  }

  bool readUid(Cursor cursor, unsigned low, PropertyList& value) const {
    const auto digits = low < 8 ? take(cursor, low + 1) : std::nullopt;
    if (!digits) return false;
    value = PropertyList::Uid{bigEndian(digits->data(), digits->size())};
    return true;
  }

  bool readArray(Cursor cursor, unsigned low, std::size_t depth, PropertyList& value) {
    const auto references = takeCounted(cursor, low, referenceSize_);
    if (!references || depth >= PropertyList::maximumDepth) return false;
    const std::size_t count = references->size() / referenceSize_;
    if (!budget_.takeValues(count)) return false;
    PropertyList::Array values(count);
    for (std::size_t i = 0; i < count; ++i) {
      if (!readObject(reference(*references, i), depth + 1, values[i])) return false;
    }
    value = std::move(values);
    return true;
  }

  bool readDictionary(Cursor cursor, unsigned low, std::size_t depth, PropertyList& value) {
    const auto references = takeCounted(cursor, low, std::uint64_t{2} * referenceSize_);
    if (!references || depth >= PropertyList::maximumDepth) return false;
    const std::size_t count = references->size() / referenceSize_ / 2;
    if (!budget_.takeValues(2 * count)) return false;
    PropertyList::Dictionary entries(count);
    for (std::size_t i = 0; i < count; ++i) {
      const auto key = find(reference(*references, i));
      if (!key || (key->first >> 4 != 0x5 && key->first >> 4 != 0x6)) return false;
      if (!readText(key->second, key->first, entries[i].key)) return false;
      if (!readObject(reference(*references, count + i), depth + 1, entries[i].value)) return false;
    }
    keepLastOfEachKey(entries);
    value = std::move(entries);
    return true;
  }

  std::string_view bytes_;
  std::size_t offsetSize_ = 0;
  std::size_t referenceSize_ = 0;
  std::uint64_t count_ = 0;
  std::uint64_t top_ = 0;
  std::size_t objectsEnd_ = 0;  // where the offset table begins
  PropertyListBudget budget_;
};

}  // namespace

bool isBinaryPropertyList(std::string_view bytes) {
  return bytes.starts_with(magic);
}

std::optional<PropertyList> readBinaryPropertyList(std::string_view bytes) {
  return BinaryReader(bytes).read();
}

}  // namespace marlune::detail
