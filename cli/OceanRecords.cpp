#include "cli/OceanRecords.h"

#include <fmt/format.h>

#include <utility>

#include "cli/Table.h"
#include "cli/Values.h"
#include "marlune/formats/Text.h"

namespace marlune::cli {
namespace {

void writeNumber(JsonWriter& json, std::string_view key, double value) {
  json.key(key);
  json.number(value);
}

void writeDate(JsonWriter& json, std::string_view key, const std::optional<Date>& date) {
  json.key(key);
  if (date) {
    json.number(secondsOf(*date));
  } else {
    json.null();
  }
}

void writeSample(JsonWriter& json, const TimeSeriesData& sample) {
  json.beginObject();
  writeNumber(json, "date", secondsOf(sample.date));
  writeNumber(json, "value", sample.value);
  json.key("series");
  if (sample.series) {
    json.text(*sample.series);
  } else {
    json.null();
  }
  json.key("attributes");
  if (sample.attributes) {
    json.beginObject();
    for (const auto& [name, value] : *sample.attributes) {
      json.key(name);
      json.text(value);
    }
    json.endObject();
  } else {
    json.null();
  }
  json.endObject();
}

void writeSamples(JsonWriter& json, const TimeSeries& samples) {
  json.beginArray();
  for (const auto& sample : samples) writeSample(json, *sample);
  json.endArray();
}

template <class Record>
void writePlace(JsonWriter& json, const Record& record) {
  writeNumber(json, "latitude", record.latitude);
  writeNumber(json, "longitude", record.longitude);
  json.key("timeSeries");
  writeSamples(json, record.timeSeries);
}

void writeEvent(JsonWriter& json, const CurrentEvent& event) {
  json.beginObject();
  writeNumber(json, "date", secondsOf(event.date));
  json.key("type");
  json.text(event.type);
  writeNumber(json, "speed", event.speed);
  writeNumber(json, "direction", event.direction);
  writeDate(json, "slackBegin", event.slackBegin);
  writeDate(json, "slackEnd", event.slackEnd);
  json.endObject();
}

std::string attributeOf(const TimeSeriesData& sample, std::string_view name, int decimals,
                        const std::string& unit) {
  if (!sample.attributes) return "-";
  const auto found = sample.attributes->find(name);
  if (found == sample.attributes->end()) return "-";
  const auto number = decimalNumber(found->second);
  return number ? fmt::format("{:.{}f}{}", *number, decimals, unit) : plainText(found->second);
}

/// `unit` is that of the samples whose series says nothing of its own.
std::string sampleTable(const TimeSeries& samples, const TimeZone& zone, const std::string& unit) {
  using Side = Table::Side;
  Table table(
      {{"TIME"}, {"SERIES"}, {"VALUE", Side::right}, {"DIRECTION", Side::right}, {"GUST", Side::right}});
  for (const auto& sample : samples) {
    const std::string own = sample->series == ocean_series::period ? " s" : unit;
    table.add({momentText(zone, wholeSecondsOf(sample->date)),
               sample->series ? plainText(*sample->series) : "-", fmt::format("{:.2f}{}", sample->value, own),
               attributeOf(*sample, ocean_attributes::direction, 0, "°"),
               attributeOf(*sample, ocean_attributes::gust, 2, unit)});
  }
  return table.text();
}

std::string eventTable(const OceanCurrentData::Events& events, const TimeZone& zone,
                       const std::string& unit) {
  Table table(
      {{"TIME"}, {"STREAM"}, {"SPEED", Table::Side::right}, {"DIRECTION", Table::Side::right}, {"SLACK"}});
  for (const auto& event : events) {
    const auto minute = [&](const std::optional<Date>& date) {
      return date ? clockText(zone, wholeSecondsOf(*date)) : std::string();
    };
    const bool window = event->slackBegin || event->slackEnd;
    table.add({momentText(zone, wholeSecondsOf(event->date)), event->type,
               fmt::format("{:.2f}{}", event->speed, unit), fmt::format("{:.0f}°", event->direction),
               window ? fmt::format("{}–{}", minute(event->slackBegin), minute(event->slackEnd)) : "-"});
  }
  return events.empty() ? "" : "\n" + table.text();
}

}  // namespace

Answer answerOf(const std::shared_ptr<const WaterTempData>& record, const TimeZone& zone,
                const std::string& absent) {
  if (!record) return nothing(absent);
  return {[record](JsonWriter& json) {
            json.beginObject();
            writePlace(json, *record);
            json.key("isTemperatureInCelsius");
            json.boolean(record->isTemperatureInCelsius);
            json.endObject();
          },
          [record, zone] {
            return sampleTable(record->timeSeries, zone, record->isTemperatureInCelsius ? " °C" : " °F");
          }};
}

Answer answerOf(const std::shared_ptr<const SwellData>& record, const TimeZone& zone,
                const std::string& absent) {
  if (!record) return nothing(absent);
  return {[record](JsonWriter& json) {
            json.beginObject();
            writePlace(json, *record);
            json.key("isHeightInFeet");
            json.boolean(record->isHeightInFeet);
            json.endObject();
          },
          [record, zone] {
            return sampleTable(record->timeSeries, zone, record->isHeightInFeet ? " ft" : " m");
          }};
}

Answer answerOf(const std::shared_ptr<const WindData>& record, const TimeZone& zone,
                const std::string& absent) {
  if (!record) return nothing(absent);
  return {
      [record](JsonWriter& json) {
        json.beginObject();
        writePlace(json, *record);
        json.key("speedUnit");
        json.text(record->speedUnit);
        json.endObject();
      },
      [record, zone] { return sampleTable(record->timeSeries, zone, " " + plainText(record->speedUnit)); }};
}

Answer answerOf(const std::shared_ptr<const OceanCurrentData>& record, const TimeZone& zone,
                const std::string& absent, const std::string& speedUnit) {
  if (!record) return nothing(absent);
  return {[record](JsonWriter& json) {
            json.beginObject();
            writePlace(json, *record);
            json.key("events");
            json.beginArray();
            for (const auto& event : record->events) writeEvent(json, *event);
            json.endArray();
            json.endObject();
          },
          [record, zone, unit = " " + speedUnit] {
            return sampleTable(record->timeSeries, zone, unit) + eventTable(record->events, zone, unit);
          }};
}

Answer answerOf(std::optional<TimeSeries> samples, const TimeZone& zone, const std::string& absent) {
  if (!samples) return nothing(absent);
  const auto shared = std::make_shared<const TimeSeries>(std::move(*samples));
  return {[shared](JsonWriter& json) { writeSamples(json, *shared); },
          [shared, zone] { return sampleTable(*shared, zone, ""); }};
}

}  // namespace marlune::cli
