#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "marlune/base/Export.h"

namespace marlune {

/// Date and time of day on the Gregorian calendar, in some zone.
struct CivilTime {
  std::int64_t year = 1970;
  int month = 1;  ///< 1 to 12
  int day = 1;    ///< 1 to 31
  int hour = 0;
  int minute = 0;
  int second = 0;

  bool operator==(const CivilTime&) const = default;
};

/// Do two local times lie in one month of one year?
constexpr bool isSameMonth(const CivilTime& a, const CivilTime& b) {
  return a.year == b.year && a.month == b.month;
}

/// A stretch of instants, from inclusive to exclusive, during which a zone keeps one offset from UTC.
struct OffsetPeriod {
  std::int64_t from = 0;
  std::int64_t until = 0;
  std::int64_t offset = 0;  ///< seconds east of UTC
};

/// A time zone of the IANA database: a small value, cheap to copy, safe to use from any thread.
class MARLUNE_API TimeZone {
 public:
  /// UTC.
  TimeZone();

  /// The zone of an IANA name ("America/Los_Angeles", "Etc/GMT-5"); nothing for any other text. Letter case
  /// counts. Never looks outside the zone database, whatever the text.
  static std::optional<TimeZone> named(std::string_view name);

  /// The name it was found by; lives as long as the process.
  const std::string& name() const;

  /// Local date and time of an instant (seconds since 1970). Proleptic Gregorian.
  CivilTime civil(std::int64_t instant) const;

  /// The instant of a local date and time. A time that a clock change skips is taken with the offset before
  /// the change; of a time that comes twice, the first. Fields out of range carry over ("January 32nd").
  std::int64_t instant(const CivilTime& local) const;

  /// The period of constant offset around an instant.
  OffsetPeriod offsetPeriod(std::int64_t instant) const;

  /// Zone abbreviation in force at an instant ("PDT"), for people.
  std::string abbreviation(std::int64_t instant) const;

  bool operator==(const TimeZone& other) const { return impl_ == other.impl_; }

 private:
  friend class StoredTimeZone;
  friend class TimeZoneSlot;
  explicit TimeZone(const void* impl) : impl_(impl) {}
  const void* impl_;  // lives as long as the process
};

/// Room for one zone that is found late, read and filled from any thread.
class TimeZoneSlot {
 public:
  TimeZoneSlot() = default;
  TimeZoneSlot(const TimeZoneSlot& other) : impl_(other.impl_.load(std::memory_order_relaxed)) {}
  TimeZoneSlot& operator=(const TimeZoneSlot& other) {
    impl_.store(other.impl_.load(std::memory_order_relaxed), std::memory_order_relaxed);
    return *this;
  }
  ~TimeZoneSlot() = default;

  std::optional<TimeZone> get() const {
    const void* const impl = impl_.load(std::memory_order_acquire);
    return impl == nullptr ? std::nullopt : std::optional(TimeZone(impl));
  }
  void set(const TimeZone& zone) { impl_.store(zone.impl_, std::memory_order_release); }

 private:
  std::atomic<const void*> impl_ = nullptr;
};

}  // namespace marlune
