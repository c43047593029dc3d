#include "cli/Records.h"

#include <fmt/format.h>

#include <any>
#include <utility>

#include "cli/Table.h"
#include "cli/Values.h"
#include "marlune/geo/Distance.h"
#include "marlune/time/Date.h"

namespace marlune::cli {
namespace {

void writeText(JsonWriter& json, std::string_view key, const std::optional<std::string>& text) {
  json.key(key);
  if (text) {
    json.text(*text);
  } else {
    json.null();
  }
}

void writeTruth(JsonWriter& json, std::string_view key, bool value) {
  json.key(key);
  json.boolean(value);
}

void writeNumber(JsonWriter& json, std::string_view key, double value) {
  json.key(key);
  json.number(value);
}

void writeEventOrNull(JsonWriter& json, std::string_view key, const std::optional<TideEvent>& event) {
  json.key(key);
  if (event) {
    writeEvent(json, *event);
  } else {
    json.null();
  }
}

void writePoint(JsonWriter& json, const curve::CurvePoint& point, bool withPrevious) {
  json.beginObject();
  writeNumber(json, "date", secondsOf(point.date));
  writeText(json, "station", point.station ? std::optional(*point.station) : std::nullopt);
  writeNumber(json, "level", point.level);
  writeEventOrNull(json, "nextEvent", point.nextEvent);
  if (withPrevious) writeEventOrNull(json, "previousEvent", point.previousEvent);
  json.endObject();
}

std::string orDash(const std::optional<std::string>& text) {
  return text && !text->empty() ? plainText(*text) : "-";
}

std::string kindText(const TideEvent& event) {
  if (event.isIntermediary) return "between";
  return event.isHighTide ? "high" : "low";
}

std::string levelText(const TideEvent& event, const Reading& reading) {
  return fmt::format("{:.2f} {}", event.tidelevel, unitOf(event, reading));
}

std::string stationTable(const std::vector<StationPtr>& stations, std::optional<Coordinate> origin) {
  using Side = Table::Side;
  std::vector<Table::Column> columns = {{"ID"},
                                        {"NUMBER"},
                                        {"NAME"},
                                        {"STATE"},
                                        {"TIME ZONE"},
                                        {"LATITUDE", Side::right},
                                        {"LONGITUDE", Side::right}};
  if (origin) columns.push_back({"DISTANCE", Side::right});
  Table table(std::move(columns));
  for (const auto& station : stations) {
    std::vector<std::string> row = {orDash(station->stationId),
                                    orDash(station->stationExtId),
                                    orDash(station->stationName),
                                    orDash(station->stateId),
                                    orDash(station->timezoneName),
                                    fmt::format("{:.4f}", station->coordinate.latitude),
                                    fmt::format("{:.4f}", station->coordinate.longitude)};
    if (origin) {
      row.push_back(fmt::format("{:.1f} km", distanceInMeters(*origin, station->coordinate) / 1000));
    }
    table.add(std::move(row));
  }
  return table.text() + fmt::format("{} station{}\n", stations.size(), stations.size() == 1 ? "" : "s");
}

std::string stationSheet(const TideStation& station) {
  return fmt::format(
      "{}\n  id            {}\n  number        {}\n  state         {}\n  country       {}\n"
      "  position      {:.4f}, {:.4f}\n  time zone     {}\n  prediction    {}\n",
      orDash(station.stationName), orDash(station.stationId), orDash(station.stationExtId),
      orDash(station.stateId), orDash(station.country), station.coordinate.latitude,
      station.coordinate.longitude, orDash(station.timezoneName),
      station.isGlobal ? "worldwide point"
                       : (station.isSubordinate ? "offsets from a reference station" : "reference station"));
}

std::string eventTable(const Events& events, const Reading& reading) {
  Table table({{"TIME"}, {"WATER"}, {"LEVEL", Table::Side::right}});
  for (const auto& event : events) {
    table.add({momentText(reading.zone, event.timestamp), kindText(event), levelText(event, reading)});
  }
  return table.text();
}

std::string pointTable(const std::vector<curve::CurvePoint>& points, const Reading& reading) {
  Table table({{"TIME"}, {"LEVEL", Table::Side::right}, {"NEXT"}});
  const char* unit = reading.meters ? "m" : "ft";
  for (const auto& point : points) {
    const std::string next = point.nextEvent
                                 ? fmt::format("{} {}", kindText(*point.nextEvent),
                                               momentText(reading.zone, point.nextEvent->timestamp))
                                 : "-";
    if (point.nextEvent) unit = unitOf(*point.nextEvent, reading);
    table.add({momentText(reading.zone, wholeSecondsOf(point.date)),
               fmt::format("{:.2f} {}", point.level, unit), next});
  }
  return table.text();
}

/// A value of a notification in the kinds that posters document.
struct AnyValue {
  const std::any& value;

  void write(JsonWriter& json) const {
    if (const auto* text = std::any_cast<std::string>(&value)) return json.text(*text);
    if (const auto* number = std::any_cast<double>(&value)) return json.number(*number);
    if (const auto* date = std::any_cast<Date>(&value)) return json.number(secondsOf(*date));
    const auto* station = std::any_cast<StationPtr>(&value);
    if (station != nullptr && *station) return writeStation(json, **station);
    json.null();
  }

