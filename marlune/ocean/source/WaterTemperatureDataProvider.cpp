#include "marlune/ocean/source/WaterTemperatureDataProvider.h"

#include <cmath>
#include <limits>

namespace marlune {

WaterTemperatureDataProvider::Answer sampleNearestTo(Date time,
                                                     const WaterTemperatureDataProvider::Answer& day) {
  constexpr double farthest = 5'400.0;  // seconds
  if (!day) return nullptr;
  std::shared_ptr<const TimeSeriesData> nearest;
  double least = std::numeric_limits<double>::infinity();
  for (const auto& sample : day->timeSeries) {
    const double distance = std::fabs(secondsOf(sample->date) - secondsOf(time));
    if (!(distance < least)) continue;
    least = distance;
    nearest = sample;
  }
  if (!nearest || least > farthest) return nullptr;
  return std::make_shared<const WaterTempData>(day->latitude, day->longitude, TimeSeries{std::move(nearest)},
                                               day->isTemperatureInCelsius);
}

}  // namespace marlune
