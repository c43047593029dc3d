#pragma once

#include <cstddef>

namespace marlune::bench {

/// How many blocks this program has taken with operator new so far, by any thread.
std::size_t allocations();

}  // namespace marlune::bench
