#include "services/WorldTidesDocument.h"

#include <cmath>
#include <iterator>
#include <string_view>
#include <vector>

#include <cctz/civil_time.h>
#include <cctz/time_zone.h>
#include <fmt/format.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "services/TidePredictor.h"

namespace marlune::services {
namespace {

constexpr double kFeet = 3.280839895;

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

void write(Writer& writer, std::string_view text) {
  writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

void writeKey(Writer& writer, std::string_view key) {
  writer.Key(key.data(), static_cast<rapidjson::SizeType>(key.size()));
}

void writeOptional(Writer& writer, std::string_view key, const std::optional<std::string>& value,
                   bool asNull) {
  if (!value && !asNull) return;
  writeKey(writer, key);
  if (value)
    write(writer, *value);
  else
    writer.Null();
}

// How a station's answers are written.
struct Forms {
  enum class Unit {
    metres,        // the answer says metres
    unsaid,        // nothing is said, which means metres
    feet,          // the answer says no metres
    metresByEvent  // the answer says no metres, each event says metres
  };

  explicit Forms(std::int64_t id)
      : fraction(id % 2 == 1), localTime(id / 2 % 2 == 1), lowsUnmarked(id / 20 % 2 == 1) {
    constexpr Unit units[] = {Unit::metres, Unit::metres, Unit::unsaid, Unit::feet, Unit::metresByEvent};
    unit = units[id / 4 % 5];
  }

  bool fraction;   // ".000" after the seconds
  bool localTime;  // "+05:30" in place of "Z"
  bool lowsUnmarked;
  Unit unit = Unit::metres;
};

// Whole minutes, as the form has no seconds: a local mean time is taken to the next minute.
long offsetMinutes(const cctz::time_zone& zone, std::int64_t time) {
  const cctz::time_point<cctz::seconds> instant{cctz::seconds(time)};
  return std::lround(zone.lookup(instant).offset / 60.0);
}

std::string timeText(std::int64_t time, const Forms& forms, const cctz::time_zone& zone) {
  const long minutes = forms.localTime ? offsetMinutes(zone, time) : 0;
  const cctz::civil_second at = cctz::civil_second(1970, 1, 1) + (time + minutes * 60);
  std::string text = fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}{}", at.year(), at.month(), at.day(),
                                 at.hour(), at.minute(), at.second(), forms.fraction ? ".000" : "");
  if (!forms.localTime) return text + "Z";
  fmt::format_to(std::back_inserter(text), "{}{:02}:{:02}", minutes < 0 ? '-' : '+', std::labs(minutes) / 60,
                 std::labs(minutes) % 60);
  return text;
}

void writeEvent(Writer& writer, const TideExtreme& extreme, const Forms& forms, const cctz::time_zone& zone) {
  const double level = extreme.level * (forms.unit == Forms::Unit::feet ? kFeet : 1);
  writer.StartObject();
  writer.Key("time");
  write(writer, timeText(extreme.time, forms, zone));
  writer.Key("level");
  writer.Double(static_cast<double>(std::llround(level * 1000)) / 1000);
  if (extreme.high || !forms.lowsUnmarked) {
    writer.Key("is_high");
    writer.Bool(extreme.high);
  }
  if (forms.unit == Forms::Unit::metresByEvent) {
    writer.Key("level_in_meters");
    writer.Bool(true);
  }
  writer.EndObject();
}

std::int64_t startOf(int year, const cctz::time_zone& zone) {
  return cctz::convert(cctz::civil_second(year, 1, 1), zone).time_since_epoch().count();
}

std::string textOf(const rapidjson::StringBuffer& buffer) {
  return {buffer.GetString(), buffer.GetSize()};
}

}  // namespace

std::string worldPointsDocument(const WorldStations& world) {
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  writer.StartArray();
  for (const WorldStation& station : world.stations()) {
    const bool asNull = station.key.starts_with("noaa/");
    writer.StartObject();
    writer.Key("id");
    writer.Int64(station.id);
    writer.Key("lat");
    writer.Double(station.latitude);
    writer.Key("lon");
    writer.Double(station.longitude);
    writeOptional(writer, "name", station.name, asNull);
    writeOptional(writer, "city", station.city, asNull);
    writeOptional(writer, "country", station.country, asNull);
    writeOptional(writer, "timezone", station.zone, asNull);
    writer.EndObject();
  }
  writer.EndArray();
  return textOf(buffer);
}

std::string worldYearDocument(const WorldStations& world, const HarmonicDatabase& database,
                              const WorldStation& station, int year) {
  // UTC where the system's tz database is older than the zone.
  cctz::time_zone zone;
  cctz::load_time_zone(station.zoneOrNautical(), &zone);
  const auto extremes = TidePredictor(database).extremes(world.harmonics(station), startOf(year, zone),
                                                         startOf(year + 1, zone));
  const Forms forms(station.id);
  const WorldSource& source = world.sources()[station.source];
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  writer.StartObject();
  writer.Key("source");
  write(writer, fmt::format("{}; above {}. {}. Development data: NOT FOR NAVIGATION.", source.name,
                            station.datum, source.notice));
  if (forms.unit != Forms::Unit::unsaid) {
    writer.Key("level_in_meters");
    writer.Bool(forms.unit == Forms::Unit::metres);
  }
  writer.Key("tide_events");
  writer.StartArray();
  for (const TideExtreme& extreme : extremes) writeEvent(writer, extreme, forms, zone);
  writer.EndArray();
  writer.EndObject();
  return textOf(buffer);
}

std::string worldEmptyDocument(const std::string& source) {
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  writer.StartObject();
  writer.Key("source");
  write(writer, source);
  writer.Key("tide_events");
  writer.StartArray();
  writer.EndArray();
  writer.EndObject();
  return textOf(buffer);
}

std::string worldErrorDocument(const std::string& text) {
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  writer.StartObject();
  writer.Key("error");
  write(writer, text);
  writer.EndObject();
  return textOf(buffer);
}

}  // namespace marlune::services
