#include "services/TidePredictor.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <numeric>
#include <optional>

namespace marlune::services {
namespace {

constexpr std::int64_t kDay = 86400;
constexpr double kRadians = std::numbers::pi / 180;
// The fastest constituents have periods of two to three hours; two extremes of a tide curve stand
// many of these steps apart.
constexpr std::int64_t kStep = 360;
constexpr std::size_t kStepsADay = kDay / kStep;
// Steps that are reckoned side by side, so that none has to wait for the one before it.
constexpr std::size_t kLanes = 4;
static_assert(kStepsADay % kLanes == 0);

std::int64_t floorDay(std::int64_t time) {
  return (time >= 0 ? time : time - (kDay - 1)) / kDay;
}

int yearOf(std::int64_t day) {
  return static_cast<int>(std::chrono::year_month_day(std::chrono::sys_days(std::chrono::days(day))).year());
}

std::int64_t startOf(int year) {
  const std::chrono::sys_days start = std::chrono::year(year) / 1 / 1;
  return std::int64_t{start.time_since_epoch().count()} * kDay;
}

struct Sample {
  double level = 0;
  double slope = 0;      // per second
  double curvature = 0;  // per second squared
};

// The sum of cosines with the factors and arguments of one year.
class YearCurve {
 public:
  YearCurve(const HarmonicDatabase& database, const HarmonicStation& station, int year)
      : _start(startOf(year)), _mean(station.datumOffset) {
    const auto row = static_cast<std::size_t>(year - database.firstYear());
    for (const HarmonicComponent& component : station.components) {
      const Constituent& constituent = database.constituents()[component.constituent];
      _amplitudes.push_back(component.amplitude * double{constituent.nodeFactor[row]});
      _speeds.push_back(constituent.degreesPerHour * kRadians / 3600);
      _phases.push_back((double{constituent.equilibrium[row]} - component.epoch +
                         constituent.degreesPerHour * station.epochZoneHours) *
                        kRadians);
    }
  }

  Sample at(double time) const {
    Sample sample{_mean, 0, 0};
    const double elapsed = time - static_cast<double>(_start);
    for (std::size_t i = 0; i < _amplitudes.size(); ++i) {
      const double angle = _phases[i] + _speeds[i] * elapsed;
      const double term = _amplitudes[i] * std::cos(angle);
      sample.level += term;
      sample.slope -= _amplitudes[i] * _speeds[i] * std::sin(angle);
      sample.curvature -= term * _speeds[i] * _speeds[i];
    }
    return sample;
  }

  // Slopes at every step of a day. Turning each term by a fixed angle in place of asking for sines
  // is what makes a year of a station a matter of milliseconds; over a day its error stays in the
  // last digits.
  void slopesOfDay(std::int64_t dayStart, std::array<double, kStepsADay>& slopes) const {
    slopes.fill(0);
    const auto elapsed = static_cast<double>(dayStart - _start);
    for (std::size_t i = 0; i < _amplitudes.size(); ++i) {
      const double angle = _phases[i] + _speeds[i] * elapsed;
      const double step = _speeds[i] * static_cast<double>(kStep);
      const double turnCos = std::cos(step * static_cast<double>(kLanes));
      const double turnSin = std::sin(step * static_cast<double>(kLanes));
      std::array<double, kLanes> c{};
      std::array<double, kLanes> s{};
      for (std::size_t lane = 0; lane < kLanes; ++lane) {
        const double laneAngle = angle + step * static_cast<double>(lane);
        c[lane] = -_amplitudes[i] * _speeds[i] * std::cos(laneAngle);
        s[lane] = -_amplitudes[i] * _speeds[i] * std::sin(laneAngle);
      }
      for (std::size_t at = 0; at < kStepsADay; at += kLanes) {
        for (std::size_t lane = 0; lane < kLanes; ++lane) {
          slopes[at + lane] += s[lane];
          const double next = c[lane] * turnCos - s[lane] * turnSin;
          s[lane] = s[lane] * turnCos + c[lane] * turnSin;
          c[lane] = next;
        }
      }
    }
  }

 private:
  std::int64_t _start;
  double _mean;
  std::vector<double> _amplitudes;
  std::vector<double> _speeds;
  std::vector<double> _phases;
};

// The one curve of a station over an interval: each year's own, joined around the years' turns so that
// value, slope and curvature are continuous.
class StationCurve {
 public:
  StationCurve(const HarmonicDatabase& database, const HarmonicStation& station, std::int64_t firstDay,
               std::int64_t lastDay)
      : _tableFirst(database.firstYear()), _tableLast(database.lastYear()) {
    _first = inTable(yearOf(firstDay - 1));
    const int last = inTable(yearOf(lastDay + 1));
    for (int year = _first; year <= last; ++year) _years.emplace_back(database, station, year);
  }

