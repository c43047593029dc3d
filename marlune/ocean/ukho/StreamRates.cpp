#include "marlune/ocean/ukho/StreamRates.h"

#include <fmt/compile.h>
#include <fmt/format.h>

#include <iterator>
#include <utility>

#include "marlune/formats/Iso8601.h"
#include "marlune/formats/JsonReader.h"
#include "marlune/formats/JsonReaders.h"
#include "marlune/formats/JsonText.h"

namespace marlune {

namespace {

constexpr double mpsToKnots = 1.9438447;
constexpr double slackThresholdKnots = 0.2;
/// Far beyond any stream; what is made of lesser speeds stays finite.
constexpr double fastest = 1e6;  // metres a second

std::optional<StreamRateEntry> entryOf(simdjson::dom::element value) {
  simdjson::dom::object members;
  if (value.get(members) != simdjson::SUCCESS) return std::nullopt;
  std::optional<std::string_view> dateTime;
  std::optional<double> speed;
  std::optional<double> bearing;
  for (const auto& [key, member] : members) {
    if (key == "DateTime") {
      dateTime = json::text(member);
    } else if (key == "Speed") {
      speed = json::number(member);
    } else if (key == "Bearing") {
      bearing = json::number(member);
    }
  }
  if (!dateTime || !speed || !bearing) return std::nullopt;
  // A zero may have come with a sign; adding one without takes it off.
  return StreamRateEntry{std::string(*dateTime), *speed + 0.0, *bearing + 0.0};
}

struct Point {
  Date date;
  double speed = 0.0;  // knots
  double bearing = 0.0;
};

OceanCurrentData::Events eventsOf(const std::vector<Point>& points) {
  OceanCurrentData::Events events;
  for (std::size_t at = 0; at < points.size();) {
    const bool isSlack = points[at].speed < slackThresholdKnots;
    std::size_t picked = at;
    for (; at < points.size() && (points[at].speed < slackThresholdKnots) == isSlack; ++at) {
      const bool isFarther = isSlack ? points[at].speed < points[picked].speed  //
                                     : points[at].speed > points[picked].speed;
      if (isFarther) picked = at;
    }
    const Point& point = points[picked];
    // The rates do not tell an ebb from a flood.
    events.push_back(std::make_shared<const CurrentEvent>(point.date, isSlack ? "slack" : "flood",
                                                          point.speed, point.bearing));
  }
  return events;
}

}  // namespace

std::optional<std::int64_t> StreamRateEntry::instant() const {
  if (!(speed >= 0.0 && speed <= fastest)) return std::nullopt;
  return iso8601Seconds(dateTime);
}

namespace stream_rates {

Reading read(std::string_view json, JsonReaders& readers) {
  Reading reading;
  const auto reader = readers.take();
  const auto root = reader->read(json);
  simdjson::dom::array list;
  if (!root || root->get(list) != simdjson::SUCCESS) {
    reading.error = root ? "no JSON array" : fmt::format("no JSON document: {}", reader->error());
    return reading;
  }
  for (const auto value : list) {
    auto entry = entryOf(value);
    if (!entry) {
      reading.error =
          fmt::format("entry {} lacks one of DateTime, Speed and Bearing, or has it in another type",
                      reading.entries.size() + 1);
      reading.entries.clear();
      return reading;
    }
    reading.entries.push_back(std::move(*entry));
  }
  return reading;
}

std::string fileOf(const Entries& entries) {
  std::string text = "[";
  for (const auto& entry : entries) {
    text += text.size() > 1 ? ",{\"DateTime\":" : "{\"DateTime\":";
    appendJsonText(text, entry.dateTime);
    fmt::format_to(std::back_inserter(text), FMT_COMPILE(",\"Speed\":{},\"Bearing\":{}}}"), entry.speed,
                   entry.bearing);
  }
  text += ']';
  return text;
}

std::shared_ptr<const OceanCurrentData> currentsOf(const Entries& entries, double lat, double lng) {
  std::vector<Point> points;
  TimeSeries samples;
  for (const auto& entry : entries) {
    const auto instant = entry.instant();
    if (!instant) continue;
    const Point& point = points.emplace_back(
        Point{dateFromSeconds(static_cast<double>(*instant)), entry.speed * mpsToKnots, entry.bearing});
    samples.push_back(std::make_shared<const TimeSeriesData>(
        point.date, point.speed,
        TimeSeriesData::Attributes{
            {std::string(ocean_attributes::direction), numberAttribute(point.bearing)}},
        std::string(ocean_series::velocity)));
  }
  if (points.size() < 2) return nullptr;
  return std::make_shared<const OceanCurrentData>(lat, lng, std::move(samples), eventsOf(points));
}

}  // namespace stream_rates

}  // namespace marlune
