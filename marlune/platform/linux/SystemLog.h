#pragma once

#include <string>
#include <string_view>

#include "marlune/base/Export.h"
#include "marlune/platform/Log.h"

namespace marlune {

/// The system's log, and standard error as well where that is a terminal. Safe from any thread.
///
/// The log is not opened here: an application that wants its own identity in it calls openlog() first.
class MARLUNE_API SystemLog : public Log {
 public:
  SystemLog();

  void line(std::string_view text) override;

 private:
  const bool terminal_;
};

/// `text` with each control character and each byte that is no UTF-8 written as \xHH, so that a text from
/// outside can neither move the cursor of a terminal nor begin a line of its own.
MARLUNE_API std::string printableLine(std::string_view text);

}  // namespace marlune
