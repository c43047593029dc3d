#include <fmt/format.h>

#include <filesystem>

#include "cli/CommandTest.h"
#include "support/LoopbackServer.h"

namespace marlune::testing {
namespace {

/// A worldwide service with three points and one year, beside a catalogue of three stations.
class WorldTest : public CommandTest {
 protected:
  std::vector<std::string> world(const std::vector<std::string>& words) {
    file("stations_uk.json", "{}");
    auto all = small({});
    all.back() = server_.url("");
    all.insert(all.end(), {"--region", "worldwide", "--now", "2026-03-05T20:00:00Z"});
    all.insert(all.end(), words.begin(), words.end());
    return all;
  }

  /// Two events on each of the first 28 days of a month, so that each month counts as whole.
  static std::string year() {
    std::string events;
    for (int i = 0; i < 12 * 28 * 2; ++i) {
      events += fmt::format("{}{{\"time\":\"2026-{:02}-{:02}T{:02}:00:00Z\",\"level\":{},\"is_high\":{}}}",
                            i == 0 ? "" : ",", i / 56 + 1, i / 2 % 28 + 1, i % 2 * 12, i % 2 == 0 ? 3.5 : 0.5,
                            i % 2 == 0);
    }
    return "{\"source\":\"x\",\"tide_events\":[" + events + "]}";
  }

  static std::string point(const std::string& number, const std::string& name, const std::string& zone) {
    return "{\"stationId\":\"global_" + number + "\",\"stationExtId\":\"" + number + "\",\"stationName\":\"" +
           name + "\",\"stateId\":\"\",\"timezoneName\":\"" + zone +
           "\",\"country\":\"\",\"stationAreaId\":null,\"latitude\":51.5,\"longitude\":-0.5," +
           "\"isSubordinate\":false,\"isGlobal\":true,\"hasResolvedName\":";
  }

  const std::string loaded_ = R"({"name":"TideData_GlobalTidePointsLoaded","userInfo":null})";
  const std::string quay_ = point("5", "Zeta Quay", "Europe/London") + "true}";
  const std::string stored_ =
      point("5", "Zeta Quay", "Europe/London") + "false}";  // the archive has no such key
  const std::string nameless_ = point("6", "51.500°N 0.500°W", "Etc/GMT") + "false}";

  LoopbackServer server_{[](LoopbackServer::Connection& connection) {
    const std::string head = connection.readRequest();
    if (head.empty()) return false;
    if (head.find("GET /tide-points ") == 0) {
      return connection.send(
          httpAnswer(R"([{"id":5,"lat":51.5,"lon":-0.5,"name":"Zeta Quay","timezone":"Europe/London"},)"
                     R"({"id":6,"lat":51.5,"lon":-0.5}])"));
    }
    const bool known = head.find("GET /tides?lat=51.5&lon=-0.5&year=2026&agencies=noaa,ukho,aus ") == 0;
    return connection.send(known ? httpAnswer(year()) : httpAnswer("no", "", "404 Not Found"));
  }};
};

TEST_F(WorldTest, PointsAreLoadedFoundAndServed) {
  Program program(world({"shell"}));
  EXPECT_EQ(program.ask("tides cached global_5 0"), answer("false"));  // not known yet
  EXPECT_EQ(program.ask("global points"), answer("[]"));
  EXPECT_EQ(program.ask("global load"), "{\"result\":2,\"notifications\":[" + loaded_ + "],\"log\":[]}");
  EXPECT_EQ(program.ask("global load"), answer("2"));
  EXPECT_EQ(program.ask("global points"), answer("[" + quay_ + "," + nameless_ + "]"));
  EXPECT_EQ(program.ask("global rect 133000000 80000000 2000000 20000000"),
            answer("[" + quay_ + "," + nameless_ + "]"));
  EXPECT_EQ(program.ask("global hidden"), answer("false"));
  EXPECT_EQ(program.ask("stations show global_5"), answer(quay_));
  EXPECT_EQ(program.ask("stations search nobody"), answer("null"));
  EXPECT_EQ(program.ask("stations search \"zeta q\""), answer("[" + quay_ + "]"));
  EXPECT_EQ(program.ask("tides populate global_5 2026 1"), answer("false"));  // the main thread never waits
  EXPECT_EQ(program.ask("tides fetch global_5 2026-01-01T10:00:00Z 2026-01-01T13:00:00Z"),
            answer(R"([{"timestamp":1767268800,"tidelevel":0.5,"isHighTide":false,"tideLevelInMeters":true,)"
                   R"("isIntermediary":false}])"));
  EXPECT_EQ(program.ask("tides populate global_5 2026 1"), answer("true"));
  EXPECT_EQ(program.ask("tides fetch global_99 0 1"), answer("null"));
}

TEST_F(WorldTest, FavouritesAndComparedChartsOutliveTheProcess) {
  const std::string changed =
      R"({"result":null,"notifications":[{"name":"TideFavoriteList","userInfo":null}],)"
      R"("log":[]})";
  {
    Program program(world({"shell"}));
    program.ask("global load");
    EXPECT_EQ(program.ask("favorites add global_5"), changed);
    EXPECT_EQ(program.ask("favorites add 9"), changed);
    EXPECT_EQ(program.ask("favorites add none"), answer("null"));
    EXPECT_EQ(program.ask("favorites save"), answer("null"));
    EXPECT_EQ(program.ask("compare list"), answer("null"));
    EXPECT_EQ(program.ask("compare save global_5 none 8"), answer("null"));
    EXPECT_EQ(program.ask("compare save"), answer("null"));
    program.ask("idle");
  }
  Program program(world({"shell"}));
  const std::string listed = program.ask("favorites list");
  EXPECT_NE(listed.find("\"Solo\""), std::string::npos) << listed;
  EXPECT_NE(listed.find(stored_), std::string::npos) << listed;
  EXPECT_EQ(program.ask("favorites is global_5"), answer("true"));
  EXPECT_EQ(program.ask("favorites is 8"), answer("false"));
  const std::string compared = program.ask("compare list");
  EXPECT_EQ(compared.find("{\"result\":[" + stored_ + ",{\"stationId\":\"8\""), 0U) << compared;
  EXPECT_EQ(program.ask("favorites remove global_5"), changed);
  EXPECT_EQ(program.ask("favorites save"), answer("null"));
  const std::string container = folder_ / "data/containers/group.com.quenda.korvantis/";
  EXPECT_TRUE(std::filesystem::exists(container + "favorites.plist"));
  EXPECT_FALSE(std::filesystem::exists(container + "favorites_global.archive"));
}

TEST_F(WorldTest, OneCommandSeesToItsPointsByItself) {
  const auto shown = run(world({"stations", "show", "global_6"}));
  EXPECT_EQ(shown.output, "{\"result\":" + nameless_ + ",\"notifications\":[" + loaded_ + "],\"log\":[]}\n");
  // Stored by now: no service is asked.
  auto offline = world({"stations", "show", "global_6"});
  std::replace(offline.begin(), offline.end(), server_.url(""), std::string("http://127.0.0.1:1"));
  EXPECT_EQ(run(offline).output, answer(nameless_) + "\n");
  const auto found = run(world({"stations", "search", "quay"}));
  EXPECT_EQ(found.output.find("{\"result\":[" + quay_ + "]"), 0U) << found.output;
  EXPECT_EQ(run(world({"favorites", "add", "7", "--save"})).status, 0);
  EXPECT_NE(run(world({"favorites", "list"})).output.find("\"Zeta\""), std::string::npos);
}

}  // namespace
}  // namespace marlune::testing
