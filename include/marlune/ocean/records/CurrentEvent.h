#pragma once

#include <optional>
#include <string>
#include <utility>

#include "marlune/base/Export.h"
#include "marlune/time/Date.h"

namespace marlune {

/// One event of a tidal stream: a slack or a greatest speed. Read-only once handed out: others share it.
class MARLUNE_API CurrentEvent final {
 public:
  CurrentEvent(Date eventDate, std::string eventType, double eventSpeed, double eventDirection,
               std::optional<Date> windowBegin = std::nullopt, std::optional<Date> windowEnd = std::nullopt)
      : date(eventDate),
        type(std::move(eventType)),
        speed(eventSpeed),
        direction(eventDirection),
        slackBegin(windowBegin),
        slackEnd(windowEnd) {}
  CurrentEvent() = delete;

  Date date;
  std::string type;                ///< "slack", "flood" or "ebb"
  double speed;                    ///< knots, never negative
  double direction;                ///< of the stream, degrees
  std::optional<Date> slackBegin;  ///< of the window around a slack in which the stream stays weak
  std::optional<Date> slackEnd;
};

}  // namespace marlune
