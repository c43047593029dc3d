#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <simdjson.h>

#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "marlune/formats/JsonReaders.h"
#include "marlune/geo/Location.h"
#include "marlune/ocean/nws/NWSGridpoint.h"
#include "marlune/ocean/source/SeriesDiskCache.h"
#include "pairs/Pairs.h"
#include "support/Measure.h"
#include "support/Subjects.h"

// What the observed and the forecast wind cost: a day from the disk, a gridpoint's answer, the nearest
// station.

namespace marlune::bench {

namespace {

constexpr std::int64_t firstMidnight = 1'741'161'600;  // 2025-03-05 in California, 08:00 UTC
constexpr std::int64_t dayLength = 86'400;

/// Looks at every value of a tree, and sums up so that it is not left out.
double walked(simdjson::dom::element value) {
  using simdjson::dom::element_type;
  double sum = 0;
  switch (value.type()) {
    case element_type::OBJECT:
      for (const auto& [key, member] : simdjson::dom::object(value))
        sum += static_cast<double>(key.size()) + walked(member);
      return sum;
    case element_type::ARRAY:
      for (const auto member : simdjson::dom::array(value)) sum += walked(member);
      return sum;
    case element_type::STRING:
      return static_cast<double>(std::string_view(value).size());
    case element_type::BOOL:
    case element_type::NULL_VALUE:
      return 0;
    default:
      return double(value);
  }
}

class BareWalk {
 public:
  void operator()(const Bytes& text) const {
    double sum = walked(parser_->parse(text).value());
    benchmark::DoNotOptimize(sum);
  }

