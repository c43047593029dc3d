#include "marlune/ocean/noaa/CurrentPredictions.h"

#include <fmt/compile.h>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

#include "marlune/formats/JsonReader.h"
#include "marlune/formats/JsonText.h"
#include "marlune/ocean/source/CurrentsPeriod.h"
#include "marlune/ocean/source/OceanTimes.h"

namespace marlune::current_predictions {

namespace {

using simdjson::dom::array;
using simdjson::dom::element;
using simdjson::dom::object;

/// Far beyond any water; what is made of lesser speeds stays finite.
constexpr double fastest = 1e6;  // knots
constexpr double directionLimit = 1e6;
constexpr double slackSpeedKnots = 0.05;  // below it a row without a type is a slack
/// Room is made for so many at once; a list of small things that are no rows must not cost more.
constexpr std::size_t rowsOfAMonth = 7440;

/// Reads the times of rows, of which many in a row lie in one day.
class RowTimes {
 public:
  /// False for what is no time.
  bool read(std::string_view text, std::int64_t& instant) {
    constexpr std::size_t datePart = 11;  // with the blank
    if (text.size() == 16 && text.substr(0, datePart) == date_ && text[13] == ':') {
      const std::int64_t hour = twoDigits(text[11], text[12]);
      const std::int64_t minute = twoDigits(text[14], text[15]);
      instant = day_ + hour * 3600 + minute * 60;
      return hour < 24 && minute < 60;
    }
    const auto found = ocean_times::utcInstant(text);
    if (!found) return false;
    date_ = text.substr(0, datePart);
    day_ = CurrentsPeriod::dayOf(*found);
    instant = *found;
    return true;
  }

 private:
  /// At least 100 for what are no digits.
  static int twoDigits(char tens, char ones) {
    const bool areDigits = tens >= '0' && tens <= '9' && ones >= '0' && ones <= '9';
    return areDigits ? (tens - '0') * 10 + (ones - '0') : 100;
  }

  std::string_view date_;  // in the document
  std::int64_t day_ = 0;
};

/// Adds the row of an entry, or passes it over; false where it lacks something.
bool addRow(element entry, RowTimes& times, CurrentPredictions& rows) {
  object members;
  if (entry.get(members) != simdjson::SUCCESS) return false;
  std::string_view time;
  std::string_view type;
  double velocity = 0.0;
  double flood = 0.0;
  double ebb = 0.0;
  unsigned seen = 0;
  const auto came = [&seen](simdjson::error_code error, unsigned which) {
    seen |= which;
    return error == simdjson::SUCCESS;
  };
  for (const auto& [key, value] : members) {
    bool fits = true;
    if (key == "Time") {
      fits = came(value.get(time), 1);
    } else if (key == "Velocity_Major") {
      fits = came(value.get(velocity), 2);
    } else if (key == "meanFloodDir") {
      fits = came(value.get(flood), 4);
    } else if (key == "meanEbbDir") {
      fits = came(value.get(ebb), 8);
    } else if (key == "Type" && !value.is_null()) {
      fits = came(value.get(type), 16);
    }
    if (!fits) return false;
  }
  if ((seen & 15U) != 15U) return false;
  std::int64_t instant = 0;
  if (!times.read(time, instant) || std::fabs(velocity) > fastest || std::fabs(flood) > directionLimit ||
      std::fabs(ebb) > directionLimit) {
    return true;
  }
  // The service sends zeros with a sign; adding one without takes it off.
  CurrentPrediction& row = rows.emplace_back();
  row.time = instant;
  row.velocityMajor = velocity + 0.0;
  row.meanFloodDir = flood + 0.0;
  row.meanEbbDir = ebb + 0.0;
  if ((seen & 16U) != 0) row.type.emplace(type);
  return true;
}

/// Adds the rows of a list behind others, or says why not.
std::optional<std::string> addList(array list, CurrentPredictions& rows) {
  const std::size_t before = rows.size();
  const std::size_t expected = before + std::min(list.size(), rowsOfAMonth);
  if (rows.capacity() < expected) rows.reserve(std::max(expected, 2 * before));
  RowTimes times;
  std::size_t number = 0;
  for (const element entry : list) {
    ++number;
    if (addRow(entry, times, rows)) continue;
    rows.resize(before);
    return fmt::format(
        "entry {} lacks one of Time, Velocity_Major, meanFloodDir and meanEbbDir, or has it or Type in "
        "another type",
        number);
  }
  putInTimeOrder(
      rows, [](const CurrentPrediction& row) { return row.time; }, before);
  return std::nullopt;
}

}  // namespace

Reading readAnswer(std::string_view json, JsonReaders& readers) {
  Reading reading;
  const auto reader = readers.take();
  const auto root = reader->read(json);
  array list;
  if (!root) {
    reading.error = fmt::format("no JSON document: {}", reader->error());
  } else if ((*root)["current_predictions"]["cp"].get(list) != simdjson::SUCCESS) {
    reading.error = "the answer has no list of predictions";
  } else {
    reading.error = addList(list, reading.rows);
  }
  return reading;
}

std::optional<std::string> addFile(std::string_view json, JsonReaders& readers, CurrentPredictions& rows) {
  const auto reader = readers.take();
  const auto root = reader->read(json);
  array list;
  if (!root) return fmt::format("no JSON document: {}", reader->error());
  if (root->get(list) != simdjson::SUCCESS) return "no JSON array";
  return addList(list, rows);
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
