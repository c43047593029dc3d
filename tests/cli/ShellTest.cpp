#include <sstream>

#include "cli/CommandTest.h"

namespace marlune::testing {
namespace {

using services::Fault;

/// A shell over local services whose data the container does not have yet.
class ShellTest : public CommandTest {
 protected:
  std::vector<std::string> shell() { return served({"--json", "shell"}); }

  std::string fetch() const {
    return std::string("tides fetch ") + kSantaCruz + " 2026-03-05T19:00:00Z 2026-03-05T20:00:00Z";
  }
  const std::string fetched_ = answer(
      R"([{"timestamp":1772738617,"tidelevel":4.216,"isHighTide":true,"tideLevelInMeters":false,"isIntermediary":false}])");
};

TEST_F(ShellTest, LinesRunInOneProcessAndABadOneDoesNotEndIt) {
  const auto end = run(small({"shell"}),
                       "# a comment\n\n"
                       "stations 'count'\n"
                       "bogus\n"
                       "--json stations count\n"
                       "stations count");
  std::vector<std::string> lines;
  std::istringstream output(end.output);
  for (std::string line; std::getline(output, line);) lines.push_back(line);
  ASSERT_EQ(lines.size(), 4U) << end.output;
  EXPECT_EQ(lines[0], answer("2"));
  for (std::size_t i = 1; i < 3; ++i) EXPECT_EQ(lines[i].find("{\"error\":"), 0U) << lines[i];
  EXPECT_EQ(lines[3], answer("2"));
  EXPECT_EQ(end.status, 0);
}

TEST_F(ShellTest, ACommandThatWaitsLeavesTheMainThreadFree) {
  Program program(shell());
  services_.faults().add({.kind = Fault::Kind::hold});
  EXPECT_EQ(program.ask("start " + fetch()), answer("1"));
  ASSERT_TRUE(services_.faults().waitForRequests(1, "year=2026", std::chrono::minutes(1)));
  EXPECT_EQ(program.ask("stations count"), answer("31"));
  EXPECT_EQ(program.ask("idle 0"), answer("false"));
  services_.faults().release();
  EXPECT_EQ(program.ask("finish 1"), fetched_);
  EXPECT_EQ(program.ask("idle"), answer("true"));
}

TEST_F(ShellTest, NotificationsComeInTheirOrderWithTheNextAnswer) {
  Program program(shell());
  const std::string begin = std::string("tides begin ") + kSantaCruz + " 1772740800.5";
  services_.faults().add({.kind = Fault::Kind::hold});
  EXPECT_EQ(
      program.ask(begin),
      R"({"result":null,"notifications":[{"name":"TideData_FetchHighLowTideBegun","userInfo":null}],"log":[]})");
  EXPECT_EQ(program.ask(begin + " --quiet"), answer("null"));  // pending already
  ASSERT_TRUE(services_.faults().waitForRequests(1, "year=2026", std::chrono::minutes(1)));
  services_.faults().release();
  const std::string idle = program.ask("idle");
  const auto downloaded = idle.find(R"([{"name":"downloadedTideData","userInfo":{"duration":)");
  const auto completed = idle.find(
      R"(,{"name":"TideData_FetchHighLowTideCompleted","userInfo":{"date":1772740800.5,"tidestation":{"stationId":"398997177",)");
  ASSERT_NE(downloaded, std::string::npos) << idle;
  ASSERT_NE(completed, std::string::npos) << idle;
  EXPECT_LT(downloaded, completed);
  EXPECT_EQ(program.ask("tides begin none 0 --quiet"),
            answer("null", "\"[TideDataProvider] Error: Nil parameter passed to beginGetHighLowTideData\""));
  // Now it is there: completed at once, nothing begun.
  const std::string again = program.ask(begin);
  EXPECT_EQ(again.find("Begun"), std::string::npos) << again;
  EXPECT_NE(again.find("TideData_FetchHighLowTideCompleted"), std::string::npos) << again;
  EXPECT_EQ(services_.requestCount("year=2026"), 1U);
}

TEST_F(ShellTest, FailedDownloadsAreToldAndEventsCanBeFetched) {
  Program program(shell());
  services_.faults().add({.kind = Fault::Kind::page, .bytes = 100});
  EXPECT_EQ(program.ask(fetch()), answer("null"));
  EXPECT_EQ(program.ask(std::string("curve level @") + kSantaCruz + ",1772738000,1772741000 1772738617"),
            answer("4.216"));
  services_.faults().add({.kind = Fault::Kind::status, .status = 500});
  // A quick failure is told with the answer to the refresh itself.
  std::string told = program.ask(std::string("tides refresh ") + kSantaCruz);
  told += program.ask("idle");
  const auto failed = told.find("\"downloadTideDataFailed\"");
  EXPECT_NE(failed, std::string::npos) << told;
  EXPECT_LT(failed,
            told.find(R"({"name":"kMainModelTideDataDownloadFailed","userInfo":{"error":"Error refreshing)"));
}

TEST_F(ShellTest, TheEndOfTheInputEndsItWithADownloadInFlight) {
  Program program(shell());
  services_.faults().add({.kind = Fault::Kind::hold});
  EXPECT_EQ(program.ask("start " + fetch()), answer("1"));
  ASSERT_TRUE(services_.faults().waitForRequests(1, "year=2026", std::chrono::minutes(1)));
  program.closeInput();
  // The client itself would give the request up only after 30 seconds.
  EXPECT_EQ(program.finish(std::chrono::seconds(20)), 0);
}

}  // namespace
}  // namespace marlune::testing
