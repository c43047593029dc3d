#include "cli/Chart.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "cli/Values.h"

namespace marlune::cli {

std::string Chart::levelText(double level) const {
  // A level that rounds to zero has no sign worth showing.
  const double places = unit == "m" ? 100.0 : 10.0;
  const double rounded = std::round(level * places) / places;
  return fmt::format("{:.{}f}", rounded == 0 ? 0.0 : rounded, unit == "m" ? 2 : 1);
}

std::vector<Chart::Division> Chart::divisions() const {
  std::vector<Division> divisions;
  for (std::size_t day = 0; day < days(); ++day) {
    std::string name = dayText(zone, midnights[day]);
    if (!drawnByMonth()) {
      divisions.push_back({midnights[day], midnights[day + 1], std::move(name)});
    } else if (const CivilTime local = zone.civil(midnights[day]); divisions.empty() || local.day == 1) {
      const std::size_t year = name.rfind(' ');
      divisions.push_back({midnights[day], midnights[day + 1], name.substr(name.rfind(' ', year - 1) + 1)});
    } else {
      divisions.back().end = midnights[day + 1];
    }
  }
  return divisions;
}

std::string Chart::subtitle() const {
  const std::int64_t lastDay = midnights[days() - 1];
  std::string text = dayText(zone, begin());
  if (days() > 1) text += " to " + dayText(zone, lastDay);
  const std::string first = zone.abbreviation(begin());
  const std::string last = zone.abbreviation(end() - 1);
  text += ", times in " + (first == last ? first : first + "/" + last);
  return text + (unit == "m" ? ", levels in metres" : ", levels in feet");
}

std::string Chart::markText() const {
  if (!mark) return "";
  std::string text = fmt::format("{} {}: {} {}", mark->name, clockText(zone, mark->point.time),
                                 levelText(mark->point.level), unit);
  for (const auto& event : events) {
    if (event.timestamp <= mark->point.time) continue;
    return text + fmt::format(", {} to {} {} at {}", event.isHighTide ? "rising" : "falling",
                              levelText(event.tidelevel), unit, clockText(zone, event.timestamp));
  }
  return text;
}

LevelScale::LevelScale(const Chart& chart, int wanted) {
  const auto [low, high] =
      std::minmax_element(chart.line.begin(), chart.line.end(),
                          [](const Chart::Point& a, const Chart::Point& b) { return a.level < b.level; });
  least = low->level;
  most = high->level;
  if (most - least < 0.1) {
    const double middle = (least + most) / 2;
    const double half = std::max(0.05, std::abs(middle) * 1e-6);
    least = middle - half;
    most = middle + half;
  }
  const double rough = (most - least) / wanted;
  const double power = std::pow(10.0, std::floor(std::log10(rough)));
  step = 10 * power;
  for (const double factor : {1.0, 2.0, 5.0}) {
    if (factor * power >= rough * 0.999) {
      step = factor * power;
      break;
    }
  }
  decimals = std::max(0, static_cast<int>(-std::floor(std::log10(step) + 1e-9)));
}

std::vector<double> LevelScale::ticks() const {
  std::vector<double> ticks;
  for (double i = std::ceil(least / step - 1e-9); i * step <= most + step * 1e-9 && ticks.size() < 100; ++i) {
    ticks.push_back(i * step);
  }
  return ticks;
}

std::string LevelScale::text(double tick) const {
  return fmt::format("{:.{}f}", tick == 0 ? 0.0 : tick, decimals);
}

int hoursBetweenTicks(double dayWidth, double apart) {
  for (const int hours : {1, 2, 3, 6, 12}) {
    if (dayWidth * hours / 24 >= apart) return hours;
  }
  return 24;
}

std::vector<std::int64_t> timeTicks(const Chart& chart, int hours) {
  std::vector<std::int64_t> ticks;
  for (std::size_t i = 0; i < chart.days(); ++i) {
    CivilTime local = chart.zone.civil(chart.midnights[i]);
    for (int hour = 0; hour < 24; hour += hours) {
      local.hour = hour;
      local.minute = local.second = 0;
      const std::int64_t tick = chart.zone.instant(local);
      // An hour that a clock change skips has no tick of its own.
      if (chart.zone.civil(tick).hour == hour) ticks.push_back(tick);
    }
  }
  return ticks;
}

}  // namespace marlune::cli
