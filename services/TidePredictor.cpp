#include "services/TidePredictor.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <numeric>
#include <optional>

#include "services/HarmonicCurve.h"

namespace marlune::services {
namespace {

constexpr std::int64_t kDay = 86400;

struct GridPoint {
  double time = 0;
  double slope = 0;
};

// The extreme between two instants at which the slope has different signs. Begins where the straight
// line between the slopes is zero, goes on by Newton's steps as long as they stay between the two,
// and halves otherwise.
TideExtreme extremeBetween(const HarmonicCurve& curve, GridPoint left, GridPoint right) {
  const bool high = left.slope > 0;
  double time = left.time + (right.time - left.time) * (left.slope / (left.slope - right.slope));
  double level = 0;
  for (int round = 0; round < 60; ++round) {
    const HarmonicCurve::Sample sample = curve.at(time);
    ((sample.slope > 0) == high ? left.time : right.time) = time;
    double next = sample.curvature != 0 ? time - sample.slope / sample.curvature : left.time;
    if (!(next > left.time && next < right.time)) next = std::midpoint(left.time, right.time);
    const double step = next - time;
    level = sample.level + step * (sample.slope + step * sample.curvature / 2);
    time = next;
    if (std::abs(step) < 0.01 || right.time - left.time < 0.01) break;
  }
  return {static_cast<std::int64_t>(std::floor(time + 0.5)), level, high};
}

// Extremes of whole days. The grid of instants is the same whatever is asked for, so that two
// answers that meet agree on where they do.
std::vector<TideExtreme> curveExtremes(const HarmonicCurve& curve, std::int64_t firstDay,
                                       std::int64_t lastDay) {
  std::vector<TideExtreme> found;
  std::array<double, HarmonicCurve::kStepsADay> slopes{};
  std::optional<GridPoint> previous;
  for (std::int64_t day = firstDay; day <= lastDay; ++day) {
    curve.slopesOfDay(day, slopes);
    for (std::size_t i = 0; i < slopes.size(); ++i) {
      const GridPoint point{
          static_cast<double>(day * kDay + static_cast<std::int64_t>(i) * HarmonicCurve::kStep), slopes[i]};
      if (previous && (previous->slope > 0) != (point.slope > 0))
        found.push_back(extremeBetween(curve, *previous, point));
      previous = point;
    }
  }
  return found;
}

void applyOffsets(const HarmonicStation& station, std::vector<TideExtreme>& extremes) {
  for (TideExtreme& extreme : extremes) {
    const TideOffsets& offsets = extreme.high ? station.high : station.low;
    extreme.time += offsets.seconds;
    extreme.level = extreme.level * offsets.factor + offsets.addend;
  }
}

// Only pairs of one kind (a high and the low after it, or the other way round) can come into the wrong
// order, since one of the two offsets is the larger; no extreme belongs to two such pairs.
void dropCrossedPairs(std::vector<TideExtreme>& extremes) {
  std::vector<TideExtreme> kept;
  kept.reserve(extremes.size());
  for (std::size_t i = 0; i < extremes.size(); ++i) {
    if (i + 1 < extremes.size() && extremes[i + 1].time <= extremes[i].time) {
      ++i;
      continue;
    }
    kept.push_back(extremes[i]);
  }
  extremes = std::move(kept);
}

}  // namespace

const HarmonicStation& TidePredictor::referenceOf(const HarmonicStation& station) const {
  return station.subordinate ? _database->stations()[station.reference] : station;
}

std::vector<TideExtreme> TidePredictor::extremes(const HarmonicStation& station, std::int64_t begin,
                                                 std::int64_t end) const {
  if (station.kind != HarmonicStation::Kind::tide || end <= begin) return {};
  const HarmonicStation& reference = referenceOf(station);
  // Wide enough that both of a pair are seen whichever of them falls into the interval.
  const std::int64_t reach = std::max(std::abs(station.high.seconds), std::abs(station.low.seconds)) +
                             std::abs(station.high.seconds - station.low.seconds) + kDay;
  const std::int64_t firstDay = HarmonicCurve::dayOf(begin - reach);
  const std::int64_t lastDay = HarmonicCurve::dayOf(end + reach);
  const HarmonicCurve curve(*_database, reference, firstDay, lastDay);
  std::vector<TideExtreme> found = curveExtremes(curve, firstDay, lastDay);
  applyOffsets(station, found);
  dropCrossedPairs(found);
  std::erase_if(found,
                [&](const TideExtreme& extreme) { return extreme.time < begin || extreme.time >= end; });
  return found;
}

double TidePredictor::level(const HarmonicStation& station, double time) const {
  const std::int64_t day = HarmonicCurve::dayOf(static_cast<std::int64_t>(std::floor(time)));
  return HarmonicCurve(*_database, referenceOf(station), day, day).at(time).level;
}

}  // namespace marlune::services
