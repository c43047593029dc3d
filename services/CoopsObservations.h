#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "services/CoopsQuery.h"
#include "services/HarmonicDatabase.h"
#include "services/ListedStations.h"

namespace marlune::services {

/// Observations of NOAA's stations up to now, made up (see PlaceWeather.h). The stations are those of the
/// product's list, and besides all tide stations of the harmonic data, by NOAA's number. Now and then a value
/// is missing, as at a real gauge: an empty text. May be asked from any thread.
class CoopsObservations {
 public:
  enum class Product { waterTemperature, airTemperature, wind };

  CoopsObservations(std::shared_ptr<const HarmonicDatabase> database,
                    std::shared_ptr<const ListedStations> lists, std::function<std::int64_t()> now);

  static std::optional<Product> productOf(std::string_view name);

  ServiceAnswer answer(Product product, const CoopsQuery& query) const;

 private:
  std::optional<ListedStation> find(Product product, const std::string& number) const;

  const std::shared_ptr<const HarmonicDatabase> _database;
  const std::shared_ptr<const ListedStations> _lists;
  const std::function<std::int64_t()> _now;
};

}  // namespace marlune::services
