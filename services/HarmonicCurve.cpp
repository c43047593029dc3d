#include "services/HarmonicCurve.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <numbers>

namespace marlune::services {
namespace {

constexpr std::int64_t kDay = 86400;
constexpr double kRadians = std::numbers::pi / 180;
// Steps that are reckoned side by side, so that none has to wait for the one before it.
constexpr std::size_t kLanes = 4;
static_assert(HarmonicCurve::kStepsADay % kLanes == 0);

int yearOf(std::int64_t day) {
  return static_cast<int>(std::chrono::year_month_day(std::chrono::sys_days(std::chrono::days(day))).year());
}

std::int64_t startOf(int year) {
  const std::chrono::sys_days start = std::chrono::year(year) / 1 / 1;
  return std::int64_t{start.time_since_epoch().count()} * kDay;
}

}  // namespace

HarmonicCurve::Year::Year(const HarmonicDatabase& database, const HarmonicStation& station, int year)
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

HarmonicCurve::Sample HarmonicCurve::Year::at(double time) const {
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

// Turning each term by a fixed angle in place of asking for sines is what makes a year of a station a
// matter of milliseconds; over a day its error stays in the last digits.
void HarmonicCurve::Year::slopesOfDay(std::int64_t dayStart, std::array<double, kStepsADay>& slopes) const {
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

HarmonicCurve::HarmonicCurve(const HarmonicDatabase& database, const HarmonicStation& station,
                             std::int64_t firstDay, std::int64_t lastDay)
    : _tableFirst(database.firstYear()), _tableLast(database.lastYear()) {
  _first = inTable(yearOf(firstDay - 1));
  const int last = inTable(yearOf(lastDay + 1));
  for (int year = _first; year <= last; ++year) _years.emplace_back(database, station, year);
}

std::int64_t HarmonicCurve::dayOf(std::int64_t time) {
  return (time >= 0 ? time : time - (kDay - 1)) / kDay;
}

HarmonicCurve::Sample HarmonicCurve::at(double time) const {
  const std::int64_t day = dayOf(static_cast<std::int64_t>(std::floor(time)));
  const int turn = turnBeside(day);
  if (turn == 0) return curveOf(yearOf(day)).at(time);
  const Sample before = curveOf(turn - 1).at(time);
  const Sample after = curveOf(turn).at(time);
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

void HarmonicCurve::slopesOfDay(std::int64_t day, std::array<double, kStepsADay>& slopes) const {
  if (turnBeside(day) == 0) {
    curveOf(yearOf(day)).slopesOfDay(day * kDay, slopes);
    return;
  }
  std::int64_t time = day * kDay;
  for (double& slope : slopes) {
    slope = at(static_cast<double>(time)).slope;
    time += kStep;
  }
}

int HarmonicCurve::inTable(int year) const {
  return std::clamp(year, _tableFirst, _tableLast);
}

const HarmonicCurve::Year& HarmonicCurve::curveOf(int year) const {
  return _years[static_cast<std::size_t>(
      std::clamp(inTable(year) - _first, 0, static_cast<int>(_years.size()) - 1))];
}

// The year that begins or has just begun on a day beside the turn; 0 on every other day. The table's
// own ends are no turns: beyond them its last year goes on.
int HarmonicCurve::turnBeside(std::int64_t day) const {
  const int year = yearOf(day + 1);
  const std::int64_t start = startOf(year) / kDay;
  if (day != start && day != start - 1) return 0;
  return year > _tableFirst && year <= _tableLast ? year : 0;
}

}  // namespace marlune::services
