#include "services/StationLists.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <string>
#include <utility>

#include "services/Harmonics.h"
#include "services/ResourceFiles.h"
#include "support/TemporaryFolder.h"

namespace marlune::services {
namespace {

std::string shipped(StationList list) {
  return resourceFile(stationsFileName(list));
}

// As NOAA answers: members beyond those that are read, and a count.
std::string noaaList(const std::string& stations, int count) {
  return R"({"count":)" + std::to_string(count) + R"(,"units":null,"stations":[)" + stations + "]}";
}

// `first` may repeat a member, and then the first one holds.
std::string noaaStation(const std::string& first) {
  return R"({"tidal":true,)" + first + R"("state":"CA","id":"9414290","name":"San Francisco",)" +
         R"("lat":37.806305,"lng":-122.46589,"sensors":{"self":"https://x/sensors.json"}})";
}

std::string stream(const std::string& properties, const std::string& coordinates) {
  return R"({"type":"Feature","geometry":{"type":"Point","coordinates":)" + coordinates +
         R"(},"properties":{)" + properties + R"("Id":"SN017B","Name":"Hurst"}})";
}

std::string streams(const std::string& features) {
  return R"({"type":"FeatureCollection","features":[)" + features + "]}";
}

TEST(StationLists, readsTheServicesOwnForms) {
  const std::string expanded =
      R"("id":"1","sensors":{"sensors":[{"name":"Winds"},{"name":"Air Temperature"}]},)";
  const std::string noaa = noaaList(noaaStation("") + "," + noaaStation(expanded), 2);
  const ListedStation plain{"9414290", "San Francisco", 37.806305, -122.46589};
  ListedStation other = plain;
  other.id = "1";
  for (const StationList list : {StationList::wind, StationList::airTemperature})
    EXPECT_EQ(readStations(list, "\xEF\xBB\xBF" + noaa).stations, (std::vector{other, plain}));
  const StationsRead water = readStations(StationList::waterTemperature, noaa);
  EXPECT_EQ(water.stations, (std::vector{plain}));
  ASSERT_EQ(water.problems.size(), 1U);
  EXPECT_NE(water.problems[0].find("no such sensor"), std::string::npos);
  EXPECT_EQ(readStations(StationList::streams, streams(stream("", R"(["-1.57",50.7,0])"))).stations,
            (std::vector<ListedStation>{{"SN017B", "Hurst", 50.7, -1.57}}));
}

TEST(StationLists, leavesOutWhatMakesNoStation) {
  const struct {
    StationList list;
    std::string station;
    const char* problem;
  } cases[] = {
      {StationList::wind, "17", "has no code"},
      {StationList::wind, noaaStation(R"("id":"../x",)"), "has no code"},
      {StationList::wind, noaaStation(R"("name":" ",)"), "has no name"},
      {StationList::wind, noaaStation(R"("lng":-180.5,)"), "nowhere on earth"},
      {StationList::wind, noaaStation(R"("sensors":{"sensors":[]},)"), "no such sensor"},
      {StationList::currents, noaaStation(R"("bin":"1",)"), "has no bin"},
      {StationList::streams, stream("", "[50]"), "has no place"},
      {StationList::streams, stream(R"("StationType":"TidalPortStandardHarmonic",)", "[0,50]"), "no tidal"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.station);
    const bool gb = c.list == StationList::streams;
    const std::string good = gb ? stream("", "[0,50]") : noaaStation(R"("bin":3,)");
    const std::string all = c.station + "," + good + "," + good;
    const StationsRead read = readStations(c.list, gb ? streams(all) : noaaList(all, 3));
    EXPECT_EQ(read.stations.size(), 1U);
    ASSERT_EQ(read.problems.size(), 2U) << read.error;
    EXPECT_NE(read.problems[0].find(c.problem), std::string::npos) << read.problems[0];
    EXPECT_NE(read.problems[1].find("its code is another's"), std::string::npos) << read.problems[1];
  }
}

TEST(StationLists, theShippedFilesAreWhatTheToolsWriteOfUsableStations) {
  const std::pair<StationList, std::size_t> lists[] = {{StationList::waterTemperature, 226},
                                                       {StationList::airTemperature, 260},
                                                       {StationList::wind, 238},
                                                       {StationList::streams, 118},
                                                       {StationList::currents, 1834}};
  for (const auto& [list, count] : lists) {
    SCOPED_TRACE(stationsFileName(list));
    const std::string text = fileText(shipped(list));
    const StationsRead read = readStations(list, text);
    EXPECT_TRUE(read.error.empty() && read.problems.empty());  // so ids, with their bins, are unique
    EXPECT_EQ(read.stations.size(), count);
    EXPECT_TRUE(stationsDocument(list, read.stations) == text) << "run the tool on it";
    for (const ListedStation& station : read.stations)
      EXPECT_TRUE(list != StationList::streams || station.id.starts_with("own-"))
          << "looks like a number of the service's own";
  }
}

TEST(StationLists, currentsAreThoseOfTheDataWithTheShallowestBinFirst) {
  std::vector<std::string> problems;
  const auto stations = currentStations(harmonics(), problems);
  EXPECT_TRUE(problems.empty());
  EXPECT_TRUE(stationsDocument(StationList::currents, stations) == fileText(shipped(StationList::currents)));
  std::map<std::string, ListedStation> first;
  for (const ListedStation& station : stations) first.emplace(station.id, station);
  EXPECT_EQ(first.size(), 978U);
  EXPECT_EQ(first["PUG1515"],
            (ListedStation{"PUG1515", "West Point, west of, Puget Sound", 47.66207, -122.44168, 15}));
  EXPECT_EQ(first["ACT3401"].bin, 1) << "at Hell Gate, where the data hold squares";
}

TEST(MakeObservationStations, writesWholeListsOnly) {
  const testing::TemporaryFolder folder;
  const auto run = [&](const std::string& arguments) {
    const std::string command = std::string(MARLUNE_MAKE_OBSERVATION_STATIONS) + " " + folder.path() + " " +
                                arguments + " > /dev/null 2> " + (folder / "said");
    return WEXITSTATUS(std::system(command.c_str()));
  };
  const auto save = [&](const char* name, const std::string& text) {
    std::ofstream(folder / name, std::ios::binary) << text;
    return folder / name;
  };
  const std::string list = noaaList(noaaStation("") + ",{}", 2);
  EXPECT_EQ(run("--water-temperature " + save("water", list) + " --wind " + shipped(StationList::wind) +
                " --streams " + shipped(StationList::streams)),
            0);
  EXPECT_NE(fileText(folder / "said").find("left out: station 2"), std::string::npos);
  for (const StationList same : {StationList::wind, StationList::streams})
    EXPECT_TRUE(fileText(folder / std::string(stationsFileName(same))) == fileText(shipped(same)));
  const std::string made = fileText(folder / "water_temp_stations_usa.json");
  EXPECT_EQ(readStations(StationList::waterTemperature, made).stations.size(), 1U);

  for (const std::string& water : {noaaList(noaaStation(""), 2), "{\"stations\":" + std::string(50000, '['),
                                   std::string("[{}]"), fileText(shipped(StationList::streams))})
    EXPECT_EQ(run("--water-temperature " + save("water", water)), 1) << water.substr(0, 100);
  EXPECT_EQ(run("--streams " + shipped(StationList::wind)), 1);
  EXPECT_TRUE(fileText(folder / "water_temp_stations_usa.json") == made) << "a failure leaves what is there";
}

}  // namespace
}  // namespace marlune::services
