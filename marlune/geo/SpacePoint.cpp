#include "marlune/geo/SpacePoint.h"

#include <exception>
#include <stdexcept>

namespace marlune {

namespace {

/// Published: such data stop the process. The runtime writes what the exception says to standard error.
[[noreturn]] void stop(std::string_view stationId, std::string_view axis) {
  try {
    throw std::invalid_argument("station " + std::string(stationId) + " has no " + std::string(axis) +
                                " in its coord");
  } catch (const std::invalid_argument&) {
    std::terminate();
  }
}

}  // namespace

SpacePoint pointOf(const std::map<std::string, double, std::less<>>& coord, std::string_view stationId) {
  const auto axis = [&](std::string_view name) {
    const auto found = coord.find(name);
    if (found == coord.end()) stop(stationId, name);
    return found->second;
  };
  return {axis("x"), axis("y"), axis("z")};
}

}  // namespace marlune
