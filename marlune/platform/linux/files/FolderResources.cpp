#include "marlune/platform/linux/files/FolderResources.h"

#include <unistd.h>

#include <filesystem>
#include <system_error>
#include <utility>

#include "marlune/platform/linux/files/WholeFile.h"

namespace marlune {

FolderResources::FolderResources(std::string folder) : folder_(std::move(folder)) {}

std::optional<Bytes> FolderResources::read(std::string_view name) const {
  if (!isPlainName(name)) return std::nullopt;
  return readWholeFile(folder_ + "/" + std::string(name));
}

std::string installedResourcesFolder() {
  std::error_code error;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
  // An installed tree may have been moved as a whole, or put elsewhere than it was built for.
  const auto moved = (program.parent_path() / MARLUNE_RESOURCES_FROM_PROGRAM).lexically_normal().string();
  for (const std::string& folder : {moved, std::string(MARLUNE_INSTALLED_RESOURCES)}) {
    if (::access((folder + "/stations_master_usa2.txt").c_str(), R_OK) == 0) return folder;
  }
  return MARLUNE_SOURCE_RESOURCES;
}

}  // namespace marlune
