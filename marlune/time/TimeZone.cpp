#include "marlune/time/TimeZone.h"

#include <sys/stat.h>

#include <chrono>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <mutex>

#include "cctz/civil_time.h"
#include "cctz/time_zone.h"

namespace marlune {

/// What a TimeZone points to. Made once for each name and never destroyed.
class StoredTimeZone {
 public:
  StoredTimeZone(std::string n, cctz::time_zone z) : name(std::move(n)), zone(z) {}

  static const StoredTimeZone& of(const void* impl) { return *static_cast<const StoredTimeZone*>(impl); }
  static TimeZone handle(const StoredTimeZone& stored) { return TimeZone(&stored); }

  const std::string name;
  const cctz::time_zone zone;
};

namespace {

using Seconds = cctz::time_point<cctz::seconds>;

constexpr std::string_view zoneDatabase = "/usr/share/zoneinfo/";

// The database is extended by rule for four centuries; transitions are not enumerated beyond that.
constexpr std::int64_t enumeratedFrom = -5'364'662'400;   // 1800-01-01
constexpr std::int64_t enumeratedUntil = 12'622'780'800;  // 2370-01-01

Seconds timePoint(std::int64_t instant) {
  return Seconds(cctz::seconds(instant));
}

std::int64_t asIfUtc(cctz::civil_second civil) {
  return civil - cctz::civil_second(1970, 1, 1);
}

const StoredTimeZone& utc() {
  static const auto* const stored = new StoredTimeZone("UTC", cctz::utc_time_zone());
  return *stored;
}

bool isZoneName(std::string_view name) {
  if (name.empty() || name.size() > 64 || name.front() == '/' || name == "localtime") return false;
  // Other renderings of the same zones; those under "right" count leap seconds.
  if (name.starts_with("right/") || name.starts_with("posix/")) return false;
  for (const char c : name) {
    const bool allowed = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
                         c == '_' || c == '-' || c == '+' || c == '/';
    if (!allowed) return false;
  }
  return true;
}

}  // namespace

TimeZone::TimeZone() : impl_(&utc()) {}

std::optional<TimeZone> TimeZone::named(std::string_view name) {
  static auto* const mutex = new std::mutex;
  static auto* const known = new std::map<std::string, std::unique_ptr<const StoredTimeZone>, std::less<>>;

  const std::lock_guard lock(*mutex);
  if (const auto found = known->find(name); found != known->end())
    return StoredTimeZone::handle(*found->second);
  if (!isZoneName(name)) return std::nullopt;

  // The zone library remembers every name it is asked, bad ones for ever, so it is asked only for files
  // that exist; by absolute path it consults neither the environment nor its own special names.
  const std::string path = std::string(zoneDatabase).append(name);
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  cctz::time_zone zone;
  if (!cctz::load_time_zone(path, &zone)) return std::nullopt;
  auto stored = std::make_unique<const StoredTimeZone>(std::string(name), zone);
  const TimeZone handle = StoredTimeZone::handle(*stored);
  known->emplace(name, std::move(stored));
  return handle;
}

const std::string& TimeZone::name() const {
  return StoredTimeZone::of(impl_).name;
}

CivilTime TimeZone::civil(std::int64_t instant) const {
  const auto cs = StoredTimeZone::of(impl_).zone.lookup(timePoint(instant)).cs;
  return {cs.year(), cs.month(), cs.day(), cs.hour(), cs.minute(), cs.second()};
}

std::int64_t TimeZone::instant(const CivilTime& local) const {
  const cctz::civil_second civil(local.year, local.month, local.day, local.hour, local.minute, local.second);
  return StoredTimeZone::of(impl_).zone.lookup(civil).pre.time_since_epoch().count();
}

OffsetPeriod TimeZone::offsetPeriod(std::int64_t instant) const {
  const cctz::time_zone& zone = StoredTimeZone::of(impl_).zone;
  OffsetPeriod period;
  period.offset = zone.lookup(timePoint(instant)).offset;
  if (instant < enumeratedFrom || instant >= enumeratedUntil) {
    period.from = instant;
    period.until = instant == std::numeric_limits<std::int64_t>::max() ? instant : instant + 1;
    return period;
  }
  cctz::time_zone::civil_transition change;
  period.from = zone.prev_transition(timePoint(instant + 1), &change) ? asIfUtc(change.to) - period.offset
                                                                      : enumeratedFrom;
  period.until = zone.next_transition(timePoint(instant), &change) ? asIfUtc(change.from) - period.offset
                                                                   : enumeratedUntil;
  return period;
}

std::string TimeZone::abbreviation(std::int64_t instant) const {
  return StoredTimeZone::of(impl_).zone.lookup(timePoint(instant)).abbr;
}

}  // namespace marlune
