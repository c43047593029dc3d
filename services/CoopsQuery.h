#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "services/Service.h"

namespace marlune::services {

/// What all products of NOAA's CO-OPS data API are asked with.
struct CoopsQuery {
  std::string station;
  std::int64_t begin = 0;  ///< seconds since 1970
  std::int64_t last = 0;   ///< belongs to the interval
  bool metric = false;
  std::string interval;  ///< as it was given; empty when it was not
  std::optional<std::string> bin;

  /// The whole multiples of a step that the interval holds, the first of them.
  std::int64_t firstOn(std::int64_t step) const {
    const std::int64_t rest = begin % step;
    return rest == 0 ? begin : begin - rest + (rest > 0 ? step : 0);
  }
};

/// An answer of the API, and the object that it sends in place of data: nearly always with status 200.
ServiceAnswer coopsAnswer(std::string body);
ServiceAnswer coopsError(std::string_view message, int status = 200);

/// What is said of a place, a product or a time that there are no observations of.
ServiceAnswer coopsNoData();

}  // namespace marlune::services
