#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

#include "marlune/tides/TideEvent.h"

/// The straight line between two events, to the bit: the library's own; the published form is TideCurve.h.
namespace marlune::curve {

/// Level change a second from `a` to `b`; 0 between two events at one time, whose line has no slope.
inline double slopeBetween(const TideEvent& a, const TideEvent& b) {
  if (a.timestamp == b.timestamp) return 0.0;
  const auto seconds = static_cast<double>(static_cast<std::int64_t>(
      static_cast<std::uint64_t>(b.timestamp) - static_cast<std::uint64_t>(a.timestamp)));
  return (b.tidelevel - a.tidelevel) / seconds;
}

/// The level at `t` on the line from `a`, as one fused multiply-add.
inline double levelOnSegment(const TideEvent& a, double slope, std::int64_t t) {
  const auto seconds = static_cast<double>(
      static_cast<std::int64_t>(static_cast<std::uint64_t>(t) - static_cast<std::uint64_t>(a.timestamp)));
  return std::fma(seconds, slope, a.tidelevel);
}

/// Makes every element of `points` the intermediary event at `first`, `first + interval`, ... on the line
/// from `a`.
void fillSegment(std::vector<TideEvent>& points, const TideEvent& a, double slope, std::int64_t first,
                 std::int64_t interval);

}  // namespace marlune::curve
