#pragma once

#include <optional>
#include <string_view>

#include "marlune/base/Export.h"

namespace marlune {

/// The user's settings. Calls are safe from any thread.
class MARLUNE_API UserDefaults {
 public:
  virtual ~UserDefaults() = default;

  /// The truth value stored under `key`; nothing when none is stored.
  virtual std::optional<bool> boolean(std::string_view key) const = 0;

  /// Stores a truth value; it is on the disk when this returns true.
  virtual bool setBoolean(std::string_view key, bool value) = 0;
};

}  // namespace marlune
