#pragma once

#include <string>
#include <vector>

namespace marlune::bench {

/// Ends the program with a line on standard error unless `fine`. Every benchmark checks its answers with it
/// before anything is timed.
void require(bool fine, const std::string& what);

/// The processor time of this thread in seconds, the kernel's part included.
double processorSeconds();

/// 0 when there are no values.
double medianOf(std::vector<double> values);

}  // namespace marlune::bench