  Sample at(double time) const {
    const std::int64_t day = floorDay(static_cast<std::int64_t>(std::floor(time)));
    const int turn = turnBeside(day);
    if (turn == 0) return yearCurve(yearOf(day)).at(time);
    const Sample before = yearCurve(turn - 1).at(time);
    const Sample after = yearCurve(turn).at(time);
    constexpr double width = 2.0 * kDay;
    const double s = (time - static_cast<double>(startOf(turn) - kDay)) / width;
    const double w = s * s * s * (10 - s * (15 - 6 * s));
    const double w1 = 30 * s * s * (1 - s) * (1 - s) / width;
    const double w2 = 60 * s * (1 - s) * (1 - 2 * s) / (width * width);
    const double level = after.level - before.level;
    const double slope = after.slope - before.slope;
    const double curvature = after.curvature - before.curvature;
    return {before.level + w * level, before.slope + w * slope + w1 * level,
            before.curvature + w * curvature + 2 * w1 * slope + w2 * level};
  }

  void slopesOfDay(std::int64_t day, std::array<double, kStepsADay>& slopes) const {
    if (turnBeside(day) == 0) {
      yearCurve(yearOf(day)).slopesOfDay(day * kDay, slopes);
      return;
    }
    std::int64_t time = day * kDay;
    for (double& slope : slopes) {
      slope = at(static_cast<double>(time)).slope;
      time += kStep;
    }
  }

 private:
  int inTable(int year) const { return std::clamp(year, _tableFirst, _tableLast); }

  const YearCurve& yearCurve(int year) const {
    return _years[static_cast<std::size_t>(
        std::clamp(inTable(year) - _first, 0, static_cast<int>(_years.size()) - 1))];
  }

  // The year that begins or has just begun on a day beside the turn; 0 on every other day. The table's
  // own ends are no turns: beyond them its last year goes on.
  int turnBeside(std::int64_t day) const {
    const int year = yearOf(day + 1);
    const std::int64_t start = startOf(year) / kDay;
    if (day != start && day != start - 1) return 0;
    return year > _tableFirst && year <= _tableLast ? year : 0;
  }

  int _tableFirst;
  int _tableLast;
  int _first = 0;
  std::vector<YearCurve> _years;
};

struct GridPoint {
  double time = 0;
  double slope = 0;
};

// The extreme between two instants at which the slope has different signs. Begins where the straight
// line between the slopes is zero, goes on by Newton's steps as long as they stay between the two,
// and halves otherwise.
TideExtreme extremeBetween(const StationCurve& curve, GridPoint left, GridPoint right) {
  const bool high = left.slope > 0;
  double time = left.time + (right.time - left.time) * (left.slope / (left.slope - right.slope));
  double level = 0;
  for (int round = 0; round < 60; ++round) {
    const Sample sample = curve.at(time);
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
std::vector<TideExtreme> curveExtremes(const StationCurve& curve, std::int64_t firstDay,
                                       std::int64_t lastDay) {
  std::vector<TideExtreme> found;
  std::array<double, kStepsADay> slopes{};
  std::optional<GridPoint> previous;
  for (std::int64_t day = firstDay; day <= lastDay; ++day) {
    curve.slopesOfDay(day, slopes);
    for (std::size_t i = 0; i < slopes.size(); ++i) {
      const GridPoint point{static_cast<double>(day * kDay + static_cast<std::int64_t>(i) * kStep),
                            slopes[i]};
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
  const std::int64_t firstDay = floorDay(begin - reach);
  const std::int64_t lastDay = floorDay(end + reach);
  const StationCurve curve(*_database, reference, firstDay, lastDay);
  std::vector<TideExtreme> found = curveExtremes(curve, firstDay, lastDay);
  applyOffsets(station, found);
  dropCrossedPairs(found);
  std::erase_if(found,
                [&](const TideExtreme& extreme) { return extreme.time < begin || extreme.time >= end; });
  return found;
}

double TidePredictor::level(const HarmonicStation& station, double time) const {
  const std::int64_t day = floorDay(static_cast<std::int64_t>(std::floor(time)));
  return StationCurve(*_database, referenceOf(station), day, day).at(time).level;
}

}  // namespace marlune::services
