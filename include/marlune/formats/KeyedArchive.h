#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "marlune/base/Data.h"
#include "marlune/base/Export.h"
#include "marlune/formats/PropertyList.h"

namespace marlune {

class KeyedObjectTable;

/// Takes the fields of one record while it is archived, in the order they come; a key given twice keeps its
/// first place and its last value. Only KeyedArchiver makes one, and it lives for one call.
class MARLUNE_API KeyedEncoder {
 public:
  /// No text is stored as "nil", which differs from an absent key only to who looks at the file.
  void encodeText(std::string_view key, const std::optional<std::string>& value);
  void encodeInt32(std::string_view key, std::int32_t value);
  void encodeDouble(std::string_view key, double value);
  void encodeBool(std::string_view key, bool value);

  KeyedEncoder(const KeyedEncoder&) = delete;
  KeyedEncoder& operator=(const KeyedEncoder&) = delete;

 private:
  friend class KeyedArchiver;
  explicit KeyedEncoder(KeyedObjectTable& table) : table_(table) {}
  KeyedObjectTable& table_;
  PropertyList fields_;
};

/// Writes keyed archives: records by name of class and key, so that a reader finds what it knows and passes
/// over the rest. The same records give the same bytes. Calls share no state: safe from any thread.
///
///     std::vector<KeyedArchiver::Object> objects;
///     for (const auto& station : stations) objects.push_back(KeyedArchiver::object("TideStation",
///     *station)); std::optional<Bytes> bytes = KeyedArchiver::archiveList(objects);
class MARLUNE_API KeyedArchiver {
 public:
  /// One record to archive. `encode` is called once, during the call that archives it.
  struct Object {
    std::string className;
    std::function<void(KeyedEncoder&)> encode;
    std::vector<std::string> ancestors{"NSObject"};  ///< nearest first
  };

  /// A record with a member `encodeWithCoder(KeyedEncoder&) const`, which must outlive the Object.
  template <class Record>
  static Object object(std::string className, const Record& record) {
    return {std::move(className), [&record](KeyedEncoder& encoder) { record.encodeWithCoder(encoder); }};
  }

  /// An archive of one record, or of an array of records. Nothing when a text is not UTF-8 or the whole
  /// passes the bounds of a property list.
  static std::optional<Bytes> archive(const Object& root);
  static std::optional<Bytes> archiveList(const std::vector<Object>& list);

 private:
  static PropertyList::Uid add(KeyedObjectTable& table, const Object& object);
};

/// One object of an archive. Holds on to the archive's content, so it stays valid after the KeyedUnarchiver
/// is gone; copies are cheap, and any number of threads may read.
///
/// The decode operations do not fail: an absent key, a reference that leads nowhere and a value of another
/// kind all count as absent.
class MARLUNE_API KeyedDecoder {
 public:
  /// The name of the class the object was archived as; empty for what has none, as a bare text.
  std::string_view className() const;

  /// Is `name` the object's class or one of the ancestors archived with it?
  bool isKindOf(std::string_view name) const;

  bool containsValue(std::string_view key) const;

  /// The text under `key`; nothing for nil and absent.
  std::optional<std::string> decodeText(std::string_view key) const;

  /// The number under `key`, 0 when absent. Whole numbers, reals and truth values stand in for each other; a
  /// real loses its fraction, and a number beyond 32 bits counts as absent.
  std::int32_t decodeInt32(std::string_view key) const;

  /// The number under `key`, 0 when absent.
  double decodeDouble(std::string_view key) const;

  /// Whether the number under `key` differs from 0; false when absent.
  bool decodeBool(std::string_view key) const;

 private:
  friend class KeyedUnarchiver;
  KeyedDecoder(std::shared_ptr<const PropertyList> archive, const PropertyList& object)
      : archive_(std::move(archive)), object_(&object) {}
  std::shared_ptr<const PropertyList> archive_;
  const PropertyList* object_;
};

/// Reads keyed archives, in the binary and the XML form. References are followed one step at a time and only
/// where asked, so an archive whose objects refer to each other in a circle is as harmless as any. Safe to
/// read from any number of threads.
///
///     if (auto archive = KeyedUnarchiver::open(bytes))
///       if (auto list = archive->rootList())
///         for (const KeyedDecoder& object : *list)
///           if (object.isKindOf("TideStation")) stations.push_back(std::make_shared<TideStation>(object));
class MARLUNE_API KeyedUnarchiver {
 public:
  /// Nothing when the bytes are not a keyed archive with a root.
  static std::optional<KeyedUnarchiver> open(std::string_view bytes);

  /// The root, when it is one object other than nil and a list.
  std::optional<KeyedDecoder> rootObject() const;

  /// The elements of the root in their order, when it is an array or a set; elements that are nil or lead
  /// nowhere are left out.
  std::optional<std::vector<KeyedDecoder>> rootList() const;

 private:
  explicit KeyedUnarchiver(std::shared_ptr<const PropertyList> archive) : archive_(std::move(archive)) {}
  std::shared_ptr<const PropertyList> archive_;
};

}  // namespace marlune
