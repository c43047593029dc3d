#include <algorithm>
#include <cmath>
#include <limits>

#include "marlune/formats/KeyedArchive.h"
#include "marlune/formats/KeyedArchiveShape.h"

namespace marlune {

using namespace keyed_archive;

namespace {

/// The object `reference` leads to; null for nil, for anything but a reference and where there is none.
const PropertyList* resolve(const PropertyList& archive, const PropertyList* reference) {
  if (!reference) return nullptr;
  const auto uid = reference->uid();
  const auto* table = archive.find(objectsKey);
  const auto* objects = table ? table->array() : nullptr;
  if (!uid || *uid == nilUid || !objects || uid->value >= objects->size()) return nullptr;
  return &(*objects)[static_cast<std::size_t>(uid->value)];
}

const PropertyList* classOf(const PropertyList& archive, const PropertyList& object) {
  return resolve(archive, object.find(classKey));
}

bool isKind(const PropertyList& archive, const PropertyList& object, std::string_view name) {
  const auto* description = classOf(archive, object);
  if (!description) return false;
  const auto isName = [name](const PropertyList& value) { return value.text() && *value.text() == name; };
  if (const auto* own = description->find(classNameKey); own && isName(*own)) return true;
  const auto* chain = description->find(classChainKey);
  const auto* names = chain ? chain->array() : nullptr;
  return names && std::any_of(names->begin(), names->end(), isName);
}

const PropertyList::Array* elementsOf(const PropertyList& archive, const PropertyList& object) {
  constexpr std::string_view lists[] = {"NSArray", "NSMutableArray", "NSSet", "NSMutableSet"};
  const auto isList = [&](std::string_view name) { return isKind(archive, object, name); };
  if (std::none_of(std::begin(lists), std::end(lists), isList)) return nullptr;
  const auto* elements = object.find(elementsKey);
  return elements ? elements->array() : nullptr;
}

const PropertyList* rootOf(const PropertyList& archive) {
  const auto* top = archive.find(topKey);
  return top ? resolve(archive, top->find(rootKey)) : nullptr;
}

/// Any number as a real: exact up to 2^53, which is beyond every field read this way.
std::optional<double> numberIn(const PropertyList* value) {
  if (!value) return std::nullopt;
  if (const auto real = value->real()) return real;
  if (const auto boolean = value->boolean()) return *boolean ? 1.0 : 0.0;
  if (const auto integer = value->integer()) return static_cast<double>(*integer);
  if (const auto large = value->unsignedInteger()) return static_cast<double>(*large);
  return std::nullopt;
}

}  // namespace

std::string_view KeyedDecoder::className() const {
  const auto* description = classOf(*archive_, *object_);
  const auto* name = description ? description->find(classNameKey) : nullptr;
  const auto* text = name ? name->text() : nullptr;
  return text ? std::string_view(*text) : std::string_view();
}

bool KeyedDecoder::isKindOf(std::string_view name) const {
  return isKind(*archive_, *object_, name);
}

bool KeyedDecoder::containsValue(std::string_view key) const {
  return object_->find(escapedKey(key)) != nullptr;
}

std::optional<std::string> KeyedDecoder::decodeText(std::string_view key) const {
  const auto* object = resolve(*archive_, object_->find(escapedKey(key)));
  if (!object) return std::nullopt;
  if (const auto* text = object->text()) return *text;
  if (!isKind(*archive_, *object, "NSString") && !isKind(*archive_, *object, "NSMutableString")) {
    return std::nullopt;
  }
  const auto* content = object->find(stringKey);
  if (content && content->uid()) content = resolve(*archive_, content);
  const auto* text = content ? content->text() : nullptr;
  return text ? std::optional(*text) : std::nullopt;
}

std::int32_t KeyedDecoder::decodeInt32(std::string_view key) const {
  using Limits = std::numeric_limits<std::int32_t>;
  const double number = std::trunc(decodeDouble(key));
  return number >= Limits::min() && number <= Limits::max() ? static_cast<std::int32_t>(number) : 0;
}

double KeyedDecoder::decodeDouble(std::string_view key) const {
  return numberIn(object_->find(escapedKey(key))).value_or(0);
}

bool KeyedDecoder::decodeBool(std::string_view key) const {
  return decodeDouble(key) != 0;
}

std::optional<KeyedUnarchiver> KeyedUnarchiver::open(std::string_view bytes) {
  auto list = readPropertyList(bytes);
  if (!list) return std::nullopt;
  const auto* archiver = list->find(archiverKey);
  const auto* number = list->find(versionKey);
  if (!archiver || !archiver->text() || *archiver->text() != archiverName) return std::nullopt;
  if (!number || number->integer() != version || !rootOf(*list)) return std::nullopt;
  return KeyedUnarchiver(std::make_shared<const PropertyList>(std::move(*list)));
}

std::optional<KeyedDecoder> KeyedUnarchiver::rootObject() const {
  const auto* root = rootOf(*archive_);
  if (!root || elementsOf(*archive_, *root)) return std::nullopt;
  return KeyedDecoder(archive_, *root);
}

std::optional<std::vector<KeyedDecoder>> KeyedUnarchiver::rootList() const {
  const auto* root = rootOf(*archive_);
  const auto* elements = root ? elementsOf(*archive_, *root) : nullptr;
  if (!elements) return std::nullopt;
  std::vector<KeyedDecoder> list;
  list.reserve(elements->size());
  for (const PropertyList& element : *elements) {
    if (const auto* object = resolve(*archive_, &element)) list.push_back(KeyedDecoder(archive_, *object));
  }
  return list;
}

}  // namespace marlune