 private:
  std::shared_ptr<simdjson::dom::parser> parser_ = std::make_shared<simdjson::dom::parser>();
};

TimeSeries windyDay() {
  TimeSeries samples;
  for (int i = 0; i <= 24; ++i) {
    samples.push_back(std::make_shared<const TimeSeriesData>(
        dateFromSeconds(static_cast<double>(firstMidnight + i * 3600)), 2.14 + i,
        TimeSeriesData::Attributes{{"direction", numberAttribute(10.0 * i)},
                                   {"gust", numberAttribute(2.53 + i)}},
        "Wind"));
  }
  return samples;
}

void addDiskHit(const std::string& where, const std::string& parent) {
  const auto folder = std::make_shared<WorkFolder>(parent);
  if (!folder->exists()) return;
  const auto setting = std::make_shared<Setting>(folder->path());
  const auto cache = std::make_shared<SeriesDiskCache>(setting->host);
  const std::string name = "noaa_wind_9413450_20250305.json";
  cache->save(windyDay(), name);
  const auto loaded = cache->load(name, 1800);
  require(loaded && loaded->size() == 25 && loaded->at(24)->attributes->at("gust") == "26.53",
          "a day of wind from the disk");
  const std::string path = *setting->host.folders->container(kGroupContainerName) + "/" + name;
  addPair({.name = "observed wind: a day from the file, " + where,
           .library = {.run =
                           [=, keep = folder] {
                             auto samples = cache->load(name, 1800);
                             benchmark::DoNotOptimize(samples);
                           }},
           .reference = {.run = [=, walk = BareWalk()] { walk(*setting->host.files->read(path)); }},
           .ratioAtMost = 1.5});
}

/// A gridpoint's answer with its many layers, in most of which hours of equal value are one entry.
Bytes gridAnswer() {
  Bytes text = R"({"id":"https://grid.test/gridpoints/MTR/85,105","properties":{"gridX":"85")";
  const auto addLayer = [&text](const std::string& name, std::string_view unit, int length) {
    text += fmt::format(R"(,"{}":{{"uom":"{}","values":[)", name, unit);
    for (int hour = 0; hour < 190; hour += length) {
      text += fmt::format(R"({}{{"validTime":"2025-03-{:02}T{:02}:00:00+00:00/PT{}H","value":{:.14f}}})",
                          hour == 0 ? "" : ",", 5 + hour / 24, hour % 24, length, (hour * 37 % 400) / 9.0);
    }
    text += "]}";
  };
  addLayer("windDirection", "wmoUnit:degree_(angle)", 2);
  addLayer("windSpeed", "wmoUnit:km_h-1", 1);
  addLayer("windGust", "wmoUnit:km_h-1", 3);
  for (int i = 0; i < 41; ++i) addLayer(fmt::format("someOtherLayer{}", i), "wmoUnit:degC", 1 + i % 12);
  return text + "}}";
}

void addGrid() {
  const auto answer = std::make_shared<const Bytes>(gridAnswer());
  const auto readers = std::make_shared<JsonReaders>();
  const auto day = [=] {
    const auto wind = nws_gridpoint::windOf(*answer, *readers);
    return wind ? nws_gridpoint::samplesOf(*wind, firstMidnight, firstMidnight + dayLength) : std::nullopt;
  };
  const auto samples = day();
  require(samples && samples->size() == 24 && samples->back()->attributes->size() == 2, "a day of the grid");
  require(std::fabs(samples->front()->value - 296 / 9.0 * 0.539957) < 1e-9, "in knots");
  addPair({.name = "forecast wind: an answer decoded and cut",
           .library = {.run =
                           [=] {
                             auto made = day();
                             benchmark::DoNotOptimize(made);
                           }},
           .reference = {.run = [=, walk = BareWalk()] { walk(*answer); }},
           .ratioAtMost = 1.6,
           .bytes = answer->size()});
}

void addNearest() {
  constexpr int count = 2'500;
  std::mt19937_64 random(3);
  std::uniform_real_distribution<> latitude(15, 70);
  std::uniform_real_distribution<> longitude(-170, -60);
  std::vector<std::shared_ptr<Location>> stations;
  std::vector<SpacePoint> points;
  for (int i = 0; i < count; ++i) {
    auto station = std::make_shared<Location>();
    const SpacePoint point = spacePoint(latitude(random), longitude(random));
    station->coord = {{"x", point.x}, {"y", point.y}, {"z", point.z}};
    points.push_back(point);
    stations.push_back(std::move(station));
  }
  const auto list = std::make_shared<const LocationList>(stations);
  const auto bare = [points](SpacePoint from) {
    std::size_t best = count;
    double least = std::numeric_limits<double>::max();
    for (std::size_t i = 0; i < points.size(); ++i) {
      const double dx = from.x - points[i].x;
      const double dy = from.y - points[i].y;
      const double dz = from.z - points[i].z;
      const double square = dx * dx + dy * dy + dz * dz;
      if (square < least) {
        least = square;
        best = i;
      }
    }
    return std::sqrt(least) <= 1'000 ? best : count;
  };
  for (int i = 0; i < 100; ++i) {
    const double lat = latitude(random);
    const double lng = longitude(random);
    const std::size_t expected = bare(spacePoint(lat, lng));
    require(list->closestTo(lat, lng, 1'000) == (expected < count ? stations[expected] : nullptr),
            "the nearest");
  }
  // Another place each time, or the processor learns by heart which stations are nearer.
  const auto source = std::make_shared<std::mt19937_64>(5);
  const auto next = [source] { return 15 + static_cast<double>((*source)() % 5'500) / 100; };
  addPair({.name = "the nearest of 2,500 stations",
           .library = {.run =
                           [=] {
                             auto found = list->closestTo(next(), -120, 1'000);
                             benchmark::DoNotOptimize(found);
                           }},
           .reference = {.run =
                             [=] {
                               auto found = bare(spacePoint(next(), -120));
                               benchmark::DoNotOptimize(found);
                             }},
           .ratioAtMost = 1.2});
}

}  // namespace

void addOceanObservationPairs() {
  addDiskHit("in memory", "/dev/shm");
  addDiskHit("on disk", workPlace());
  addGrid();
  addNearest();
}

}  // namespace marlune::bench
