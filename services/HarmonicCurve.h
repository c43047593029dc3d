#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "services/HarmonicDatabase.h"

namespace marlune::services {

/// The one smooth curve of a station over an interval of whole days: the height of its tide, or the speed
/// of its current, in the unit of its constants. Each year has its own factors and arguments; around the
/// turn of the year one year's curve passes into the next so that value, slope and curvature are
/// continuous. What the curve is at an instant does not depend on the interval it was made for.
///
/// Immutable; share one between threads freely.
///
///     const HarmonicCurve curve(database, station, HarmonicCurve::dayOf(begin), HarmonicCurve::dayOf(end));
///     curve.at(static_cast<double>(begin)).level;
class HarmonicCurve {
 public:
  /// Grid of instants on which extremes are looked for. The fastest constituents have periods of two to
  /// three hours; two extremes of a curve stand many of these steps apart.
  static constexpr std::int64_t kStep = 360;
  static constexpr std::size_t kStepsADay = 86400 / kStep;

  struct Sample {
    double level = 0;
    double slope = 0;      ///< per second
    double curvature = 0;  ///< per second squared
  };

  /// Requires a station with constants. Years outside the data's table use its nearest year.
  HarmonicCurve(const HarmonicDatabase& database, const HarmonicStation& station, std::int64_t firstDay,
                std::int64_t lastDay);

  /// Days since 1970 of an instant in seconds.
  static std::int64_t dayOf(std::int64_t time);

  Sample at(double time) const;

  /// Slopes at every step of a day, far quicker than one by one.
  void slopesOfDay(std::int64_t day, std::array<double, kStepsADay>& slopes) const;

 private:
  // The sum of cosines with the factors and arguments of one year.
  class Year {
   public:
    Year(const HarmonicDatabase& database, const HarmonicStation& station, int year);

    Sample at(double time) const;
    void slopesOfDay(std::int64_t dayStart, std::array<double, kStepsADay>& slopes) const;

   private:
    std::int64_t _start;
    double _mean;
    std::vector<double> _amplitudes;
    std::vector<double> _speeds;
    std::vector<double> _phases;
  };

  int inTable(int year) const;
  const Year& curveOf(int year) const;
  int turnBeside(std::int64_t day) const;

  int _tableFirst;
  int _tableLast;
  int _first = 0;
  std::vector<Year> _years;
};

}  // namespace marlune::services
