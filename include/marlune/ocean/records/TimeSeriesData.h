#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "marlune/base/Export.h"
#include "marlune/time/Date.h"

namespace marlune {

/// Names of the series that a sample may belong to.
namespace ocean_series {
inline constexpr std::string_view height = "Height";      ///< of the swell
inline constexpr std::string_view period = "Period";      ///< of the swell
inline constexpr std::string_view velocity = "Velocity";  ///< of a current
inline constexpr std::string_view wind = "Wind";          ///< speed
}  // namespace ocean_series

/// Keys of a sample's attributes.
namespace ocean_attributes {
inline constexpr std::string_view direction = "direction";  ///< degrees
inline constexpr std::string_view gust = "gust";            ///< in the unit of the record's speeds
}  // namespace ocean_attributes

/// One sample of a time series. Held by pointer: two samples with equal fields are still two samples, which a
/// view of a list can tell apart by `id()`. Samples that come from the library are shared, also with its
/// caches, and no longer change.
class MARLUNE_API TimeSeriesData final {
 public:
  using Attributes = std::map<std::string, std::string, std::less<>>;

  TimeSeriesData(Date sampleDate, double sampleValue,
                 std::optional<Attributes> sampleAttributes = std::nullopt,
                 std::optional<std::string> sampleSeries = std::nullopt)
      : date(sampleDate),
        value(sampleValue),
        attributes(std::move(sampleAttributes)),
        series(std::move(sampleSeries)) {}
  TimeSeriesData() = delete;
  TimeSeriesData(const TimeSeriesData&) = delete;
  TimeSeriesData& operator=(const TimeSeriesData&) = delete;

  /// The identity of this very object.
  const void* id() const { return this; }

  Date date;     ///< the instant
  double value;  ///< in the unit that the record with the sample states
  /// More of the same instant, by the keys of `ocean_attributes`: numbers as numberAttribute() writes them.
  /// Absent, not empty, where there is none.
  std::optional<Attributes> attributes;
  std::optional<std::string> series;  ///< one of `ocean_series`, where a record holds several
};

/// Samples in time order.
using TimeSeries = std::vector<std::shared_ptr<const TimeSeriesData>>;

/// A number as an attribute holds it: the shortest decimal that reads back, always with a fraction and never
/// with an exponent ("270.0", "12.5", "0.00001"); a zero has no sign. Requires a finite number.
MARLUNE_API std::string numberAttribute(double value);

}  // namespace marlune
