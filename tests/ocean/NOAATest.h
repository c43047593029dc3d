#pragma once

#include <chrono>
#include <memory>

#include "marlune/ocean/source/SeriesDiskCache.h"
#include "marlune/time/TimeZone.h"
#include "ocean/OceanHostTest.h"

namespace marlune::testing {

/// Base of tests of a source of days that keeps series on the disk. The clock stands at `noon` UTC, on a day
/// that began in Los Angeles at `midnight`.
class NOAATest : public OceanHostTest {
 protected:
  static constexpr double noon = 1'741'176'000;
  static constexpr std::int64_t midnight = 1'741'161'600;
  const TimeZone zone = *TimeZone::named("America/Los_Angeles");
  std::shared_ptr<SeriesDiskCache> cache = std::make_shared<SeriesDiskCache>(fake.host());

  void later(double seconds) { fake.clock->advance(std::chrono::duration<double>(seconds)); }
};

}  // namespace marlune::testing
