#pragma once

#include "marlune/base/Export.h"
#include "marlune/tasks/Executor.h"

namespace marlune {

/// The application's main thread as the library sees it. Calls are safe from any thread.
class MARLUNE_API MainThread : public Executor {
 public:
  /// Is the caller on the main thread?
  virtual bool isMainThread() const = 0;
};

}  // namespace marlune
