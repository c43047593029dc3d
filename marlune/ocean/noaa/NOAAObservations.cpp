#include "marlune/ocean/noaa/NOAAObservations.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "marlune/formats/JsonReader.h"
#include "marlune/formats/Text.h"
#include "marlune/ocean/source/OceanTimes.h"

namespace marlune::noaa_observations {

namespace {

using simdjson::dom::element;
using simdjson::dom::object;

/// The text under `key`, which stays empty where there is none: an empty text is a gap too. False for a value
/// of another type.
bool readText(object members, std::string_view key, std::string_view& text) {
  element value;
  if (members[key].get(value) != simdjson::SUCCESS || value.is_null()) return true;
  const auto held = json::text(value);
  if (held) text = *held;
  return held.has_value();
}

void addNumber(std::optional<TimeSeriesData::Attributes>& attributes, std::string_view name,
               std::string_view text) {
  const auto number = decimalNumber(text);
  if (!number) return;
  if (!attributes) attributes.emplace();
  attributes->emplace(name, numberAttribute(*number));
}

/// False for a row that spoils the answer.
bool readRow(element row, Kind kind, TimeSeries& samples) {
  object members;
  if (row.get(members) != simdjson::SUCCESS) return false;
  const bool isWind = kind == Kind::wind;
  std::string_view time;
  std::string_view value;
  std::string_view direction;
  std::string_view gust;
  if (!readText(members, "t", time) || !readText(members, isWind ? "s" : "v", value)) return false;
  if (isWind && (!readText(members, "d", direction) || !readText(members, "g", gust))) return false;
  const auto instant = ocean_times::utcInstant(time);
  const auto number = decimalNumber(value);
  if (!instant || !number) return true;
  std::optional<TimeSeriesData::Attributes> attributes;
  addNumber(attributes, ocean_attributes::direction, direction);
  addNumber(attributes, ocean_attributes::gust, gust);
  samples.push_back(std::make_shared<const TimeSeriesData>(
      dateFromSeconds(static_cast<double>(*instant)), *number + 0.0, std::move(attributes),  // no "-0"
      isWind ? std::optional<std::string>(ocean_series::wind) : std::nullopt));
  return true;
}

/// What the service says about its error, where that makes a line.
std::string messageOf(element error) {
  constexpr std::size_t longest = 300;
  object members;
  if (error.get(members) != simdjson::SUCCESS) return {};
  std::string message = json::textOf(members, "message").value_or(std::string());
  if (message.empty() || message.size() > longest) return {};
  std::replace_if(
      message.begin(), message.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; }, ' ');
  return ": " + message;
}

void sortByTime(TimeSeries& samples) {
  const auto earlier = [](const auto& a, const auto& b) { return a->date < b->date; };
  if (!std::is_sorted(samples.begin(), samples.end(), earlier))
    std::stable_sort(samples.begin(), samples.end(), earlier);
}

}  // namespace

Reading read(std::string_view answer, Kind kind, JsonReaders& readers) {
  Reading reading;
  const auto reader = readers.take();
  const auto root = reader->read(answer);
  object members;
  if (!root || root->get(members) != simdjson::SUCCESS) {
    reading.fault = "the answer is no JSON object";
    return reading;
  }
  element error;
  reading.hasError = members["error"].get(error) == simdjson::SUCCESS && !error.is_null();
  simdjson::dom::array rows;
  if (members["data"].get(rows) != simdjson::SUCCESS) {
    reading.fault = "the answer has no list of rows" + (reading.hasError ? messageOf(error) : std::string());
    return reading;
  }
  TimeSeries samples;
  for (const element row : rows) {
    if (readRow(row, kind, samples)) continue;
    reading.fault = "a row of the answer holds something else than texts";
    return reading;
  }
  sortByTime(samples);
  reading.samples = std::move(samples);
  return reading;
}

}  // namespace marlune::noaa_observations
