#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "services/CoopsQuery.h"
#include "services/HarmonicDatabase.h"

namespace marlune::services {

/// Current predictions of NOAA's stations (see CurrentPredictor.h): speeds at regular intervals, every ten
/// minutes unless told, or with interval=MAX_SLACK slacks and greatest floods and ebbs. Of a subordinate
/// station only the latter are known and answered, whatever the interval. May be asked from any thread.
class CoopsCurrents {
 public:
  explicit CoopsCurrents(std::shared_ptr<const HarmonicDatabase> database);

  ServiceAnswer answer(const CoopsQuery& query) const;

 private:
  struct Bin {
    int number = 0;
    const HarmonicStation* station = nullptr;
    std::optional<double> depthFeet;
    int floodDirection = 0;
    int ebbDirection = 0;
  };

  void fillDirections(const std::string& id, std::vector<Bin>& bins) const;
  std::string row(const Bin& bin, const CoopsQuery& query, const char* type, std::int64_t time,
                  double knots) const;

  const std::shared_ptr<const HarmonicDatabase> _database;
  std::map<std::string, std::vector<Bin>, std::less<>> _stations;
};

}  // namespace marlune::services
