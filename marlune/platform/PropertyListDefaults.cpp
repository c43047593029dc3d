#include "marlune/platform/PropertyListDefaults.h"

#include <utility>

namespace marlune {
namespace {

/// Nothing when the bytes are no dictionary.
std::optional<PropertyList> dictionaryFrom(const Bytes& bytes) {
  auto list = readPropertyList(bytes);
  if (list && list->dictionary() == nullptr) list.reset();
  return list;
}

}  // namespace

PropertyListDefaults::PropertyListDefaults(std::shared_ptr<FileSystem> files, std::string folder)
    : files_(std::move(files)), folder_(std::move(folder)) {}

std::string PropertyListDefaults::path() const {
  return folder_ + "/defaults.plist";
}

std::optional<bool> PropertyListDefaults::boolean(std::string_view key) const {
  const std::lock_guard lock(mutex_);
  const auto identity = files_->identity(path());
  if (!identity) return std::nullopt;
  if (!identity_ || !identity_->settled || !identity_->sameAs(*identity)) {
    // The identity from before the reading: whatever changes after it shows the next time.
    identity_ = identity;
    const auto bytes = files_->read(path());
    list_ = bytes ? dictionaryFrom(*bytes).value_or(PropertyList()) : PropertyList();
  }
  const PropertyList* value = list_.find(key);
  return value == nullptr ? std::nullopt : value->boolean();
}

bool PropertyListDefaults::setBoolean(std::string_view key, bool value) {
  const std::lock_guard lock(mutex_);
  PropertyList list;
  if (const auto bytes = files_->read(path())) {
    if (auto stored = dictionaryFrom(*bytes)) {
      list = std::move(*stored);
    } else if (!files_->write(folder_, path() + ".damaged", *bytes, FileSystem::Durability::userData)) {
      return false;
    }
  } else if (files_->exists(path())) {
    return false;  // settings that cannot be read must not be replaced by this one
  }
  list.set(key, PropertyList(value));
  // XML cannot hold some texts that another program may have stored.
  auto bytes = writeXmlPropertyList(list);
  if (!bytes) bytes = writeBinaryPropertyList(list);
  return bytes && files_->write(folder_, path(), *bytes, FileSystem::Durability::userData);
}

}  // namespace marlune
