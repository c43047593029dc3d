#pragma once

#include <string>
#include <vector>

namespace marlune::bench {

/// A process that has run to its end.
struct ProcessRun {
  int status = -1;       ///< its exit status; -1 when it did not exit by itself
  double wall = 0;       ///< milliseconds from its start until it was waited for
  double processor = 0;  ///< milliseconds of processor time, the kernel's part included
};

/// Runs a program with its standard output going to the file at `output`.
ProcessRun runProcess(const std::vector<std::string>& words, const std::string& output);

}  // namespace marlune::bench
