#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>

#include "marlune/base/Export.h"
#include "marlune/time/Date.h"

namespace marlune {

/// One high or low water, or a computed point of the tide curve: a small value for contiguous storage.
/// Unsynchronised; lists of events are shared read-only between threads.
class MARLUNE_API TideEvent {
 public:
  TideEvent() = default;

  /// `seconds` since 1970-01-01 UTC, `level` in the provider's unit, `high` for a high water. The level is
  /// not marked as metres and the event is no intermediary.
  TideEvent(std::int64_t seconds, double level, bool high)
      : timestamp(seconds), tidelevel(level), isHighTide(high) {}

  std::int64_t timestamp = 0;      ///< seconds since 1970-01-01 00:00:00 UTC
  double tidelevel = 0.0;          ///< in the provider's unit, see tideLevelInMeters
  bool isHighTide = false;         ///< a high water; computed points always say false
  bool tideLevelInMeters = false;  ///< `tidelevel` is known to be in metres
  bool isIntermediary = false;     ///< computed between two extremes

  /// The date of `timestamp`; nothing when it is below 1. The first date that a changeable event gives is
  /// kept, and given again even after `timestamp` was changed.
  std::optional<Date> gmtDate();
  std::optional<Date> gmtDate() const;

  /// The same object, or equal time, level (exactly), kind and unit. `isIntermediary` takes no part.
  bool isEqual(const TideEvent& other) const {
    if (this == &other) return true;
    return timestamp == other.timestamp && tidelevel == other.tidelevel && isHighTide == other.isHighTide &&
           tideLevelInMeters == other.tideLevelInMeters;
  }
  bool operator==(const TideEvent& other) const { return isEqual(other); }

  /// Consistent with isEqual().
  std::size_t hash() const { return static_cast<std::size_t>(timestamp); }

  /// "TideEvent ts: 1700000000, level: 2.500000, isHighTide: NO"
  std::string description() const;

 private:
  std::int64_t _gmtDate = 0;  // 0: none given yet; no event has a date at 0
};

MARLUNE_API std::ostream& operator<<(std::ostream& stream, const TideEvent& event);

}  // namespace marlune

template <>
struct std::hash<marlune::TideEvent> {
  std::size_t operator()(const marlune::TideEvent& event) const noexcept { return event.hash(); }
};
