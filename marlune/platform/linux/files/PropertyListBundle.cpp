#include "marlune/platform/linux/files/PropertyListBundle.h"

#include <utility>

#include "marlune/platform/linux/files/WholeFile.h"

namespace marlune {

PropertyListBundle::PropertyListBundle(std::optional<std::string> folder, std::optional<std::string> region)
    : folder_(std::move(folder)), region_(std::move(region)) {}

std::optional<std::string> PropertyListBundle::region() const {
  return region_ ? region_ : text(regionList_, "region.plist", "name");
}

std::optional<std::string> PropertyListBundle::information(std::string_view key) const {
  return text(informationList_, "Info.plist", key);
}

std::optional<std::string> PropertyListBundle::text(File& file, const char* name,
                                                    std::string_view key) const {
  if (!folder_) return std::nullopt;
  std::call_once(file.once, [&] {
    const auto bytes = readWholeFile(*folder_ + "/" + name);
    if (!bytes) return;
    if (auto list = readPropertyList(*bytes)) file.list = std::move(*list);
  });
  const PropertyList* value = file.list.find(key);
  if (value == nullptr || value->text() == nullptr) return std::nullopt;
  return *value->text();
}

}  // namespace marlune
