#pragma once

#include <cmath>
#include <vector>

#include "marlune/tides/TideEvent.h"

namespace marlune {

inline constexpr double metresPerFoot = 0.3048;  // exactly, by the foot's definition

/// Turns levels that are not marked as metres from feet into metres, and marks them.
inline void convertToMetres(std::vector<TideEvent>& events) {
  for (TideEvent& event : events) {
    if (event.tideLevelInMeters) continue;
    event.tidelevel *= metresPerFoot;
    event.tideLevelInMeters = true;
  }
}

/// Turns levels that are marked as metres into feet, and takes the mark away. A level in feet of up to nine
/// decimals that was turned into metres comes back exactly.
inline void convertToFeet(std::vector<TideEvent>& events) {
  for (TideEvent& event : events) {
    if (!event.tideLevelInMeters) continue;
    const double billionths = std::round(event.tidelevel / metresPerFoot * 1e9);
    event.tidelevel = std::isfinite(billionths) ? billionths / 1e9 : event.tidelevel / metresPerFoot;
    event.tideLevelInMeters = false;
  }
}

}  // namespace marlune
