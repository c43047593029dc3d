#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "marlune/platform/Export.h"

namespace marlune {

/// Where the library keeps its files. Calls are safe from any thread; the folders need not exist yet.
class MARLUNE_API Folders {
 public:
  virtual ~Folders() = default;

  /// The shared container of an application group, an absolute path without a trailing "/"; nothing when the
  /// group is not configured. Every process of the group gets the same folder.
  virtual std::optional<std::string> container(std::string_view groupId) const = 0;

  /// The private documents folder of this process, an absolute path; nothing when there is none.
  virtual std::optional<std::string> documents() const = 0;
};

}  // namespace marlune
