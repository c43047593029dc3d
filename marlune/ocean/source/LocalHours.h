#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "marlune/time/TimeZone.h"

namespace marlune {

/// Reads the local times of a zone ("2025-03-05T14:30") to the instants that ocean_times::localInstant()
/// gives, cheaply where one follows the other as the hours of a forecast do. Used by one thread at a time.
class LocalHours {
 public:
  explicit LocalHours(TimeZone zone) : zone_(zone) {}

  struct Hour {
    std::int64_t instant = 0;
    std::int64_t date = 0;   ///< midnight of the local date, in seconds as if the zone were UTC
    bool beginsDay = false;  ///< is it the first instant of its day?
  };

  /// Nothing for what is no such time and where a clock change skips it; the first of two.
  std::optional<Hour> read(std::string_view text);

 private:
  bool readDate(std::string_view text);

  TimeZone zone_;
  std::string dateText_;  // "2025-03-05T" of the last time, and what it stands for
  std::int64_t date_ = 0;
  std::int64_t dayStart_ = 0;
  OffsetPeriod period_;
};

}  // namespace marlune
