#include "marlune/platform/linux/SystemClock.h"

namespace marlune {

Date SystemClock::now() const {
  return Date(std::chrono::system_clock::now());
}

std::chrono::nanoseconds SystemClock::monotonic() const {
  return std::chrono::steady_clock::now().time_since_epoch();
}

}  // namespace marlune
