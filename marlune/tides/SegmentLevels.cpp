#include "marlune/tides/SegmentLevels.h"

namespace marlune::curve {

namespace {

[[gnu::always_inline]] inline void fill(std::vector<TideEvent>& points, const TideEvent& a, double slope,
                                        std::int64_t first, std::int64_t interval) {
  std::int64_t t = first;
  TideEvent* const end = points.data() + points.size();
  for (TideEvent* point = points.data(); point != end; ++point) {
    point->timestamp = t;
    point->tidelevel = levelOnSegment(a, slope, t);
    point->isIntermediary = true;
    t = static_cast<std::int64_t>(static_cast<std::uint64_t>(t) + static_cast<std::uint64_t>(interval));
  }
}

#if defined(__x86_64__) && !defined(__FMA__)
// The baseline of the architecture has no such instruction and would call a function for each level. Both
// ways round once, so they give the same bits.
[[gnu::target("fma")]] void fillWithInstruction(std::vector<TideEvent>& points, const TideEvent& a,
                                                double slope, std::int64_t first, std::int64_t interval) {
  fill(points, a, slope, first, interval);
}
#endif

}  // namespace

void fillSegment(std::vector<TideEvent>& points, const TideEvent& a, double slope, std::int64_t first,
                 std::int64_t interval) {
#if defined(__x86_64__) && !defined(__FMA__)
  if (__builtin_cpu_supports("fma") != 0) return fillWithInstruction(points, a, slope, first, interval);
#endif
  fill(points, a, slope, first, interval);
}

}  // namespace marlune::curve
