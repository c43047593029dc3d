#include "cli/CommandTest.h"
#include "support/LoopbackServer.h"

namespace marlune::testing {
namespace {

/// One marine forecast, and nothing else.
class OceanTest : public CommandTest {
 protected:
  std::vector<std::string> at(const std::vector<std::string>& words, bool json = true) {
    auto all = small({});
    all.back() = server_.url("");
    if (!json) all.erase(all.begin());
    all.insert(all.end(), {"--region", "worldwide", "--now", "2025-03-05T12:00:00Z"});
    all.insert(all.end(), words.begin(), words.end());
    return all;
  }
  std::vector<std::string> ask(const std::string& what, const std::string& instant = "2025-03-05T12:30:00Z") {
    return {"ocean", what, "36.95", "-122.02", instant, "America/Los_Angeles", "here"};
  }

  LoopbackServer server_{[](LoopbackServer::Connection& connection) {
    const std::string head = connection.readRequest();
    if (head.empty()) return false;
    const bool known = head.find("GET /v1/marine?latitude=36.950000&longitude=-122.020000&") == 0;
    return connection.send(
        known
            ? httpAnswer(
                  R"({"latitude":1,"longitude":2,"hourly":{"time":["2025-03-05T04:00","2025-03-05T05:00"],)"
                  R"("sea_surface_temperature":[10.5,null],"swell_wave_height":[3,null],"swell_wave_direction":[270,1],)"
                  R"("swell_wave_period":[9.5,null],"ocean_current_velocity":[1,2],"ocean_current_direction":[-0,45.25]}})")
            : httpAnswer("{}", "", "404 Not Found"));
  }};
};

TEST_F(OceanTest, RecordsAreWrittenWithTheirOwnNames) {
  const std::string place = R"({"latitude":36.95,"longitude":-122.02,"timeSeries":)";
  EXPECT_EQ(
      run(at(ask("temperature"))).output,
      answer(
          place +
          R"([{"date":1741176000,"value":10.5,"series":null,"attributes":null}],"isTemperatureInCelsius":true})") +
          "\n");
  EXPECT_EQ(
      run(at(ask("swell"))).output,
      answer(
          place +
          R"([{"date":1741176000,"value":3,"series":"Height","attributes":{"direction":"270.0"}},)"
          R"({"date":1741176000,"value":9.5,"series":"Period","attributes":{"direction":"270.0"}}],"isHeightInFeet":true})") +
          "\n");
  EXPECT_EQ(
      run(at({"ocean", "marine-currents", "36.95", "-122.02", "1741179600", "1741179600",
              "America/Los_Angeles", "here"}))
          .output,
      answer(
          place +
          R"([{"date":1741179600,"value":2,"series":"Velocity","attributes":{"direction":"45.25"}}],"events":[]})") +
          "\n");
  EXPECT_EQ(run(at(ask("wind-observed"))).output, answer("null") + "\n") << "none in this region";
  EXPECT_EQ(run(at({"ocean", "temperature", "91", "0", "0", "UTC", "x"})).output, answer("null") + "\n");

  const std::string table = run(at(ask("swell"), false)).output;
  EXPECT_NE(table.find("2025-03-05 04:00 PST"), std::string::npos) << table;
  EXPECT_NE(table.find("3.00 ft"), std::string::npos) << table;
  EXPECT_NE(table.find("9.50 s"), std::string::npos) << table;
}

TEST_F(OceanTest, AWrongPlaceOrZoneIsAWrongCall) {
  for (const auto& words :
       std::vector<std::vector<std::string>>{{"ocean", "swell", "x", "0", "0", "UTC", "a"},
                                             {"ocean", "swell", "1", "nan", "0", "UTC", "a"},
                                             {"ocean", "swell", "1", "0", "0", "Mars/Crater", "a"},
                                             {"ocean", "swell", "1", "0", "0", "UTC"},
                                             {"ocean", "tea", "1"}}) {
    EXPECT_EQ(run(small(words)).status, 2) << words.back();
  }
}

TEST_F(OceanTest, ASeriesIsKeptUntilItIsTooOld) {
  const std::string samples =
      file("s.json", R"([{"date":10,"value":1.5,"series":"Wind","attributes":{"gust":"2.0"}},{}])");
  const std::string result =
      R"([{"date":10,"value":1.5,"series":"Wind","attributes":{"gust":"2.0"}},{"date":0,"value":0,"series":null,"attributes":null}])";
  Program shell(at({"shell"}));
  EXPECT_EQ(shell.ask("series save a.json " + samples), answer("null"));
  EXPECT_EQ(shell.ask("series load a.json 5"), answer(result));
  shell.ask("advance 6");
  EXPECT_EQ(shell.ask("series load a.json 5"), answer("null"));
  EXPECT_EQ(shell.ask("series load a.json"), answer(result));
  EXPECT_EQ(shell.ask("series save ../a.json " + samples),
            answer("null", "\"Series cache: there is no folder for ../a.json\""));
  EXPECT_EQ(run(small({"series", "save", "a.json", file("bad.json", "[{\"date\":\"x\"}]")})).status, 2);
}

}  // namespace
}  // namespace marlune::testing