  std::string people() const {
    if (const auto* text = std::any_cast<std::string>(&value)) return plainText(*text);
    if (const auto* number = std::any_cast<double>(&value)) return fmt::format("{:.3g}", *number);
    if (const auto* date = std::any_cast<Date>(&value)) return momentText(TimeZone(), wholeSecondsOf(*date));
    const auto* station = std::any_cast<StationPtr>(&value);
    return station != nullptr && *station ? orDash((*station)->stationName) : "-";
  }
};

}  // namespace

void writeStation(JsonWriter& json, const TideStation& station, std::optional<double> distance) {
  json.beginObject();
  writeText(json, "stationId", station.stationId);
  writeText(json, "stationExtId", station.stationExtId);
  writeText(json, "stationName", station.stationName);
  writeText(json, "stateId", station.stateId);
  writeText(json, "timezoneName", station.timezoneName);
  writeText(json, "country", station.country);
  writeText(json, "stationAreaId", station.stationAreaId);
  writeNumber(json, "latitude", station.coordinate.latitude);
  writeNumber(json, "longitude", station.coordinate.longitude);
  writeTruth(json, "isSubordinate", station.isSubordinate);
  writeTruth(json, "isGlobal", station.isGlobal);
  writeTruth(json, "hasResolvedName", station.hasResolvedName);
  if (distance) writeNumber(json, "distance", *distance);
  json.endObject();
}

void writeEvent(JsonWriter& json, const TideEvent& event) {
  json.beginObject();
  json.key("timestamp");
  json.integer(event.timestamp);
  writeNumber(json, "tidelevel", event.tidelevel);
  writeTruth(json, "isHighTide", event.isHighTide);
  writeTruth(json, "tideLevelInMeters", event.tideLevelInMeters);
  writeTruth(json, "isIntermediary", event.isIntermediary);
  json.endObject();
}

void writeEvents(JsonWriter& json, const Events& events) {
  json.beginArray();
  for (const auto& event : events) writeEvent(json, event);
  json.endArray();
}

void writeNotification(JsonWriter& json, const Notification& notification) {
  json.beginObject();
  json.key("name");
  json.text(notification.name);
  json.key("userInfo");
  if (notification.userInfo) {
    json.beginObject();
    for (const auto& [key, value] : *notification.userInfo) {
      json.key(key);
      AnyValue{value}.write(json);
    }
    json.endObject();
  } else {
    json.null();
  }
  json.endObject();
}

std::string notificationText(const Notification& notification) {
  std::string text = plainText(notification.name);
  if (!notification.userInfo) return text;
  for (const auto& [key, value] : *notification.userInfo) {
    text += fmt::format("  {}: {}", plainText(key), AnyValue{value}.people());
  }
  return text;
}

const char* unitOf(const TideEvent& event, const Reading& reading) {
  // Points of a curve are made without the mark.
  return event.tideLevelInMeters || (event.isIntermediary && reading.meters) ? "m" : "ft";
}

Answer answerOf(const StationPtr& station, const std::string& absent) {
  if (!station) return nothing(absent);
  return {[station](JsonWriter& json) { writeStation(json, *station); },
          [station] { return stationSheet(*station); }};
}

Answer answerOf(std::vector<StationPtr> stations) {
  const auto shared = std::make_shared<const std::vector<StationPtr>>(std::move(stations));
  return {[shared](JsonWriter& json) {
            json.beginArray();
            for (const auto& station : *shared) writeStation(json, *station);
            json.endArray();
          },
          [shared] { return stationTable(*shared, std::nullopt); }};
}

Answer answerOf(std::vector<StationPtr> stations, Coordinate origin) {
  const auto shared = std::make_shared<const std::vector<StationPtr>>(std::move(stations));
  return {[shared, origin](JsonWriter& json) {
            json.beginArray();
            for (const auto& station : *shared) {
              writeStation(json, *station, distanceInMeters(origin, station->coordinate));
            }
            json.endArray();
          },
          [shared, origin] { return stationTable(*shared, origin); }};
}

Answer answerOf(std::optional<Events> events, const Reading& reading, const std::string& absent) {
  if (!events) return nothing(absent);
  const auto shared = std::make_shared<const Events>(std::move(*events));
  return {[shared](JsonWriter& json) { writeEvents(json, *shared); },
          [shared, reading] { return eventTable(*shared, reading); }};
}

Answer answerOf(const std::optional<TideEvent>& event, const Reading& reading, const std::string& absent) {
  if (!event) return nothing(absent);
  return {[event](JsonWriter& json) { writeEvent(json, *event); },
          [event, reading] { return eventTable({*event}, reading); }};
}

Answer answerOf(std::optional<std::vector<curve::CurvePoint>> points, bool withPrevious,
                const Reading& reading, const std::string& absent) {
  if (!points) return nothing(absent);
  const auto shared = std::make_shared<const std::vector<curve::CurvePoint>>(std::move(*points));
  return {[shared, withPrevious](JsonWriter& json) {
            json.beginArray();
            for (const auto& point : *shared) writePoint(json, point, withPrevious);
            json.endArray();
          },
          [shared, reading] { return pointTable(*shared, reading); }};
}

}  // namespace marlune::cli
