#include "marlune/providers/TideDataArchiver.h"
#include "marlune/providers/TideDataProviderAus.h"
#include "marlune/providers/TideDataProviderUK.h"
#include "marlune/tides/LevelUnits.h"
#include "providers/ProviderTest.h"

namespace marlune::testing {
namespace {

/// The worldwide provider with a port of each family: "0082" in England, "SYD" in Australia and "7" in the
/// United States, all in UTC.
class TideDataProviderUKTest : public ProviderTest {
 protected:
  TideDataProviderUKTest() {
    fake.settings.admiraltyBaseURL = "https://admiralty.test";
    fake.settings.australianArchiveBaseURL = "https://archives.test";
    fake.resources->files.insert_or_assign(
        "stations_uk.json",
        R"({"features":[{"type":"Feature","geometry":{"coordinates":[-0.1,50.8]},
            "properties":{"Id":"0082","Name":"Brighton","Country":"England"}}]})");
    fake.resources->files.insert_or_assign(
        "stations_australia.json",
        R"({"features":[{"type":"Feature","properties":{"AAC":"SYD","PORT_NAME":"Sydney","LAT":-33.9,
            "LON":151.2,"STATE_NAME":"New South Wales","TIME_ZONE":"UTC"}}]})");
    open();
  }
  void open() {
    const Host host = fake.host();
    provider = nullptr;
    provider = std::make_unique<TideDataProviderUK>(
        host, files, months, nullptr, FavoriteHooks{.load = [this] { ++favoriteLoads; }, .save = {}});
  }
  std::unique_ptr<TideDataProvider> unitedStatesBuild() {
    return std::make_unique<TideDataProvider>(fake.host(), files, months, nullptr);
  }
  void use(const char* id, const char* country) {
    provider->loadStationData();
    station = std::make_shared<TideStation>();
    station->stationId = id;
    station->country = country;
    station->timezoneName = "UTC";
  }
  void useEngland() { use("0082", "England"); }

  static std::string englishAddress(int year) {
    return fmt::format(
        "https://admiralty.test/uktidalapi-premium/api/V2/Stations/0082/"
        "TidalEventsForDateRange?StartDate={0}-01-01%2000:00:00&EndDate={0}-12-31%2000:00:00",
        year);
  }
  static std::string admiralty(int year, int perMonth, double height = 1.0) {
    std::string text = "[";
    for (int month = 1; month <= 12; ++month) {
      for (int i = 0; i < perMonth; ++i) {
        text += fmt::format(
            R"({}{{"EventType":"{}","DateTime":"{}-{:02}-{:02}T{:02}:00:00","IsApproximateTime":false,)"
            R"("Height":{}}})",
            text.size() > 1 ? "," : "", i % 2 == 0 ? "HighWater" : "LowWater", year, month, 2 + i / 24,
            i % 24, height);
      }
    }
    return text + "]";
  }
  static std::string archive() {
    return TideDataArchiver::archive(bureauForecast(31, "UTC", 1.5, 12, 60)).value();
  }
  static std::string gatewayPage(std::size_t size) {
    std::string page = R"({"statusCode":401,"message":"Access denied due to missing subscription key."})";
    page.resize(size, ' ');
    return page;
  }
  std::optional<TideDataProvider::Events> may() {
    return provider->tideEventsForStation(station, 2024, 5, at(2024, 5, 1), at(2024, 6, 1));
  }
  Data keptAs(std::string_view name) { return files->loadFileInContainer(kGroupContainerName, name); }

  int favoriteLoads = 0;
  /// Of every request; the key of these tests is empty.
  const std::vector<std::pair<std::string, std::string>> headers{{"Cache-Control", "no-cache"},
                                                                 {"Ocp-Apim-Subscription-Key", ""}};
};

