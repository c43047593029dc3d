#include "marlune/ocean/CurrentPredictions.h"

#include <fmt/compile.h>
#include <fmt/format.h>

#include <cmath>
#include <iterator>
#include <utility>

#include "marlune/ocean/CurrentsPeriod.h"
#include "marlune/ocean/OceanTimes.h"
#include "marlune/platform/JsonReader.h"
#include "marlune/platform/JsonText.h"

namespace marlune::current_predictions {

namespace {

using simdjson::dom::array;
using simdjson::dom::element;
using simdjson::dom::object;

/// Far beyond any water; what is made of lesser speeds stays finite.
constexpr double fastest = 1e6;  // knots
constexpr double directionLimit = 1e6;
constexpr double slackSpeedKnots = 0.05;  // below it a row without a type is a slack

/// Adds the row of an entry, or passes it over; false where it lacks something.
bool addRow(element entry, CurrentPredictions& rows) {
  object members;
  if (entry.get(members) != simdjson::SUCCESS) return false;
  std::optional<std::string_view> time;
  std::optional<std::string_view> type;
  std::optional<double> velocity;
  std::optional<double> flood;
  std::optional<double> ebb;
  for (const auto& [key, value] : members) {
    if (key == "Time") {
      time = json::text(value);
    } else if (key == "Velocity_Major") {
      velocity = json::number(value);
    } else if (key == "meanFloodDir") {
      flood = json::number(value);
    } else if (key == "meanEbbDir") {
      ebb = json::number(value);
    } else if (key == "Type" && !value.is_null()) {
      type = json::text(value);
      if (!type) return false;
    }
  }
  if (!time || !velocity || !flood || !ebb) return false;
  const auto instant = ocean_times::utcInstant(*time);
  if (!instant || std::fabs(*velocity) > fastest || std::fabs(*flood) > directionLimit ||
      std::fabs(*ebb) > directionLimit) {
    return true;
  }
  // The service sends zeros with a sign; adding one without takes it off.
  CurrentPrediction& row =
      rows.emplace_back(CurrentPrediction{*instant, *velocity + 0.0, *flood + 0.0, *ebb + 0.0});
  if (type) row.type.emplace(*type);
  return true;
}

Reading readList(array list) {
  Reading reading;
  reading.rows.reserve(list.size());
  std::size_t number = 0;
  for (const element entry : list) {
    ++number;
    if (addRow(entry, reading.rows)) continue;
    reading.rows.clear();
    reading.error = fmt::format(
        "entry {} lacks one of Time, Velocity_Major, meanFloodDir and meanEbbDir, or has it or Type in "
        "another type",
        number);
    return reading;
  }
  putInTimeOrder(reading.rows, [](const CurrentPrediction& row) { return row.time; });
  return reading;
}

Reading failed(std::string error) {
  return {{}, std::move(error)};
}

}  // namespace

Reading readAnswer(std::string_view json, JsonReaders& readers) {
  const auto reader = readers.take();
  const auto root = reader->read(json);
  if (!root) return failed(fmt::format("no JSON document: {}", reader->error()));
  array list;
  if ((*root)["current_predictions"]["cp"].get(list) != simdjson::SUCCESS) {
    return failed("the answer has no list of predictions");
  }
  return readList(list);
}

Reading readFile(std::string_view json, JsonReaders& readers) {
  const auto reader = readers.take();
  const auto root = reader->read(json);
  if (!root) return failed(fmt::format("no JSON document: {}", reader->error()));
  array list;
  if (root->get(list) != simdjson::SUCCESS) return failed("no JSON array");
  return readList(list);
}

std::string fileOf(const CurrentPrediction* begin, const CurrentPrediction* end) {
  std::string text = "[";
  for (const CurrentPrediction* row = begin; row != end; ++row) {
    const CivilTime at = TimeZone().civil(row->time);
    fmt::format_to(std::back_inserter(text),
                   FMT_COMPILE("{}{{\"Time\":\"{:04}-{:02}-{:02} {:02}:{:02}\",\"Velocity_Major\":{},"
                               "\"meanFloodDir\":{},\"meanEbbDir\":{}"),
                   row == begin ? "" : ",", at.year, at.month, at.day, at.hour, at.minute, row->velocityMajor,
                   row->meanFloodDir, row->meanEbbDir);
    if (row->type) {
      text += ",\"Type\":";
      appendJsonText(text, *row->type);
    }
    text += '}';
  }
  text += ']';
  return text;
}

std::string_view typeOf(const CurrentPrediction& row) {
  if (row.type) return *row.type;
  if (std::fabs(row.velocityMajor) < slackSpeedKnots) return "slack";
  return row.velocityMajor > 0.0 ? "flood" : "ebb";
}

double directionOf(const CurrentPrediction& row) {
  return typeOf(row) == "ebb" ? row.meanEbbDir : row.meanFloodDir;
}

}  // namespace marlune::current_predictions
