#include "marlune/providers/TideDataProviderAus.h"

#include <map>

#include "marlune/providers/TideDataArchiver.h"
#include "providers/ProviderTest.h"

namespace marlune::testing {
namespace {

constexpr const char* kId = "NSW_TP007";
constexpr const char* kAddress = "https://archives.test/a/2024/IDO59001_2024_NSW_TP007.archive";
constexpr const char* kName = "2024NSW_TP007.archive";

/// The provider over fakes, at noon of 2024-05-15 UTC, with a station in Sydney.
class AusTest : public ProviderTest {
 protected:
  AusTest() {
    fake.settings.australianArchiveBaseURL = "https://archives.test/a/";
    fake.resources->files.insert_or_assign("stations_australia.json", R"({"features":[]})");
    station->stationId = kId;
    station->timezoneName = "Australia/Sydney";
    provider = makeAus();
  }

  std::unique_ptr<TideDataProviderAus> makeAus() {
    FavoriteHooks hooks;
    hooks.load = [this] { ++favoriteLoads; };
    return std::make_unique<TideDataProviderAus>(fake.host(), files, months, nullptr, hooks);
  }

  static Bytes forecast(int perMonth, double level = 1.5, int lastMonth = 12, int late = 0) {
    return bureauForecast(perMonth, "Australia/Sydney", level, lastMonth, late);
  }
  static const Bytes& packed(const Bytes& xml) {
    static std::map<Bytes, Bytes> known;  // to pack well takes its time
    auto& archive = known[xml];
    if (archive.empty()) archive = TideDataArchiver::archive(xml).value();
    return archive;
  }

