#include <fmt/format.h>

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
  EXPECT_EQ(program.ask("global points"), answer("[]"));
  // Where the disk is read late, the copy just stored comes before the answer that it was made from.
  const std::string first = program.ask("global load");
  EXPECT_EQ(first.find("{\"result\":2,\"notifications\":[" + loaded_), 0U) << first;
  EXPECT_EQ(program.ask("global points"), answer("[" + quay_ + "," + nameless_ + "]"));
  EXPECT_EQ(program.ask("stations show global_5"), answer(quay_));
  EXPECT_EQ(program.ask("stations search \"zeta q\""), answer("[" + quay_ + "]"));
  EXPECT_EQ(program.ask("tides fetch global_5 2026-01-01T10:00:00Z 2026-01-01T13:00:00Z"),
            answer(R"([{"timestamp":1767268800,"tidelevel":0.5,"isHighTide":false,"tideLevelInMeters":true,)"
                   R"("isIntermediary":false}])"));
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
    EXPECT_EQ(program.ask("favorites save"), answer("null"));
    EXPECT_EQ(program.ask("compare save global_5 none 8"), answer("null"));
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
}

TEST_F(WorldTest, OneCommandSeesToItsPointsByItself) {
  const auto shown = run(world({"stations", "show", "global_6"}));
  EXPECT_EQ(shown.output.find("{\"result\":" + nameless_ + ",\"notifications\":[" + loaded_), 0U)
      << shown.output;
  // Stored by now: no service is asked.
  auto offline = world({"stations", "show", "global_6"});
  std::replace(offline.begin(), offline.end(), server_.url(""), std::string("http://127.0.0.1:1"));
  EXPECT_EQ(run(offline).output, answer(nameless_) + "\n");
  const auto found = run(world({"stations", "search", "quay"}));
  EXPECT_EQ(found.output.find("{\"result\":[" + quay_ + "]"), 0U) << found.output;
}

}  // namespace
}  // namespace marlune::testing
