#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cli/Records.h"
#include "marlune/time/TimeZone.h"

namespace marlune::cli {

/// Everything that a drawing of a few days of tide shows, ready to be laid out. Plain data; the time axis
/// runs from one local midnight to another, the levels are in one unit.
struct Chart {
  struct Point {
    std::int64_t time = 0;
    double level = 0.0;
  };
  /// An instant that is marked on the curve.
  struct Mark {
    std::string name;  ///< "now"
    Point point;
  };

  std::string title;  ///< the station's name and state
  TimeZone zone;
  std::string unit;                     ///< "ft" or "m"
  std::vector<std::int64_t> midnights;  ///< beginning of each day, and the end of the last
  Events events;                        ///< highs and lows of these days, ascending
  std::vector<Point> line;              ///< the curve: straight from point to point
  std::optional<Mark> mark;
  std::string note;  ///< what a reader must know, or empty

  /// A stretch of the time axis with a name of its own.
  struct Division {
    std::int64_t begin = 0;
    std::int64_t end = 0;
    std::string name;  ///< "Thu 5 Mar 2026" or "Mar 2026"; its last words may be left out
  };

  /// More days than this are drawn by months, without dots and times of their own for the events.
  static constexpr std::size_t mostDaysApart = 31;

  bool drawnByMonth() const { return days() > mostDaysApart; }
  /// The days, or the months, in their order.
  std::vector<Division> divisions() const;

  std::int64_t begin() const { return midnights.front(); }
  std::int64_t end() const { return midnights.back(); }
  std::size_t days() const { return midnights.size() - 1; }

  /// "5.3" in as many places as are worth it in the unit.
  std::string levelText(double level) const;
  /// "Thu 5 Mar 2026 to Sat 7 Mar 2026, times in PST, levels in feet"
  std::string subtitle() const;
  /// The mark in words, with what the water does next; empty without a mark.
  std::string markText() const;
};

/// A scale for levels: round numbers that cover what is drawn.
struct LevelScale {
  double least = 0.0;
  double most = 1.0;
  double step = 1.0;
  int decimals = 0;

  /// About `wanted` steps over the levels of the line.
  LevelScale(const Chart& chart, int wanted);

  /// The round numbers within, ascending.
  std::vector<double> ticks() const;
  std::string text(double tick) const;
};

/// How many hours apart the ticks of the time axis stand, for a day of so many units of width with at least
/// `apart` between them; 24 at most.
int hoursBetweenTicks(double dayWidth, double apart);

/// The instants of those ticks: local hours, midnight among them.
std::vector<std::int64_t> timeTicks(const Chart& chart, int hours);

/// A drawing in Unicode, at most `columns` wide (at least 40 are used), with a list of the events under it.
std::string drawInTerminal(const Chart& chart, std::size_t columns, bool colour);

/// The list alone, a line a day.
std::string eventsByDay(const Chart& chart, bool colour);

/// A picture that stands alone.
std::string drawSvg(const Chart& chart);

}  // namespace marlune::cli
