#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <cmath>
#include <cstdint>
#include <fstream>
#include <memory>
#include <numbers>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "marlune/formats/JsonReaders.h"
#include "marlune/geo/SpacePoint.h"
#include "marlune/ocean/noaa/CurrentsOfDays.h"
#include "marlune/ocean/source/NearestStationMemo.h"
#include "marlune/ocean/ukho/UKHOStreamStation.h"
#include "marlune/platform/linux/files/LinuxFileSystem.h"
#include "pairs/Pairs.h"
#include "simdjson.h"
#include "support/Measure.h"
#include "support/Subjects.h"

// Currents: what lies on the disk becomes a record, and the nearest station is found.

namespace marlune::bench {

namespace {

using namespace current_predictions;

constexpr std::int64_t january = 1'735'689'600;  // 2025
constexpr CurrentsPeriod month{january, january + 31 * CurrentsPeriod::day - 1};
constexpr int tide = 44'640;  // seconds

/// Predictions each six minutes, as the service makes them.
CurrentPredictions pointsOfMonth() {
  CurrentPredictions points;
  for (std::int64_t time = month.from; time <= month.to; time += 360) {
    const double phase = 2 * std::numbers::pi * static_cast<double>(time - month.from) / double{tide};
    const double speed = std::round(330 * std::sin(phase)) / 100;
    points.push_back({time, speed, 26, 212});
  }
  return points;
}

/// The slacks and greatest speeds that go with them.
CurrentPredictions listOfMonth() {
  CurrentPredictions list;
  int count = 0;
  for (std::int64_t time = month.from; time <= month.to; time += tide / 4, ++count) {
    constexpr const char* types[] = {"slack", "flood", "slack", "ebb"};
    constexpr double speeds[] = {0, 3.2, 0, -3.3};
    list.push_back({time, speeds[count % 4], 26, 212, types[count % 4]});
  }
  return list;
}

struct MonthOfFiles {
  WorkFolder folder{workPlace()};
  std::vector<std::string> paths;
  std::size_t bytes = 0;
  CurrentPredictions list = listOfMonth();
  JsonReaders readers;
  LinuxFileSystem files;
  simdjson::dom::parser parser;

  MonthOfFiles() {
    const CurrentPredictions points = pointsOfMonth();
    constexpr std::size_t aDay = 240;
    for (std::size_t at = 0; at < points.size(); at += aDay) {
      const std::string& path = paths.emplace_back(fmt::format("{}/{}.json", folder.path(), at));
      const std::string text = fileOf(points.data() + at, points.data() + at + aDay);
      std::ofstream(path) << text;
      bytes += text.size();
    }
  }

  std::shared_ptr<const OceanCurrentData> processed() {
    CurrentPredictions points;
    for (const auto& path : paths) addFile(files.read(path).value_or(Bytes()), readers, points);
    return CurrentsOfDays(std::move(points), list, month).within(month, 1, 2);
  }

  /// The least that any reading of them does.
  double walked() {
    double sum = 0;
    for (const auto& path : paths) {
      const Bytes bytesOfFile = files.read(path).value_or(Bytes());
      simdjson::dom::array entries;
      if (parser.parse(bytesOfFile).get(entries) != simdjson::SUCCESS) return 0;
      for (const simdjson::dom::element entry : entries) {
        simdjson::dom::object members;
        if (entry.get(members) != simdjson::SUCCESS) return 0;
        for (const auto& [key, value] : members) {
          double number = 0;
          std::string_view text;
          if (value.get(number) == simdjson::SUCCESS) sum += number;
          if (value.get(text) == simdjson::SUCCESS) sum += static_cast<double>(text.size());
          benchmark::DoNotOptimize(key.data());
        }
      }
    }
    return sum;
  }
};

void addMonth() {
  const auto files = std::make_shared<MonthOfFiles>();
  const auto record = files->processed();
  require(files->paths.size() == 31 && record && record->timeSeries.size() == 31 * 48, "a month of samples");
  require(record->events.size() == files->list.size() && record->events[2]->slackBegin, "its events");
  require(files->walked() > 31 * 240 * 16, "the reference reads the files");
  addPair({.name = "currents: a month from the disk",
           .library = {.run = [=] { benchmark::DoNotOptimize(files->processed().get()); }},
           .reference = {.run = [=] { benchmark::DoNotOptimize(files->walked()); }},
           .ratioAtMost = 1.5,
           .bytes = files->bytes});
  const auto days = std::make_shared<const CurrentsOfDays>(pointsOfMonth(), listOfMonth(), month);
  const CurrentsPeriod day{january + 10 * CurrentsPeriod::day - 21'600, january + 11 * CurrentsPeriod::day};
  require(days->within(day, 1, 2)->timeSeries.size() == 61, "thirty hours");
  addPair({.name = "currents: a day from memory",
           .library = {.run = [=] { benchmark::DoNotOptimize(days->within(day, 1, 2).get()); }},
           .reference = {.run = [=] { benchmark::DoNotOptimize(std::make_unique<TimeSeries>(61).get()); }},
           .microsecondsAtMost = 2});
}

void addNearestStation() {
  UKHOStreamStation::List stations;
  std::vector<SpacePoint> packed;
  for (int i = 0; i < 2500; ++i) {
    const double lat = 24 + i * 37 % 2500 * 0.01;
    const double lng = -125 + i * 53 % 2500 * 0.02;
    packed.push_back(spacePoint(lat, lng));
    stations.push_back(std::make_shared<const UKHOStreamStation>(
        UKHOStreamStation{std::to_string(i), "", lat, lng, packed.back()}));
  }
  const auto memo = std::make_shared<NearestStationMemo<UKHOStreamStation>>([stations] { return stations; });
  const auto bare = [packed](double lat, double lng) {
    const SpacePoint from = spacePoint(lat, lng);
    std::size_t best = packed.size();
    double least = 50.0 * 50.0;
    for (std::size_t i = 0; i < packed.size(); ++i) {
      const double x = from.x - packed[i].x;
      const double y = from.y - packed[i].y;
      const double z = from.z - packed[i].z;
      const double square = x * x + y * y + z * z;
      if (square < least) {
        least = square;
        best = i;
      }
    }
    return best;
  };
  const auto found = memo->search(37.8, -100.2);
  require(found && found == stations.at(bare(37.8, -100.2)), "both find the same station");
  addPair({.name = "current stations: nearest of 2,500",
           .library = {.run = [=] { benchmark::DoNotOptimize(memo->search(37.8, -100.2).get()); }},
           .reference = {.run = [=] { benchmark::DoNotOptimize(bare(37.8, -100.2)); }},
           .ratioAtMost = 1.2});
}

}  // namespace

void addOceanCurrentPairs() {
  addMonth();
  addNearestStation();
}

}  // namespace marlune::bench
