#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "services/CoopsQuery.h"
#include "services/HarmonicDatabase.h"
#include "services/WorldStations.h"

namespace marlune::services {

/// Observations of NOAA's tide stations up to now, made up (see PlaceWeather.h). The stations are those of
/// the harmonic data and of the world's table, by NOAA's number. Now and then a value is missing, as at a
/// real gauge: an empty text. May be asked from any thread.
class CoopsObservations {
 public:
  enum class Product { waterTemperature, airTemperature, wind };

  CoopsObservations(std::shared_ptr<const HarmonicDatabase> database, std::shared_ptr<const WorldTable> world,
                    std::function<std::int64_t()> now);

  static std::optional<Product> productOf(std::string_view name);

  ServiceAnswer answer(Product product, const CoopsQuery& query) const;

 private:
  struct Place {
    std::string id;
    std::string name;
    double latitude = 0;
    double longitude = 0;
  };

  std::optional<Place> find(const std::string& number) const;

  const std::shared_ptr<const HarmonicDatabase> _database;
  const std::shared_ptr<const WorldTable> _world;
  const std::function<std::int64_t()> _now;
};

}  // namespace marlune::services
