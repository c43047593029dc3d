#pragma once

#include <string>

#include "marlune/base/Export.h"
#include "marlune/platform/Resources.h"

namespace marlune {

/// The library's resources, lying directly in one folder under their published names. Safe from any thread.
class MARLUNE_API FolderResources : public LibraryResources {
 public:
  explicit FolderResources(std::string folder);

  /// Nothing for what is not the name of a file in the folder, names with a "/" among it.
  std::optional<Bytes> read(std::string_view name) const override;

 private:
  std::string folder_;
};

/// The folder of the resources that belong to this build: the first that holds the catalogue of the one
/// installed beside the running program and the one where this build is installed by default; else the one in
/// the source tree.
MARLUNE_API std::string installedResourcesFolder();

}  // namespace marlune
