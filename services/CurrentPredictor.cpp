#include "services/CurrentPredictor.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

#include "services/HarmonicCurve.h"

namespace marlune::services {
namespace {

constexpr std::int64_t kDay = 86400;
constexpr std::int64_t kMinute = 60;

// Constants of hydraulic currents, which follow a difference of heights, give the square of the speed.
double knotsOf(const HarmonicStation& station, double level) {
  if (station.kind != HarmonicStation::Kind::currentSquared) return level;
  return std::copysign(std::sqrt(std::abs(level)), level);
}

// The minute nearest to the instant between the two at which the level, or the slope, changes its sign.
template <typename Value>
std::int64_t minuteOfChange(const HarmonicCurve& curve, double left, double right, Value value) {
  const bool positive = curve.at(left).*value > 0;
  while (right - left > 1) {
    const double middle = (left + right) / 2;
    ((curve.at(middle).*value > 0) == positive ? left : right) = middle;
  }
  return static_cast<std::int64_t>(std::floor((left + right) / 2 / kMinute + 0.5)) * kMinute;
}

// Turns of whole days in the order of their true instants. The grid of instants is the same whatever is asked
// for.
std::vector<CurrentTurn> turnsOfCurve(const HarmonicCurve& curve, std::int64_t firstDay,
                                      std::int64_t lastDay) {
  using Sample = HarmonicCurve::Sample;
  std::vector<CurrentTurn> found;
  Sample before = curve.at(static_cast<double>(firstDay * kDay));
  for (std::int64_t time = firstDay * kDay; time < (lastDay + 1) * kDay; time += HarmonicCurve::kStep) {
    const auto left = static_cast<double>(time);
    const double right = left + static_cast<double>(HarmonicCurve::kStep);
    const Sample after = curve.at(right);
    std::optional<CurrentTurn> slack;
    if ((before.level > 0) != (after.level > 0))
      slack = CurrentTurn{CurrentTurn::Kind::slack, minuteOfChange(curve, left, right, &Sample::level), 0};
    std::optional<CurrentTurn> peak;
    if ((before.slope > 0) != (after.slope > 0)) {
      const std::int64_t minute = minuteOfChange(curve, left, right, &Sample::slope);
      const bool flood = curve.at(static_cast<double>(minute)).level > 0;
      // A trough of the flood and a crest of the ebb are the least speed, not the greatest.
      if (flood == (before.slope > 0))
        peak = CurrentTurn{flood ? CurrentTurn::Kind::flood : CurrentTurn::Kind::ebb, minute, 0};
    }
    const bool peakFirst = peak && slack && peak->time < slack->time;
    if (peakFirst) found.push_back(*peak);
    if (slack) found.push_back(*slack);
    if (peak && !peakFirst) found.push_back(*peak);
    before = after;
  }
  return found;
}

// A slack has the offset of what it begins. Where none is given, it lies between those of flood and ebb.
void applyOffsets(const HarmonicStation& station, std::vector<CurrentTurn>& turns, bool floodFirst) {
  const std::int64_t middle = (station.high.seconds + station.low.seconds) / 2 / kMinute * kMinute;
  bool floodNext = floodFirst;
  for (CurrentTurn& turn : turns) {
    switch (turn.kind) {
      case CurrentTurn::Kind::slack:
        turn.time += (floodNext ? station.current.floodBegins : station.current.ebbBegins).value_or(middle);
        floodNext = !floodNext;
        break;
      case CurrentTurn::Kind::flood:
        turn.time += station.high.seconds;
        turn.knots *= station.high.factor;
        break;
      case CurrentTurn::Kind::ebb:
        turn.time += station.low.seconds;
        turn.knots *= station.low.factor;
        break;
    }
  }
}

void dropOvertaken(std::vector<CurrentTurn>& turns) {
  auto latest = std::numeric_limits<std::int64_t>::min();
  std::erase_if(turns, [&](const CurrentTurn& turn) {
    const bool overtaken = turn.time <= latest;
    latest = std::max(latest, turn.time);
    return overtaken;
  });
}

}  // namespace

std::vector<double> CurrentPredictor::speeds(const HarmonicStation& station, std::int64_t begin,
                                             std::int64_t end, std::int64_t step) const {
  std::vector<double> speeds;
  if (station.kind == HarmonicStation::Kind::tide || station.subordinate || end <= begin) return speeds;
  const HarmonicCurve curve(*_database, station, HarmonicCurve::dayOf(begin), HarmonicCurve::dayOf(end));
  for (std::int64_t time = begin; time < end; time += step)
    speeds.push_back(knotsOf(station, curve.at(static_cast<double>(time)).level));
  return speeds;
}

std::vector<CurrentTurn> CurrentPredictor::turns(const HarmonicStation& station, std::int64_t begin,
                                                 std::int64_t end) const {
  if (station.kind == HarmonicStation::Kind::tide || end <= begin) return {};
  const HarmonicStation& reference = station.subordinate ? _database->stations()[station.reference] : station;
  // Offsets reach half a day at most; what overtakes a turn is seen together with it.
  const std::int64_t firstDay = HarmonicCurve::dayOf(begin) - 2;
  const std::int64_t lastDay = HarmonicCurve::dayOf(end) + 2;
  const HarmonicCurve curve(*_database, reference, firstDay, lastDay + 1);
  std::vector<CurrentTurn> found = turnsOfCurve(curve, firstDay, lastDay);
  for (CurrentTurn& turn : found)
    turn.knots = knotsOf(reference, curve.at(static_cast<double>(turn.time)).level);
  if (station.subordinate) {
    const bool floodFirst = curve.at(static_cast<double>(firstDay * kDay)).level <= 0;
    applyOffsets(station, found, floodFirst);
    dropOvertaken(found);
  }
  std::erase_if(found, [&](const CurrentTurn& turn) { return turn.time < begin || turn.time >= end; });
  return found;
}

}  // namespace marlune::services
