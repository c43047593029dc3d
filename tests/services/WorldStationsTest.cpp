#include "services/WorldStations.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "services/Harmonics.h"
#include "services/ResourceFiles.h"
#include "services/TidePredictor.h"
#include "support/TemporaryFolder.h"

namespace marlune::services {
namespace {

const std::string kFile = resourceFile(WorldStations::kFileName);

const WorldStations& world() {
  static const WorldStations stations = [] {
    std::string error;
    auto loaded = WorldStations::load(kFile, harmonics(), error);
    if (!loaded) throw std::runtime_error(error);
    return std::move(*loaded);
  }();
  return stations;
}

const WorldStation* find(const WorldStations& stations, std::string_view key) {
  for (const WorldStation& station : stations.stations())
    if (station.key == key) return &station;
  return nullptr;
}

// npm packages @neaps/tide-predictor 0.11.0 and @neaps/tide-database 0.10.20260924, all of a station's
// constants as the package has them, on 2 July 2026, where yearly and daily node factors meet.
// clang-format off
const std::map<std::string, std::vector<TideExtreme>> kIndependentFigures = {
    {"ticon/newlyn-new-gbr-bodc",
     {{1782951920, 1.123, false}, {1782971693, 4.692, true}, {1782995685, 1.167, false}, {1783015870, 4.942, true}}},
    {"ticon/fort_denison-333-aus-uhslc_fd",
     {{1782969562, 0.537, false}, {1782993096, 1.709, true}, {1783017537, 0.348, false}, {1783038980, 1.223, true}}},
    {"ticon/valparaiso-081-chl-uhslc_fd",
     {{1782964046, 0.750, true}, {1782983345, 0.177, false}, {1783007210, 1.301, true}, {1783032133, 0.055, false}}},
    {"kartverket/BGO",
     {{1782969281, 0.433, false}, {1782991625, 1.438, true}, {1783012350, 0.483, false}, {1783035306, 1.501, true}}},
    {"noaa/9413745",
     {{1782951856, 0.890, false}, {1782973813, 1.651, true}, {1783001015, -0.181, false}, {1783026861, 1.098, true}}},
};
// clang-format on

TEST(WorldStations, predictionsAgreeWithFiguresMadeByOthers) {
  const TidePredictor predictor(harmonics());
  for (const auto& [key, expected] : kIndependentFigures) {
    SCOPED_TRACE(key);
    const WorldStation* station = find(world(), key);
    ASSERT_NE(station, nullptr);
    const auto got = predictor.extremes(world().harmonics(*station), expected.front().time - 900,
                                        expected.back().time + 900);
    ASSERT_EQ(got.size(), expected.size());
    // The seasonal constituents of Norway have no equal here: a tenth of a metre at Bergen.
    const double metres = key == "kartverket/BGO" ? 0.12 : 0.03;
    for (std::size_t i = 0; i < got.size(); ++i) {
      EXPECT_EQ(got[i].high, expected[i].high);
      EXPECT_NEAR(static_cast<double>(got[i].time), static_cast<double>(expected[i].time), 240) << i;
      EXPECT_NEAR(got[i].level, expected[i].level, metres) << i;
    }
  }
}

TEST(WorldStations, theShippedTableIsSound) {
  std::set<std::int64_t> ids;
  for (const WorldStation& station : world().stations()) {
    SCOPED_TRACE(station.key);
    EXPECT_GT(station.id, 0);
    EXPECT_TRUE(ids.insert(station.id).second);
    EXPECT_TRUE(std::filesystem::is_regular_file("/usr/share/zoneinfo/" + station.zoneOrNautical()));
  }
  EXPECT_GT(ids.size(), 5000U);
  for (const WorldSource& source : world().sources()) {
    EXPECT_EQ(source.licence.find("nc"), std::string::npos) << source.name;
    EXPECT_FALSE(source.notice.empty()) << source.name;
  }
  // No line was left out as damaged.
  std::ifstream in(kFile, std::ios::binary);
  std::size_t lines = 0;
  for (std::string line; std::getline(in, line);)
    lines += line.starts_with("p~") || line.starts_with("o~") ? 1U : 0U;
  EXPECT_EQ(lines, ids.size());
}

const std::string kHead =
    "marlune world stations 1\ns~Agency~free~https://example.org~notice\nc~M2~NONE~S2\n";
const std::string kTable = kHead +
                           "p~a/one~10~179.9~One~~~Pacific/Fiji~0~LAT~1.5~1000,90;7,1;500,270.5\n"
                           "p~noaa/1234567~-80~20.5~~City~Land~~0~MSL~0~300,10\n"
                           "o~a/two~10~-179.8~Two~~~~0~a/one~-30,1.1,0~15,1,-0.2\n";

class WorldTableTest : public ::testing::Test {
 protected:
  std::optional<WorldStations> load(const std::string& text) {
    std::ofstream(file, std::ios::binary) << text;
    return WorldStations::load(file, harmonics(), error);
  }

  const marlune::testing::TemporaryFolder folder;
  const std::string file = folder / "world_stations.txt";
  std::string error;
};

TEST_F(WorldTableTest, damagedLinesAreLeftOutAlone) {
  EXPECT_FALSE(load("marlune world stations 2\n"));
  for (const char* line :
       {"p~k~91~0~n~c~l~z~0~LAT~0~1,1", "p~k~0~0~n~c~l~../etc/passwd~0~LAT~0~1,1",
        "p~k~0~0~n~c~l~z~0~LAT~0~1,1;1,1;1,1;1,1", "p~k~0~0~n~c~l~z~0~LAT~0~inf,1", "p~k~0~0~n~c~l~z~0~LAT~0",
        "o~k~0~0~n~c~l~z~0~a/none~0,1,0~0,1,0", "o~k~0~0~n~c~l~z~0~a/one~1e99,1,0~0,1,0",
        "p~a/one~5~5~again~c~l~z~0~LAT~0~1,1", "x~y"}) {
    const auto table = load(kTable + line + "\n");
    ASSERT_TRUE(table) << line;
    EXPECT_EQ(table->stations().size(), 3U) << line;
    EXPECT_EQ(table->stations()[0].latitude, 10) << line;
  }
}

}  // namespace
}  // namespace marlune::services