  void keepArchive(const Bytes& bytes) {
    ASSERT_TRUE(files->saveFileInContainer(kGroupContainerName, kName, bytes));
  }
  Data keptArchive() { return files->loadFileInContainer(kGroupContainerName, kName); }
  int favoriteLoads = 0;
};

TEST_F(AusTest, NamesPlacesAndProducts) {
  const auto lorne = provider->getDefaultTideStation();
  EXPECT_EQ(lorne->stationId, "VIC_TP002");
  EXPECT_FALSE(lorne->country);
  EXPECT_TRUE(provider->tideLevelUnitInMeters() && provider->defaultUnitIsMeters());
  EXPECT_EQ(provider->fileNameForStation("VIC_TP002", 2025), "2025VIC_TP002.archive");
  EXPECT_EQ(provider->getTideDataEndpointForStation(station, 2024), kAddress);
  const struct {
    const char* id;
    std::optional<std::string> area;
    const char* product;
  } cases[] = {{"QLD_TS001", "IDO59001", "IDO59002"},
               {"VIC_TS001", std::nullopt, "IDO59002"},
               {"VIC_TP002", "IDO7", "IDO7"},
               {"VIC_TP002", "", "IDO59001"}};
  for (const auto& c : cases) {
    station->stationId = c.id;
    station->stationAreaId = c.area;
    EXPECT_EQ(provider->getTideDataEndpointForStation(station, 2025),
              fmt::format("https://archives.test/a/2025/{}_2025_{}.archive", c.product, c.id));
  }
  fake.settings.australianArchiveBaseURL.clear();
  EXPECT_EQ(makeAus()->getTideDataEndpointForStation(lorne, 2025),
            "https://archives.marlune.example/2025/IDO59001_2025_VIC_TP002.archive");
  fake.clock->set(dateFromSeconds(1'735'646'400));  // 2024-12-31 12:00 UTC
  EXPECT_EQ(provider->yearsForFavoriteDownload(), std::vector<std::string>{"2024"});
  fake.deviceTimeZone = TimeZone::named("Pacific/Kiritimati");
  EXPECT_EQ(makeAus()->yearsForFavoriteDownload(), std::vector<std::string>{"2025"});
}

TEST_F(AusTest, LoadsThePortsOnceAndFavouritesInEveryCase) {
  fake.resources->files.insert_or_assign("stations_australia.json", R"(﻿{"features": [
    {"type": "Feature", "properties": {"AAC": "A", "PORT_NAME": "Ay", "TIME_ZONE": "Australia/Perth",
      "STATE_NAME": "WA", "LAT": -31, "LON": "115.5 E", "NOTES": null}, "geometry": {"coordinates": [0]}},
    {"type": "Feature", "properties": {"AAC": 7, "PORT_NAME": "No code", "STATE_NAME": "WA"}},
    {"type": "Feature", "properties": {"AAC": "B", "PORT_NAME": null, "STATE_NAME": "WA", "LAT": true, "LON": 1e999}},
    {"type": "Feature", "properties": {"AAC": "C", "PORT_NAME": "No state"}},
    {"type": "Other", "properties": {"AAC": "D", "STATE_NAME": "WA"}},
    {"type": "Feature", "properties": [1]}, {"type": "Feature"}, 5]})");
  EXPECT_EQ(provider->getAllTideStations().size(), 2U);
  const auto port = provider->getTideStationById("A");
  ASSERT_TRUE(port);
  EXPECT_EQ(port->stationName, "Ay");
  EXPECT_EQ(port->timezoneName, "Australia/Perth");
  EXPECT_EQ(port->coordinate.latitude, -31);
  EXPECT_EQ(port->coordinate.longitude, 115.5);
  EXPECT_EQ(favoriteLoads, 1);

  expectLog("Json file error. ");
  for (const char* text : {"[{\"features\":[]}]", "{\"features\":{}}", "{\"features\":[]"}) {
    fake.resources->files.insert_or_assign("stations_australia.json", text);
    const int before = favoriteLoads;
    const auto other = makeAus();
    EXPECT_TRUE(other->getAllTideStations().empty());
    fake.resources->files.insert_or_assign("stations_australia.json", R"({"features":[{"type":"Feature"}]})");
    other->loadStationData();
    EXPECT_EQ(favoriteLoads, before + 1) << "loaded once, also when that failed";
  }
  fake.resources->files.erase("stations_australia.json");
  EXPECT_TRUE(makeAus()->getAllTideStations().empty());
  EXPECT_EQ(fake.log->lines().size(), 2U) << "one that is no JSON, one missing";
}

TEST_F(AusTest, KeepsAnArchiveFrom51BytesOnAndHandsOutWhatIsInIt) {
  const Bytes xml = forecast(40);
  const struct {
    Bytes body;
    bool isKept;
    bool opens;
  } cases[] = {{Bytes(50, 'x'), false, false}, {Bytes(51, 'x'), true, false}, {packed(xml), true, true}};
  for (const auto& c : cases) {
    fake.http->script(kAddress, answerOf(c.body, 404));
    Data got = makeData("not called");
    provider->loadDataAtURL(kAddress, kName, [&](Data data) { got = std::move(data); });
    EXPECT_EQ(keptArchive() != nullptr, c.isKept);
    ASSERT_EQ(got != nullptr, c.opens);
    EXPECT_EQ(got ? *got : xml, xml);
    const auto posted = seen.take();
    ASSERT_EQ(posted.size(), 1U);
    EXPECT_EQ(posted[0].name, c.isKept ? "downloadedTideData" : "downloadTideDataFailed");
  }
  EXPECT_EQ(provider->loadDataAtFilePath(kName), provider->loadDataAtFilePath(kName)) << "opened once";
  EXPECT_FALSE(provider->loadDataAtFilePath("../" + std::string(kName)));
}

TEST_F(AusTest, SeedsTheArchiveOf2024) {
  fake.clock->set(dateAt(2031, 1, 1));
  provider->saveDefaultStationFileFromBundle();
  EXPECT_FALSE(files->fileExistsInContainer(kGroupContainerName, "2024VIC_TP002.archive"));
  for (const char* bytes : {"the archive", "another"}) {
    fake.resources->files.insert_or_assign("2024VIC_TP002.archive", bytes);
    provider->saveDefaultStationFileFromBundle();
    EXPECT_EQ(*files->loadFileInContainer(kGroupContainerName, "2024VIC_TP002.archive"), "the archive");
  }
}

TEST_F(AusTest, AYearFillsEveryMonthByTheStationsClock) {
  keepArchive(packed(forecast(40)));
  EXPECT_TRUE(provider->populateCacheForStation(station, 2024, 5));
  for (int month = 1; month <= 12; ++month) EXPECT_EQ(inMemory(2024, month), 40U) << month;
  EXPECT_EQ(provider->getTideData(kId, 2024, 10)->front().timestamp, at(2024, 9, 30, 14))
      << "AEST up to 6 October";
  // The month file holds what was parsed, and gives every month back.
  EXPECT_EQ(months->cachedEvents(kId, 2024, 5)->size(), 480U);
  ASSERT_TRUE(files->removeFileInContainer(kGroupContainerName, kName));
  provider = makeAus();
  EXPECT_TRUE(provider->populateCacheForStation(station, 2024, 5));
  EXPECT_EQ(inMemory(2024, 5), 40U);
  EXPECT_EQ(inMemory(2024, 11), 40U);
  const auto events = provider->getTideDataByTimestamp(station, at(2024, 5, 1), at(2024, 5, 2));
  ASSERT_TRUE(events);
  EXPECT_EQ(events->size(), 4U);
  EXPECT_TRUE(events->front().tideLevelInMeters);
  expectLog("Nil parameter passed to getHighLowTideDataFromNSData");
  EXPECT_FALSE(provider->getHighLowTideDataFromNSData(nullptr, station, 2024, 1));
}

TEST_F(AusTest, TheFirstRangeFetchAlreadyHoldsEvents) {
  fake.http->script(kAddress, answerOf(packed(forecast(40))));
  EXPECT_EQ(fetched(dateAt(2024, 4, 30), dateAt(2024, 5, 2)), 6)
      << "May begins at 14:00 UTC, and April has events in its first days only";
  EXPECT_EQ(*keptArchive(), packed(forecast(40))) << "kept as it came";
  EXPECT_EQ(fake.http->requests().size(), 1U);
}

TEST_F(AusTest, AMonthRequestJudgesTheForecastNotTheArchive) {
  const Bytes whole = forecast(31);
  ASSERT_LT(packed(whole).size(), 2500U);
  keepArchive(packed(whole));
  provider->beginGetHighLowTideData(station, dateAt(2024, 5, 15), nullptr, true);
  EXPECT_EQ(settled().back().name, "TideData_FetchHighLowTideCompleted");
  EXPECT_EQ(inMemory(2024, 5), 31U);
  EXPECT_TRUE(keptArchive());

  // What older versions left in the documents folder moves and is opened there.
  provider = makeAus();
  ASSERT_TRUE(files->removeFileInContainer(kGroupContainerName, kName));
  ASSERT_TRUE(files->saveFile(kName, packed(whole)));
  provider->beginGetHighLowTideData(station, dateAt(2024, 5, 15), nullptr, true);
  ASSERT_TRUE(fake.settle());
  EXPECT_EQ(inMemory(2024, 5), 31U);
  EXPECT_FALSE(files->fileExists(kName));

  // A forecast below 2500 bytes is none, and is fetched again.
  allowLog("Nil parameter");
  provider = makeAus();
  keepArchive(packed(Bytes("<product>") + Bytes(2400, ' ') + "</product>"));
  fake.http->script(kAddress, answerOf(packed(forecast(35))));
  provider->beginGetHighLowTideData(station, dateAt(2024, 5, 15), nullptr, true);
  ASSERT_TRUE(fake.settle());
  EXPECT_EQ(inMemory(2024, 5), 35U);
}

TEST_F(AusTest, ARefreshReplacesEveryMonthThatItFills) {
  keepArchive(packed(forecast(40)));
  ASSERT_TRUE(provider->populateCacheForStation(station, 2024, 5));
  fake.http->script(kAddress, answerOf(packed(forecast(40, 2.0, 6, 60))));
  provider->queueRefreshDataTaskForStation(station);
  ASSERT_TRUE(fake.settle());
  for (const int month : {1, 5, 6, 7}) {
    EXPECT_EQ(inMemory(2024, month), 40U) << month << ": no event stands beside an older one";
    EXPECT_EQ(provider->getTideData(kId, 2024, month)->back().tidelevel, month < 7 ? 2.0 : 1.5);
  }
  EXPECT_FALSE(months->cachedEvents(kId, 2024, 5));

  // What is no archive leaves the months in memory.
  fake.http->script(kAddress, answerOf("<Error><Code>NoSuchKey</Code>" + Bytes(300, ' ') + "</Error>", 404));
  provider->queueRefreshDataTaskForStation(station);
  EXPECT_EQ(settled().back().name, "kMainModelTideDataDownloadFailed");
  EXPECT_EQ(inMemory(2024, 5), 40U);
}

}  // namespace
}  // namespace marlune::testing