TEST_F(TideDataProviderUKTest, TheCountryDecidesTheFamily) {
  const struct {
    const char* id;
    std::optional<std::string> country;
    std::string address, name, unloadedName;
  } cases[] = {
      {"SYD", "Australia", "https://archives.test/2025/IDO59001_2025_SYD.archive", "2025SYD.archive",
       "2025_SYD.json"},
      {"7", "United States",
       "http://tides.test/v1/tideapi.php?op=highlowtide&id=7&year=2025&version=1&format=xml", "20257.xml",
       "2025_7.json"},
      {"0082",
       {},
       "https://admiralty.test/uktidalapi-premium/api/V2/Stations/0082/"
       "TidalEventsForDateRange?StartDate=2025-01-01 00:00:00&EndDate=2025-12-31 00:00:00",
       "2025_0082.json",
       "2025_0082.json"},
  };
  for (const auto& c : cases) EXPECT_EQ(provider->fileNameForStation(c.id, 2025), c.unloadedName);
  for (const auto& c : cases) {
    use(c.id, "");
    station->country = c.country;
    EXPECT_EQ(provider->getTideDataEndpointForStation(station, 2025), c.address);
    EXPECT_EQ(provider->fileNameForStation(c.id, 2025), c.name);
  }
}

TEST_F(TideDataProviderUKTest, TheCatalogueIsThreeLists) {
  EXPECT_EQ(provider->getAllTideStations().size(), 4U);
  EXPECT_EQ(favoriteLoads, 1);
  EXPECT_EQ(provider->getTideStationById("SYD")->country, "Australia");
  fake.resources->files.insert_or_assign("stations_uk.json", "{\"features\":[");
  open();
  expectLog("Json file error. ");
  EXPECT_EQ(provider->getAllTideStations().size(), 3U);
  EXPECT_EQ(favoriteLoads, 2);
  EXPECT_EQ(*provider->getDefaultTideStation()->stationName, "Brighton Marina");
}

