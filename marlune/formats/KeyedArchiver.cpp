#include <unordered_map>

#include "marlune/formats/KeyedArchive.h"
#include "marlune/formats/KeyedArchiveShape.h"

namespace marlune {

using namespace keyed_archive;

/// The objects of an archive under way. Equal texts and classes are stored once.
class KeyedObjectTable {
 public:
  KeyedObjectTable() { objects_.emplace_back(nilText); }

  /// A number for an object whose content comes later, so that it stands before what it refers to.
  PropertyList::Uid reserve() {
    objects_.emplace_back();
    return {objects_.size() - 1};
  }

  void fill(PropertyList::Uid uid, PropertyList object) { objects_[uid.value] = std::move(object); }

  PropertyList::Uid addText(const std::string& text) {
    const auto [place, isNew] = texts_.try_emplace(text, PropertyList::Uid{objects_.size()});
    if (isNew) objects_.emplace_back(text);
    return place->second;
  }

  PropertyList::Uid addClass(const std::string& name, const std::vector<std::string>& ancestors) {
    PropertyList::Array chain{name};
    chain.insert(chain.end(), ancestors.begin(), ancestors.end());
    PropertyList description;
    description.set(classNameKey, name);
    description.set(classChainKey, std::move(chain));
    for (const auto uid : classes_) {
      if (objects_[uid.value] == description) return uid;
    }
    objects_.push_back(std::move(description));
    return classes_.emplace_back(PropertyList::Uid{objects_.size() - 1});
  }

  std::optional<Bytes> finish(PropertyList::Uid root) && {
    PropertyList top;
    top.set(rootKey, root);
    PropertyList archive;
    archive.set(versionKey, version);
    archive.set(archiverKey, archiverName);
    archive.set(topKey, std::move(top));
    archive.set(objectsKey, std::move(objects_));
    return writeBinaryPropertyList(archive);
  }

 private:
  PropertyList::Array objects_;
  std::unordered_map<std::string, PropertyList::Uid> texts_;
  std::vector<PropertyList::Uid> classes_;
};

void KeyedEncoder::encodeText(std::string_view key, const std::optional<std::string>& value) {
  fields_.set(escapedKey(key), value ? table_.addText(*value) : nilUid);
}

void KeyedEncoder::encodeInt32(std::string_view key, std::int32_t value) {
  fields_.set(escapedKey(key), value);
}

void KeyedEncoder::encodeDouble(std::string_view key, double value) {
  fields_.set(escapedKey(key), value);
}

void KeyedEncoder::encodeBool(std::string_view key, bool value) {
  fields_.set(escapedKey(key), value);
}

PropertyList::Uid KeyedArchiver::add(KeyedObjectTable& table, const Object& object) {
  const auto uid = table.reserve();
  KeyedEncoder encoder(table);
  object.encode(encoder);
  encoder.fields_.set(classKey, table.addClass(object.className, object.ancestors));
  table.fill(uid, std::move(encoder.fields_));
  return uid;
}

std::optional<Bytes> KeyedArchiver::archive(const Object& root) {
  KeyedObjectTable table;
  const auto uid = add(table, root);
  return std::move(table).finish(uid);
}

std::optional<Bytes> KeyedArchiver::archiveList(const std::vector<Object>& list) {
  KeyedObjectTable table;
  const auto root = table.reserve();
  PropertyList::Array elements;
  elements.reserve(list.size());
  for (const Object& object : list) elements.emplace_back(add(table, object));
  PropertyList array;
  array.set(elementsKey, std::move(elements));
  array.set(classKey, table.addClass("NSArray", {"NSObject"}));
  table.fill(root, std::move(array));
  return std::move(table).finish(root);
}

}  // namespace marlune
