#pragma once

#include <cstdint>
#include <string>

#include "services/NwsGrid.h"

namespace marlune::services {

/// The Weather Service's forecast of a cell as the GeoJSON document of its gridpoint: some sixty layers, each
/// a list of values with the interval that each holds for. The weather is made up (see PlaceWeather.h); a
/// layer's value at an instant does not depend on when the forecast is asked for, its first interval's
/// beginning and the last one's end do. The forecast begins up to nine hours before now and has 7 days and 16
/// hours.
///
/// Requires a cell that nwsPlaceOf() knows; `base` is the address that stands before all others within.
std::string nwsForecast(const NwsCell& cell, std::int64_t now, const std::string& base);

}  // namespace marlune::services
