#include "services/MoonPhases.h"

#include <cmath>
#include <numbers>

namespace marlune::services {
namespace {

using Kind = MoonPhase::Kind;

constexpr double kSynodicMonth = 29.530588861;  // days
constexpr double kFirstNewMoon = 10962.59766;   // of 2000, days since 1970, terrestrial time
constexpr double kDay = 86400;
// Terrestrial time runs ahead of UTC by 0 to 70 seconds in these years; nothing here is as fine as that.
constexpr double kAhead = 60;

double sine(double degrees) {
  return std::sin(degrees * std::numbers::pi / 180);
}

double cosine(double degrees) {
  return std::cos(degrees * std::numbers::pi / 180);
}

// The largest periodic terms of Meeus, "Astronomical Algorithms", chapter 49. Days since 1970.
double timeOf(double lunation, Kind kind) {
  const double centuries = lunation / 1236.85;
  const double e = 1 - 0.002516 * centuries;  // the earth's orbit gets rounder
  const double sun = 2.5534 + 29.10535670 * lunation;
  const double moon = 201.5643 + 385.81693528 * lunation;
  const double node = 160.7108 + 390.67050284 * lunation;
  double days = kFirstNewMoon + kSynodicMonth * lunation + 0.00015437 * centuries * centuries;
  if (kind == Kind::newMoon || kind == Kind::fullMoon) {
    const bool isNew = kind == Kind::newMoon;
    days += (isNew ? -0.40720 : -0.40614) * sine(moon) + (isNew ? 0.17241 : 0.17302) * e * sine(sun) +
            (isNew ? 0.01608 : 0.01614) * sine(2 * moon) + (isNew ? 0.01039 : 0.01043) * sine(2 * node) +
            (isNew ? 0.00739 : 0.00734) * e * sine(moon - sun) -
            (isNew ? 0.00514 : 0.00515) * e * sine(moon + sun) + 0.00208 * e * e * sine(2 * sun) -
            0.00111 * sine(moon - 2 * node);
    return days;
  }
  days += -0.62801 * sine(moon) + 0.17172 * e * sine(sun) - 0.01183 * e * sine(moon + sun) +
          0.00862 * sine(2 * moon) + 0.00804 * sine(2 * node) + 0.00454 * e * sine(moon - sun) +
          0.00204 * e * e * sine(2 * sun) - 0.00180 * sine(moon - 2 * node);
  const double lag = 0.00306 - 0.00038 * e * cosine(sun) + 0.00026 * cosine(moon);
  return kind == Kind::firstQuarter ? days + lag : days - lag;
}

}  // namespace

std::vector<MoonPhase> moonPhases(std::int64_t begin, std::int64_t end) {
  constexpr Kind kinds[] = {Kind::newMoon, Kind::firstQuarter, Kind::fullMoon, Kind::lastQuarter};
  std::vector<MoonPhase> phases;
  // The true times lie within a day of the mean ones.
  const double first = (static_cast<double>(begin) / kDay - 1 - kFirstNewMoon) / kSynodicMonth;
  for (auto quarter = static_cast<std::int64_t>(std::floor(first * 4));; ++quarter) {
    const Kind kind = kinds[((quarter % 4) + 4) % 4];
    const double days = timeOf(static_cast<double>(quarter) / 4, kind);
    const auto time = static_cast<std::int64_t>(std::llround(days * kDay - kAhead));
    if (time >= end) return phases;
    if (time >= begin) phases.push_back({kind, time});
  }
}

}  // namespace marlune::services
