#include "services/NwsForecast.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string_view>

#include <fmt/format.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include "services/PlaceWeather.h"
#include "services/RequestValues.h"

namespace marlune::services {
namespace {

using Writer = rapidjson::PrettyWriter<rapidjson::StringBuffer>;
using Weather = PlaceWeather;

constexpr std::int64_t kHour = 3600;
constexpr std::int64_t kDay = 86400;
constexpr std::int64_t kForecastHours = 184;
constexpr std::string_view kCelsius = "wmoUnit:degC";
constexpr std::string_view kPercent = "wmoUnit:percent";
constexpr std::string_view kKilometresAnHour = "wmoUnit:km_h-1";
constexpr std::string_view kDegrees = "wmoUnit:degree_(angle)";
constexpr std::string_view kMillimetres = "wmoUnit:mm";
constexpr std::string_view kMetres = "wmoUnit:m";

// Forecasters enter whole degrees Fahrenheit and whole knots; that is where the many decimals come from.
double fahrenheit(double celsius) {
  return (std::round(celsius * 9 / 5 + 32) - 32) * 5 / 9;
}

double knots(double metresASecond) {
  return std::round(metresASecond * 1.9438445) * 1.852;
}

double tens(double degrees) {
  return std::fmod(std::round(degrees / 10) * 10, 360);
}

using Value = std::optional<double>;

enum class Steps { hourly, threeHourly, sixHourly, gusts, turns, sixHourlyEach };

struct Layer {
  std::string_view name;
  std::string_view unit;
  Steps steps;
  Value (*value)(const Weather& weather, std::int64_t time);  // none: the layer is empty
};

Value heatIndex(const Weather& weather, std::int64_t time) {
  const double air = fahrenheit(weather.airTemperature(time));
  return air < 21 ? Value() : Value(air + 1);
}

Value windChill(const Weather& weather, std::int64_t time) {
  const double air = weather.airTemperature(time);
  return air > 8 ? Value() : Value(fahrenheit(air - weather.wind(time).speed / 2));
}

Value rainChance(const Weather& weather, std::int64_t time) {
  return std::round(std::max(weather.cloudCover(time) - 40, 0.0));
}

Value rain(const Weather& weather, std::int64_t time) {
  return std::round(std::max(weather.cloudCover(time) - 75, 0.0) * 2.54) / 10;
}

const Layer kLayers[] = {
    {"temperature", kCelsius, Steps::hourly,
     [](const Weather& w, std::int64_t t) { return Value(fahrenheit(w.airTemperature(t))); }},
    {"dewpoint", kCelsius, Steps::hourly,
     [](const Weather& w, std::int64_t t) {
       return Value(fahrenheit(w.airTemperature(t) - (100 - w.humidity(t)) / 5));
     }},
    {"relativeHumidity", kPercent, Steps::hourly,
     [](const Weather& w, std::int64_t t) { return Value(std::round(w.humidity(t))); }},
    {"apparentTemperature", kCelsius, Steps::hourly,
     [](const Weather& w, std::int64_t t) {
       return Value(fahrenheit(w.airTemperature(t) - w.wind(t).speed / 5));
     }},
    {"wetBulbGlobeTemperature", kCelsius, Steps::hourly,
     [](const Weather& w, std::int64_t t) { return Value(fahrenheit(w.airTemperature(t) - 2)); }},
    {"heatIndex", kCelsius, Steps::hourly, heatIndex},
    {"windChill", kCelsius, Steps::hourly, windChill},
    {"skyCover", kPercent, Steps::hourly,
     [](const Weather& w, std::int64_t t) { return Value(std::round(w.cloudCover(t))); }},
    {"windDirection", kDegrees, Steps::turns,
     [](const Weather& w, std::int64_t t) { return Value(tens(w.wind(t).direction)); }},
    {"windSpeed", kKilometresAnHour, Steps::threeHourly,
     [](const Weather& w, std::int64_t t) { return Value(knots(w.wind(t).speed)); }},
    {"windGust", kKilometresAnHour, Steps::gusts,
     [](const Weather& w, std::int64_t t) { return Value(knots(w.gust(t))); }},
    {"probabilityOfPrecipitation", kPercent, Steps::sixHourly, rainChance},
    {"quantitativePrecipitation", kMillimetres, Steps::sixHourlyEach, rain},
    {"iceAccumulation", kMillimetres, Steps::sixHourlyEach,
     [](const Weather&, std::int64_t) { return Value(0); }},
    {"snowfallAmount", kMillimetres, Steps::sixHourlyEach,
     [](const Weather&, std::int64_t) { return Value(0); }},
    {"ceilingHeight", kMetres, Steps::sixHourly, [](const Weather&, std::int64_t) { return Value(-30.48); }},
    {"visibility", kMetres, Steps::sixHourly, [](const Weather&, std::int64_t) { return Value(16093.44); }},
    {"transportWindSpeed", kKilometresAnHour, Steps::sixHourly,
     [](const Weather& w, std::int64_t t) { return Value(knots(w.wind(t).speed * 1.5)); }},
    {"transportWindDirection", kDegrees, Steps::threeHourly,
     [](const Weather& w, std::int64_t t) { return Value(tens(w.wind(t).direction + 15)); }},
    {"mixingHeight", kMetres, Steps::hourly,
     [](const Weather& w, std::int64_t t) { return Value(std::round(w.wind(t).speed * 300) * 0.3048); }},
    {"twentyFootWindSpeed", kKilometresAnHour, Steps::threeHourly,
     [](const Weather& w, std::int64_t t) { return Value(knots(w.wind(t).speed * 0.8)); }},
    {"twentyFootWindDirection", kDegrees, Steps::turns,
     [](const Weather& w, std::int64_t t) { return Value(tens(w.wind(t).direction)); }},
    {"waveHeight", kMetres, Steps::sixHourly,
     [](const Weather& w, std::int64_t t) { return Value(std::round(w.swell(t).height * 10) * 0.3048 / 3); }},
    {"wavePeriod", "nwsUnit:s", Steps::sixHourly,
     [](const Weather& w, std::int64_t t) { return Value(std::round(w.swell(t).period)); }},
};

constexpr std::string_view kEmptyLayers[] = {
    "hazards",
    "snowLevel",
    "hainesIndex",
    "waveDirection",
    "primarySwellHeight",
    "primarySwellDirection",
    "secondarySwellHeight",
    "secondarySwellDirection",
    "wavePeriod2",
    "windWaveHeight",
    "pressure",
    "probabilityOfTropicalStormWinds",
    "probabilityOfHurricaneWinds",
    "potentialOf15mphWinds",
    "potentialOf25mphWinds",
    "potentialOf35mphWinds",
    "potentialOf45mphWinds",
    "potentialOf20mphWindGusts",
    "potentialOf30mphWindGusts",
    "potentialOf40mphWindGusts",
    "potentialOf50mphWindGusts",
    "potentialOf60mphWindGusts",
    "grasslandFireDangerIndex",
    "probabilityOfThunder",
    "davisStabilityIndex",
    "redFlagThreatIndex",
};

// Hours for which a layer keeps one value: of gusts on every fourth day and of directions on every fifth it
// is the whole day, so that a reader meets intervals with days.
std::int64_t stepOf(Steps steps, std::int64_t time) {
  const std::int64_t day = time / kDay;
  switch (steps) {
    case Steps::hourly:
      return 1;
    case Steps::threeHourly:
      return 3;
    case Steps::gusts:
      return day % 4 == 0 ? 24 : 2;
    case Steps::turns:
      return day % 5 == 2 ? 24 : 1;
    case Steps::sixHourly:
    case Steps::sixHourlyEach:
      break;
  }
  return 6;
}

Value valueAt(const Layer& layer, const Weather& weather, std::int64_t time) {
  const std::int64_t step = stepOf(layer.steps, time) * kHour;
  return layer.value(weather, time - time % step + step / 2);
}

std::string durationText(std::int64_t hours) {
  std::string text = "P";
  if (hours >= 24) text += fmt::format("{}D", hours / 24);
  if (hours % 24 != 0) text += fmt::format("T{}H", hours % 24);
  return text;
}

std::string interval(std::int64_t begin, std::int64_t end) {
  return fmt::format("{}+00:00/{}", instantText(begin), durationText((end - begin) / kHour));
}

void text(Writer& writer, std::string_view key, std::string_view value) {
  writer.Key(key.data(), static_cast<rapidjson::SizeType>(key.size()));
  writer.String(value.data(), static_cast<rapidjson::SizeType>(value.size()));
}

void number(Writer& writer, Value value) {
  if (!value) {
    writer.Null();
    return;
  }
  // Whole numbers stand without a fraction, as the service writes them.
  const std::string figure = fmt::format("{}", *value + 0.0);
  writer.RawValue(figure.data(), figure.size(), rapidjson::kNumberType);
}

void entry(Writer& writer, std::int64_t begin, std::int64_t end, Value value) {
  writer.StartObject();
  text(writer, "validTime", interval(begin, end));
  writer.Key("value");
  number(writer, value);
  writer.EndObject();
}

void beginLayer(Writer& writer, std::string_view name, std::string_view unit) {
  writer.Key(name.data(), static_cast<rapidjson::SizeType>(name.size()));
  writer.StartObject();
  if (!unit.empty()) text(writer, "uom", unit);
  writer.Key("values");
  writer.StartArray();
}

void endLayer(Writer& writer) {
  writer.EndArray();
  writer.EndObject();
}

// Neighbours of one value are one interval.
void writeLayer(Writer& writer, const Layer& layer, const Weather& weather, std::int64_t begin,
                std::int64_t end) {
  beginLayer(writer, layer.name, layer.unit);
  const bool each = layer.steps == Steps::sixHourlyEach;
  std::int64_t from = begin;
  Value value = valueAt(layer, weather, begin);
  for (std::int64_t time = begin + kHour; time <= end; time += kHour) {
    const Value next = time < end ? valueAt(layer, weather, time) : Value();
    if (time < end && next == value && !(each && time % (6 * kHour) == 0)) continue;
    entry(writer, from, time, value);
    from = time;
    value = next;
  }
  endLayer(writer);
}

// The greatest and least temperature of each day, with nothing between one day's interval and the next's.
void writeDailyExtreme(Writer& writer, const Weather& weather, bool greatest, std::int64_t begin,
                       std::int64_t end) {
  beginLayer(writer, greatest ? "maxTemperature" : "minTemperature", kCelsius);
  const std::int64_t hours = greatest ? 13 : 14;
  for (std::int64_t day = begin - begin % kDay; day < end; day += kDay) {
    const std::int64_t from = day + (greatest ? 13 : 1) * kHour;
    if (from < begin || from + hours * kHour > end) continue;
    double value = weather.airTemperature(from);
    for (std::int64_t time = from; time < from + hours * kHour; time += kHour) {
      const double one = weather.airTemperature(time);
      value = greatest ? std::max(value, one) : std::min(value, one);
    }
    entry(writer, from, from + hours * kHour, fahrenheit(value));
  }
  endLayer(writer);
}

void writeSigns(Writer& writer, const Weather& weather, std::int64_t begin, std::int64_t end) {
  beginLayer(writer, "weather", "");
  for (std::int64_t time = begin; time < end; time += 12 * kHour) {
    const bool showers = weather.cloudCover(time) > 75;
    const auto word = [&](const char* key, const char* value) {
      writer.Key(key);
      if (showers)
        writer.String(value);
      else
        writer.Null();
    };
    writer.StartObject();
    text(writer, "validTime", interval(time, std::min(time + 12 * kHour, end)));
    writer.Key("value");
    writer.StartArray();
    writer.StartObject();
    word("coverage", "chance");
    word("weather", "rain_showers");
    word("intensity", "light");
    writer.Key("visibility");
    writer.StartObject();
    text(writer, "unitCode", "wmoUnit:km");
    writer.Key("value");
    writer.Null();
    writer.EndObject();
    writer.Key("attributes");
    writer.StartArray();
    writer.EndArray();
    writer.EndObject();
    writer.EndArray();
    writer.EndObject();
  }
  endLayer(writer);
}

void writeOutline(Writer& writer, const NwsCell& cell) {
  writer.Key("geometry");
  writer.StartObject();
  text(writer, "type", "Polygon");
  writer.Key("coordinates");
  writer.StartArray();
  writer.StartArray();
  constexpr double corners[][2] = {{-0.5, 0.5}, {-0.5, -0.5}, {0.5, -0.5}, {0.5, 0.5}, {-0.5, 0.5}};
  for (const auto& [east, north] : corners) {
    const auto corner = nwsPlaceOf(cell, east, north).value_or(NwsPlace());
    writer.StartArray();
    number(writer, std::round(corner.longitude * 1e7) / 1e7);
    number(writer, std::round(corner.latitude * 1e7) / 1e7);
    writer.EndArray();
  }
  writer.EndArray();
  writer.EndArray();
  writer.EndObject();
}

void writeContext(Writer& writer) {
  writer.Key("@context");
  writer.StartArray();
  writer.String("https://geojson.org/geojson-ld/geojson-context.jsonld");
  writer.StartObject();
  text(writer, "@version", "1.1");
  text(writer, "wmoUnit", "https://codes.wmo.int/common/unit/");
  text(writer, "nwsUnit", "https://api.weather.gov/ontology/unit/");
  writer.EndObject();
  writer.EndArray();
}

void writeHead(Writer& writer, const NwsCell& cell, const std::string& base, std::int64_t begin,
               std::int64_t end) {
  text(writer, "@id", fmt::format("{}/gridpoints/{}/{},{}", base, cell.office, cell.x, cell.y));
  text(writer, "@type", "wx:Gridpoint");
  text(writer, "updateTime", instantText(begin + 5 * kHour + 912) + "+00:00");
  text(writer, "validTimes", interval(begin, end));
  writer.Key("elevation");
  writer.StartObject();
  text(writer, "unitCode", kMetres);
  writer.Key("value");
  number(writer, 12.192);
  writer.EndObject();
  text(writer, "forecastOffice", fmt::format("{}/offices/{}", base, cell.office));
  text(writer, "gridId", cell.office);
  text(writer, "gridX", std::to_string(cell.x));
  text(writer, "gridY", std::to_string(cell.y));
}

}  // namespace

std::string nwsForecast(const NwsCell& cell, std::int64_t now, const std::string& base) {
  const NwsPlace place = nwsPlaceOf(cell).value_or(NwsPlace());
  const Weather weather(place.latitude, place.longitude);
  const std::int64_t begin = now - now % (3 * kHour) - 6 * kHour;
  const std::int64_t end = begin + kForecastHours * kHour;
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  writer.SetIndent(' ', 2);
  writer.StartObject();
  writeContext(writer);
  text(writer, "id", fmt::format("{}/gridpoints/{}/{},{}", base, cell.office, cell.x, cell.y));
  text(writer, "type", "Feature");
  writeOutline(writer, cell);
  writer.Key("properties");
  writer.StartObject();
  writeHead(writer, cell, base, begin, end);
  for (const Layer& layer : kLayers) writeLayer(writer, layer, weather, begin, end);
  writeDailyExtreme(writer, weather, true, begin, end);
  writeDailyExtreme(writer, weather, false, begin, end);
  writeSigns(writer, weather, begin, end);
  for (const std::string_view name : kEmptyLayers) {
    beginLayer(writer, name, "");
    endLayer(writer);
  }
  writer.EndObject();
  writer.EndObject();
  return {buffer.GetString(), buffer.GetSize()};
}

}  // namespace marlune::services
