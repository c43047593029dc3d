#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "marlune/base/Data.h"
#include "marlune/base/Export.h"

namespace marlune {

/// The host application's own bundle. Calls are safe from any thread.
class MARLUNE_API ApplicationBundle {
 public:
  virtual ~ApplicationBundle() = default;

  /// The "name" of the application's "region" property list, or nothing when there is no such list or key.
  virtual std::optional<std::string> region() const = 0;

  /// A text of the application's information dictionary, or nothing.
  virtual std::optional<std::string> information(std::string_view key) const = 0;
};

/// The resources shipped beside the library. Calls are safe from any thread.
class MARLUNE_API LibraryResources {
 public:
  virtual ~LibraryResources() = default;

  /// The bytes of a resource by its file name ("stations_master_usa2.txt"), or nothing.
  virtual std::optional<Bytes> read(std::string_view name) const = 0;
};

}  // namespace marlune
