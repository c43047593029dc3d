#pragma once

#include <string_view>

#include "marlune/base/Export.h"

namespace marlune {

/// Where diagnostic lines go. Calls are safe from any thread.
class MARLUNE_API Log {
 public:
  virtual ~Log() = default;

  /// Takes one line, without a line end.
  virtual void line(std::string_view text) = 0;
};

}  // namespace marlune
