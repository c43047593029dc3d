#include "marlune/tides/TideEvent.h"

#include <fmt/format.h>

#include <ostream>
#include <utility>

namespace marlune {

std::optional<Date> TideEvent::gmtDate() const {
  const std::int64_t seconds = _gmtDate != 0 ? _gmtDate : timestamp;
  if (seconds < 1) return std::nullopt;
  return dateFromSeconds(static_cast<double>(seconds));
}

std::optional<Date> TideEvent::gmtDate() {
  const auto date = std::as_const(*this).gmtDate();
  if (date && _gmtDate == 0) _gmtDate = timestamp;
  return date;
}

std::string TideEvent::description() const {
  return fmt::format("TideEvent ts: {}, level: {:f}, isHighTide: {}", timestamp, tidelevel,
                     isHighTide ? "YES" : "NO");
}

std::ostream& operator<<(std::ostream& stream, const TideEvent& event) {
  return stream << event.description();
}

}  // namespace marlune
