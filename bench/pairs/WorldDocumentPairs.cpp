#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <malloc.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "marlune/base/Data.h"
#include "marlune/formats/JsonReaders.h"
#include "marlune/global/GlobalTides.h"
#include "marlune/global/TidePoints.h"
#include "pairs/JsonParse.h"
#include "pairs/Pairs.h"
#include "support/Measure.h"

// The answers of the worldwide service, decoded and converted.

namespace marlune::bench {

namespace {

/// Points as the service sends them: some without a name, a city or a zone.
Bytes pointsDocument(int count) {
  constexpr std::string_view zones[] = {"America/Los_Angeles", "Europe/London", "Asia/Tokyo",
                                        "Australia/Sydney"};
  Bytes text = "[";
  for (int i = 0; i < count; ++i) {
    text += fmt::format(R"({}{{"id":{},"lat":{:.4f},"lon":{:.4f})", i == 0 ? "" : ",", 100'000 + i,
                        i * 37 % 14'000 / 100.0 - 70, i % 3600 / 10.0 - 180);
    if (i % 8 != 0) text += fmt::format(R"(,"name":"Harbour of Place {}")", i);
    if (i % 4 != 0) text += fmt::format(R"(,"city":"Region {}")", i % 300);
    text += fmt::format(R"(,"country":"Country {}")", i % 90);
    if (i % 10 != 0) text += fmt::format(R"(,"timezone":"{}")", zones[i % 4]);
    text += "}";
  }
  return text + "]";
}

Bytes yearDocumentOfEvents() {
  Bytes text = R"({"source":"bench","level_in_meters":true,"tide_events":[)";
  for (int i = 0; i < 1410; ++i) {
    text += fmt::format(R"({}{{"time":"2026-{:02}-{:02}T{:02}:{:02}:00Z","level":{:.3f},"is_high":{}}})",
                        i == 0 ? "" : ",", i / 4 % 336 / 28 + 1, i / 4 % 28 + 1, i % 4 * 6, i * 37 % 60,
                        (i * 31 % 4000) / 1000.0, i % 2 == 0);
  }
  return text + "]}";
}

using Stations = std::vector<std::shared_ptr<TideStation>>;

/// In a process that goes on asking, or in one that asks for the first time: there the memory is fresh from
/// the system. Lists of different length compare only so, because of long ones the memory is never kept.
enum class Asked { again, first };

Side decoding(const std::shared_ptr<const Bytes>& text, std::size_t count, Asked asked) {
  const auto readers = std::make_shared<std::unique_ptr<JsonReaders>>(std::make_unique<JsonReaders>());
  const auto stations = std::make_shared<Stations>();
  const auto run = [=] { *stations = tide_points::stationsOf(*text, **readers).value_or(Stations()); };
  run();
  require(stations->size() == count && stations->back()->stationId->starts_with("global_"), "every point");
  require(stations->at(8)->stationName->find("°") != std::string::npos && !stations->at(8)->hasResolvedName,
          "a label in place of a name");
  // What the run before made is given back outside the timing.
  return {.run = run, .prepare = [=] {
            stations->clear();
            stations->shrink_to_fit();
            if (asked == Asked::again) return;
            *readers = std::make_unique<JsonReaders>();
            ::malloc_trim(0);
          }};
}

}  // namespace

void addWorldDocumentPairs() {
  const auto points = std::make_shared<const Bytes>(pointsDocument(12'000));
  const auto many = std::make_shared<const Bytes>(pointsDocument(120'000));
  const auto year = std::make_shared<const Bytes>(yearDocumentOfEvents());
  const auto parser = std::make_shared<JsonParse>();
  require(parser->parse(*points) && parser->parse(*year), "the reference reads the documents");
  addPair({.name = "worldwide points: decoded",
           .library = decoding(points, 12'000, Asked::again),
           .reference = {.run = [=] { parser->parse(*points); }},
           .ratioAtMost = 2.5,
           .bytes = points->size()});
  addPair({.name = "worldwide points: ten times more",
           .library = decoding(many, 120'000, Asked::first),
           .reference = decoding(points, 12'000, Asked::first),
           .ratioAtMost = 12});
  const auto readers = std::make_shared<JsonReaders>();
  require(global_tides::eventsOf(*year, *readers).size() == 1410, "every event of the year");
  addPair({.name = "worldwide year: decoded",
           .library = {.run =
                           [=] {
                             auto events = global_tides::eventsOf(*year, *readers);
                             benchmark::DoNotOptimize(events.data());
                           }},
           .reference = {.run = [=] { parser->parse(*year); }},
           .bytes = year->size()});
}

}  // namespace marlune::bench
