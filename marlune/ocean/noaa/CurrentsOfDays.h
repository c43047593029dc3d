#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "marlune/base/Export.h"
#include "marlune/ocean/noaa/CurrentPredictions.h"
#include "marlune/ocean/records/OceanCurrentData.h"
#include "marlune/ocean/source/CurrentsPeriod.h"

namespace marlune {

namespace current_predictions {

/// The time around `at` in which the stream stays below `threshold` knots, on the curve that the samples are
/// taken from, but not beyond the first and the last of the points of an unbroken stretch, nor beyond
/// `earliest` and `latest`. Nothing where the curve does not cover `at` or is no slower there.
struct SlackWindow {
  double begin = 0.0;  ///< seconds since 1970
  double end = 0.0;
};
MARLUNE_API std::optional<SlackWindow> slackWindow(const CurrentPredictions& points, std::int64_t at,
                                                   double threshold, std::int64_t earliest,
                                                   std::int64_t latest);

/// Samples each half hour from the first point on, none at the last: between two points half a wave of a
/// cosine, of points of equal time from the last of them on. No sample lies between points more than a day
/// apart, where a whole day is missing.
MARLUNE_API TimeSeries samplesOf(const CurrentPredictions& points);

/// An event for each row of the list that lies in the period; slacks get their window from the points.
MARLUNE_API OceanCurrentData::Events eventsOf(const CurrentPredictions& maxSlack,
                                              const CurrentPredictions& points, const CurrentsPeriod& period);

}  // namespace current_predictions

/// What the predictions of some days give, made once and cut for each question. Rows are in time order.
class MARLUNE_API CurrentsOfDays {
 public:
  /// The points of the days, and the list, which may reach beyond `days` and may be empty.
  CurrentsOfDays(CurrentPredictions points, const CurrentPredictions& maxSlack, const CurrentsPeriod& days);

  /// The samples and events of a period; where the list has no event in it, each point is one. Nothing where
  /// there are fewer than two points, and where neither a sample nor an event lies in the period.
  std::shared_ptr<const OceanCurrentData> within(const CurrentsPeriod& period, double lat, double lng) const;

  bool empty() const { return points_.size() < 2; }

 private:
  CurrentPredictions points_;
  TimeSeries samples_;
  OceanCurrentData::Events events_;
};

}  // namespace marlune
