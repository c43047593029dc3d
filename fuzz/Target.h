#pragma once

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

// For targets alone, each of which is one file.
namespace marlune {}
using namespace marlune;

/// Ends the process when a promise of the code under test does not hold, in every kind of build: the fuzzer
/// takes it for a crash and keeps the input.
#define MARLUNE_FUZZ_REQUIRE(condition) \
  do {                                  \
    if (!(condition)) std::abort();     \
  } while (false)

/// The head of the function that is run over every input, which it has as a std::string_view of this name.
#define MARLUNE_FUZZ_TARGET(input)                                                    \
  static void runOver(std::string_view input);                                        \
  extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) { \
    runOver({reinterpret_cast<const char*>(data), size});                             \
    return 0;                                                                         \
  }                                                                                   \
  static void runOver(std::string_view input)
