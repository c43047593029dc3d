#include "support/Measure.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace marlune::bench {

void require(bool fine, const std::string& what) {
  if (fine) return;
  fmt::print(stderr, "wrong answer, nothing was timed: {}\n", what);
  std::exit(1);  // NOLINT(concurrency-mt-unsafe): nothing else runs while answers are checked
}

double processorSeconds() {
  timespec now{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

double medianOf(std::vector<double> values) {
  if (values.empty()) return 0;
  std::sort(values.begin(), values.end());
  const std::size_t middle = values.size() / 2;
  return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

}  // namespace marlune::bench
