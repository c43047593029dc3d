#pragma once

#include <cstdint>
#include <vector>

namespace marlune::services {

/// A quarter of the moon.
struct MoonPhase {
  enum class Kind { newMoon, firstQuarter, fullMoon, lastQuarter };

  Kind kind = Kind::newMoon;
  std::int64_t time = 0;  ///< seconds since 1970-01-01 UTC

  bool operator==(const MoonPhase&) const = default;
};

/// The quarters with begin <= time < end, ascending; right to a few minutes between 1900 and 2100.
std::vector<MoonPhase> moonPhases(std::int64_t begin, std::int64_t end);

}  // namespace marlune::services