TEST_F(TideDataProviderUKTest, CutsAMonthWithItsMargins) {
  useEngland();
  station->timezoneName = "Europe/London";
  std::string text = "[";
  // The month ends in summer time, an hour ahead of UTC.
  for (const char* time : {"2025-02-27T23:59:59", "2025-02-28T00:00:00", "2025-04-01T22:59:00.5",
                           "2025-04-01T22:59:01", "no time"}) {
    text += fmt::format(R"({{"DateTime":"{}","Height":1}},)", time);
  }
  const Data data = makeData(text + "0]");
  const auto march = provider->getHighLowTideDataFromNSData(data, station, 2025, 3);
  ASSERT_EQ(march->size(), 2U);
  EXPECT_EQ(march->front().timestamp, 1'740'700'800);
  EXPECT_EQ(march->back().timestamp, 1'743'548'340);
  EXPECT_EQ(provider->getHighLowTideDataFromNSData(data, station, 1970, 1)->size(), 1U) << "the one at 0";

  expectLog("Json file error. ");
  EXPECT_FALSE(provider->getHighLowTideDataFromNSData(makeData("[{"), station, 2025, 3));
}

TEST_F(TideDataProviderUKTest, LevelsOfTheUnitedStatesAreMetresOnEveryPath) {
  use("7", "United States");
  const auto expectUnit = [&](TideDataProvider& who, bool metres, const char* where) {
    const auto events = who.getTideDataByTimestamp("7", at(2024, 5, 1), at(2024, 5, 30));
    ASSERT_TRUE(events && !events->empty()) << where;
    for (const TideEvent& event : *events) {
      EXPECT_EQ(event.tidelevel, metres ? 10 * 0.3048 : 10.0) << where;
      EXPECT_EQ(event.tideLevelInMeters, metres) << where;
    }
  };
  fake.http->script(address(2024), answerOf(document(2024, 31, 10)));
  EXPECT_DOUBLE_EQ(may()->front().tidelevel, 3.048);
  expectUnit(*provider, true, "downloaded");
  open();
  expectUnit(*provider, true, "from the year file");
  open();
  expectUnit(*provider, true, "from the month file in metres");
  auto other = unitedStatesBuild();
  expectUnit(*other, false, "the other build, from that month file");

  months->evictForStation("7");
  other = unitedStatesBuild();
  expectUnit(*other, false, "from the year file");
  open();
  expectUnit(*provider, true, "from the other build's month file");
}

TEST_F(TideDataProviderUKTest, FeetComeBackExactlyAndPointsKeepTheirUnit) {
  for (int thousandths = -5000; thousandths < 30'000; ++thousandths) {
    std::vector<TideEvent> events{TideEvent(1, thousandths / 1000.0, true)};
    for (const auto convert : {convertToMetres, convertToMetres, convertToFeet}) convert(events);
    ASSERT_EQ(events[0].tidelevel, thousandths / 1000.0);
  }
  use("global_1", "United States");
  station->isGlobal = true;
  TideEvent inMetres(at(2024, 5, 3), 2, true);
  inMetres.tideLevelInMeters = true;
  months->cacheEvents({TideEvent(at(2024, 5, 2), 2, true), inMetres}, "global_1", 2024, 5);
  const auto other = unitedStatesBuild();
  for (auto* const who : {provider.get(), other.get()}) {
    who->populateCacheForStation(station, 2024, 5);
    const auto list = who->getTideData("global_1", 2024, 5);
    ASSERT_TRUE(list && list->size() == 2);
    EXPECT_EQ(list->front(), TideEvent(at(2024, 5, 2), 2, true));
    EXPECT_EQ(list->back(), inMetres);
  }
  provider->fetchTideEventsForStation(station, dateAt(2024, 5, 1), dateAt(2024, 5, 4),
                                      [](const auto& events) { EXPECT_EQ(events->size(), 2U); });
  EXPECT_EQ(fetched(dateAt(2024, 8, 1), dateAt(2024, 8, 2)), -1);
  EXPECT_TRUE(fake.http->requests().empty()) << "a worldwide point is not asked of the Admiralty";
}

TEST_F(TideDataProviderUKTest, ADownloadComesBackLater) {
  for (const std::size_t size : {std::size_t{250}, std::size_t{251}}) {
    fake.http->script("https://x.test/a%20b", answerOf(gatewayPage(size), 401));
    provider->loadDataAtURL("https://x.test/a b", "name",
                            [&, size, once = completions.once("download")](const Data& data) {
                              EXPECT_EQ(data != nullptr, size == 251);
                              EXPECT_FALSE(fake.mainThread->isMainThread());
                              once();
                            });
    ASSERT_TRUE(fake.settle());
    EXPECT_EQ(keptAs("name") != nullptr, size == 251);
    EXPECT_EQ(seen.take().at(0).name, size == 251 ? "downloadedTideData" : "downloadTideDataFailed");
  }
  fake.http->hold("https://x.test/never");
  provider->loadDataAtURL("https://x.test/never", "never",
                          [once = completions.once("given up")](const Data& data) {
                            EXPECT_FALSE(data);
                            once();
                          });
  provider = nullptr;
  completions.verify();
}

TEST_F(TideDataProviderUKTest, WhoNeedsTheYearAtOnceWaitsForIt) {
  useEngland();
  fake.http->script(englishAddress(2024), answerOf(admiralty(2024, 31)));
  EXPECT_EQ(may()->size(), 31U);
  EXPECT_EQ(keptAs("2024_0082.json")->size(), admiralty(2024, 31).size());
  EXPECT_EQ(provider->loadTideEventsForStation(station, dateAt(2024, 5, 2))->size(), 25U);

  // Also on the thread that the completions of downloads need.
  fake.http->script(englishAddress(2025), answerOf(admiralty(2025, 31)));
  fake.http->script("https://x.test/", answerOf(gatewayPage(251)));
  std::optional<TideDataProvider::Events> events;
  provider->loadDataAtURL("https://x.test/", "x", [&, once = completions.once("download")](const Data&) {
    events = provider->tideEventsForStation(station, 2025, 5, 0, at(2026, 1, 1));
    once();
  });
  ASSERT_TRUE(fake.settle());
  EXPECT_EQ(events->size(), 31U);
}

TEST_F(TideDataProviderUKTest, ARangeIsFetchedOnceAndOvercomesWhatLiesThere) {
  useEngland();
  allowLog("[TideDataCache] Error: Nil parameter passed to addTideData");
  const auto range = [&] { return fetched(dateAt(2024, 5, 1), dateAt(2024, 6, 30)); };
  fake.http->script(englishAddress(2024), answerOf(gatewayPage(300), 401));
  EXPECT_EQ(range(), -1);
  EXPECT_EQ(keptAs("2024_0082.json")->size(), 300U);
  EXPECT_FALSE(may()) << "nor is the page taken for a year";
  // Month files that hold but the margins of their neighbours.
  months->cacheEvents({TideEvent(at(2024, 4, 30), 9, true)}, "0082", 2024, 5);
  months->cacheEvents({TideEvent(at(2024, 7, 1), 9, true)}, "0082", 2024, 6);
  fake.http->script(englishAddress(2024), answerOf(admiralty(2024, 31)));
  EXPECT_EQ(range(), 62);
  EXPECT_EQ(months->cachedEvents("0082", 2024, 6)->size(), 31U);
  const auto asked = fake.http->requests().size();
  for (const auto& request : fake.http->requests()) EXPECT_EQ(request.headers, headers);
  EXPECT_EQ(range(), 62);
  EXPECT_EQ(fetched(dateAt(2024, 5, 2, 12), dateAt(2024, 5, 2, 12)), 1) << "one event is an answer here";
  EXPECT_EQ(fake.http->requests().size(), asked);

  // A page that comes in place of a year hides nothing of what is known.
  fake.http->script(englishAddress(2024), answerOf(gatewayPage(300), 401));
  EXPECT_EQ(fetched(dateAt(2024, 5, 20), dateAt(2024, 5, 21)), -1);
  EXPECT_EQ(range(), 62);

  // The first days of a year are not among the bytes of the year before.
  fake.http->script(englishAddress(2024), answerOf(admiralty(2024, 31)));
  months->evictForStation("0082");
  open();
  useEngland();
  ASSERT_TRUE(files->saveFileInContainer(kGroupContainerName, "2025_0082.json", admiralty(2025, 31)));
  EXPECT_EQ(fetched(dateAt(2024, 12, 31), dateAt(2025, 1, 31)), 31);
}

TEST_F(TideDataProviderUKTest, AustralianYearsComePackedOnEveryPath) {
  const std::string address2024 = "https://archives.test/2024/IDO59001_2024_SYD.archive";
  fake.http->script(address2024, answerOf(archive()));
  const auto forget = [&] {
    months->evictAll();
    files->removeFileInContainer(kGroupContainerName, "2024SYD.archive");
    open();
    use("SYD", "Australia");
  };
  forget();
  EXPECT_EQ(may()->size(), 31U);
  EXPECT_EQ(*keptAs("2024SYD.archive"), archive()) << "kept as it came";
  open();
  use("SYD", "Australia");
  EXPECT_EQ(may()->front().tidelevel, 1.5) << "from the file";
  EXPECT_TRUE(may()->front().tideLevelInMeters);
  forget();
  EXPECT_EQ(fetched(dateAt(2024, 5, 1), dateAt(2024, 6, 30)), 62);
  // From the documents folder.
  forget();
  ASSERT_TRUE(files->saveFile("2024SYD.archive", archive()));
  EXPECT_EQ(may()->size(), 31U);
  // What is no archive is no forecast either.
  expectLog("BOMTideParser error: ");
  EXPECT_TRUE(provider->getHighLowTideDataFromNSData(makeData("no archive"), station, 2024, 5)->empty());
  // Under the name that a station has as long as the catalogue is not loaded.
  forget();
  ASSERT_TRUE(files->saveFileInContainer(kGroupContainerName, "2024_SYD.json", archive()));
  open();
  EXPECT_EQ(may()->size(), 31U);
  EXPECT_EQ(fake.http->requests().size(), 2U);
}

}  // namespace
}  // namespace marlune::testing
