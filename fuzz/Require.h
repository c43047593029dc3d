#pragma once

#include <cstdlib>

/// Ends the process when a promise of the code under test does not hold, in every kind of build: the fuzzer
/// takes it for a crash and keeps the input.
#define MARLUNE_FUZZ_REQUIRE(condition) \
  do {                                  \
    if (!(condition)) std::abort();     \
  } while (false)
