#include "fuzz/Target.h"
#include "marlune/ocean/nws/NWSGridpoint.h"

namespace {

bool isSame(const TimeSeriesData& a, const TimeSeriesData& b) {
  return a.date == b.date && a.value == b.value && a.attributes == b.attributes && a.series == b.series;
}

}  // namespace

/// A day has samples of that day in time order, whatever the intervals, and a day cut in two has the same.
MARLUNE_FUZZ_TARGET(bytes) {
  JsonReaders readers;
  const auto wind = nws_gridpoint::windOf(bytes, readers);
  if (!wind) return;
  std::int64_t from = 1'741'161'600;
  if (!wind->speed.empty()) from = wind->speed.back().start - 43'200;
  const std::int64_t middle = from + 40'000;
  const std::int64_t to = from + 86'400;
  for (const auto& interval : wind->speed) MARLUNE_FUZZ_REQUIRE(interval.start <= interval.end);
  const auto day = nws_gridpoint::samplesOf(*wind, from, to);
  const auto begin = nws_gridpoint::samplesOf(*wind, from, middle);
  const auto rest = nws_gridpoint::samplesOf(*wind, middle, to);
  if (!day) return;
  MARLUNE_FUZZ_REQUIRE(begin && rest && day->size() == begin->size() + rest->size());
  for (std::size_t i = 0; i < day->size(); ++i) {
    const TimeSeriesData& sample = *(*day)[i];
    const double instant = secondsOf(sample.date);
    MARLUNE_FUZZ_REQUIRE(instant >= static_cast<double>(from) && instant < static_cast<double>(to));
    MARLUNE_FUZZ_REQUIRE(i == 0 || (*day)[i - 1]->date <= sample.date);
    MARLUNE_FUZZ_REQUIRE(std::isfinite(sample.value));
    MARLUNE_FUZZ_REQUIRE(isSame(sample, i < begin->size() ? *(*begin)[i] : *(*rest)[i - begin->size()]));
  }
}
