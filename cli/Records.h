#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/Answer.h"
#include "marlune/geo/Coordinate.h"
#include "marlune/platform/NotificationCenter.h"
#include "marlune/tides/TideCurve.h"
#include "marlune/tides/TideEvent.h"
#include "marlune/tides/TideStation.h"
#include "marlune/time/TimeZone.h"

/// The library's records in both forms of an answer.
namespace marlune::cli {

using StationPtr = std::shared_ptr<TideStation>;
using Events = std::vector<TideEvent>;

void writeStation(JsonWriter& json, const TideStation& station,
                  std::optional<double> distance = std::nullopt);
void writeEvent(JsonWriter& json, const TideEvent& event);
void writeEvents(JsonWriter& json, const Events& events);
void writeNotification(JsonWriter& json, const Notification& notification);

/// One line for people.
std::string notificationText(const Notification& notification);

/// How people read events: in which zone, and in which unit where the event does not say metres.
struct Reading {
  TimeZone zone;
  bool meters = false;
};

/// "ft" or "m".
const char* unitOf(const TideEvent& event, const Reading& reading);

/// Null where there is none; people then read `absent`.
Answer answerOf(const StationPtr& station, const std::string& absent);
Answer answerOf(std::vector<StationPtr> stations);
/// With the distance from `origin` in metres.
Answer answerOf(std::vector<StationPtr> stations, Coordinate origin);
Answer answerOf(std::optional<Events> events, const Reading& reading, const std::string& absent);
Answer answerOf(const std::optional<TideEvent>& event, const Reading& reading, const std::string& absent);
/// `withPrevious`: ordered records, which say the event before.
Answer answerOf(std::optional<std::vector<curve::CurvePoint>> points, bool withPrevious,
                const Reading& reading, const std::string& absent);

}  // namespace marlune::cli
