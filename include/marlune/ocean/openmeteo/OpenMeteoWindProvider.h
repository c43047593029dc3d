#pragma once

#include <memory>
#include <string>

#include "marlune/base/Export.h"
#include "marlune/ocean/records/WindData.h"
#include "marlune/platform/Host.h"
#include "marlune/tasks/Task.h"
#include "marlune/time/Date.h"
#include "marlune/time/TimeZone.h"

namespace marlune {

/// Wind of any place on Earth, by the hour, from a forecast of two days: miles per hour. The days of the
/// caller's zone are remembered by `locationId`, a hundred at most. Threads, failures and the end as with
/// OpenMeteoDataProvider.
///
///     OpenMeteoWindProvider provider(host);
///     const auto wind = co_await provider.getDailyWindData(36.6, -121.9, now, zone, "abc");  // in a Task
class MARLUNE_API OpenMeteoWindProvider final {
 public:
  using Answer = std::shared_ptr<const WindData>;

  explicit OpenMeteoWindProvider(const Host& host);
  ~OpenMeteoWindProvider();
  OpenMeteoWindProvider(const OpenMeteoWindProvider&) = delete;
  OpenMeteoWindProvider& operator=(const OpenMeteoWindProvider&) = delete;

  /// The wind of the calendar day that contains `date`, from its midnight until before the next.
  Task<Answer> getDailyWindData(double lat, double lng, Date date, TimeZone timezone, std::string locationId);

 private:
  struct State;
  const std::shared_ptr<State> state_;
};

}  // namespace marlune
