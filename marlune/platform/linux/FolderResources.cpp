#include "marlune/platform/linux/FolderResources.h"

#include <unistd.h>

#include <utility>

#include "marlune/platform/linux/WholeFile.h"

namespace marlune {

FolderResources::FolderResources(std::string folder) : folder_(std::move(folder)) {}

std::optional<Bytes> FolderResources::read(std::string_view name) const {
  if (!isPlainName(name)) return std::nullopt;
  return readWholeFile(folder_ + "/" + std::string(name));
}

std::string installedResourcesFolder() {
  std::string installed = MARLUNE_INSTALLED_RESOURCES;
  if (::access((installed + "/stations_master_usa2.txt").c_str(), R_OK) == 0) return installed;
  return MARLUNE_SOURCE_RESOURCES;
}

}  // namespace marlune
