#pragma once

#include "cli/Jobs.h"

namespace marlune::cli {

/// Reads commands from standard input to its end and runs them one after the other. While it waits for input
/// the main thread goes on delivering.
void runShell(Jobs& jobs);

}  // namespace marlune::cli
