#include "cli/CommandTest.h"

#include <algorithm>
#include <filesystem>

namespace marlune::testing {
namespace {

std::string station(const std::string& number, const std::string& name, const std::string& state,
                    const std::string& zone, const std::string& place, bool subordinate) {
  return "{\"stationId\":\"" + number + "\",\"stationExtId\":\"N" + number + "\",\"stationName\":\"" + name +
         "\",\"stateId\":\"" + state + "\",\"timezoneName\":\"" + zone +
         "\",\"country\":\"United States\",\"stationAreaId\":null," + place +
         ",\"isSubordinate\":" + (subordinate ? "true" : "false") +
         ",\"isGlobal\":false,\"hasResolvedName\":false}";
}

const std::string kAlpha =
    station("8", "Alpha", "Utah", "America/Denver", "\"latitude\":10.75,\"longitude\":-20.25", true);
const std::string kZeta =
    station("7", "Zeta", "Utah", "America/Denver", "\"latitude\":10.5,\"longitude\":-20.25", false);

TEST_F(CommandTest, PacksAndUnpacksAYear) {
  const std::string xml = file("f.xml", "<product>\n\u00e9</product>\n");
  const std::string archive = folder_ / "f.archive";
  EXPECT_EQ(run(small({"archive", "pack", xml, archive})).output, answer("null") + "\n");
  EXPECT_EQ(run(small({"archive", "unpack", archive})).output,
            answer("\"<product>\\n\u00e9</product>\\n\"") + "\n");
  EXPECT_EQ(run({"archive", "unpack", archive}).output, "<product>\n\u00e9</product>\n") << "as it was";
  EXPECT_EQ(run(small({"archive", "unpack", xml})).output, answer("null") + "\n");
  EXPECT_EQ(run(small({"archive", "unpack", folder_ / "none"})).output, answer("null") + "\n");
  const struct {
    std::string from, to, why;
  } failures[] = {
      {file("t.txt", "no"), archive, "does not begin as XML does"},
      {file("big.xml", "<a>" + std::string(std::size_t{16} << 20, ' ')), archive, "larger than 16 MiB"},
      {folder_ / "none", archive, "cannot read"},
      {xml, folder_ / "none/f.archive", "make it first"},
      {xml, folder_ / "", "it is a folder"}};
  for (const auto& c : failures) {
    const ProgramEnd end = run(small({"archive", "pack", c.from, c.to}));
    EXPECT_EQ(end.status, 1) << c.why;
    EXPECT_NE(end.output.find(c.why), std::string::npos) << end.output;
  }
  EXPECT_EQ(run(small({"archive", "unpack", archive})).status, 0) << "a failure leaves the good archive";
}

TEST_F(CommandTest, AnswersAboutTheCatalogue) {
  const struct {
    std::vector<std::string> words;
    std::string result;
  } cases[] = {
      {{"stations", "show", "7"}, kZeta},
      {{"stations", "states"}, "[\"Ohio\",\"Utah\"]"},
      {{"stations", "state", "Utah"}, "[" + kAlpha + "," + kZeta + "]"},
      {{"stations", "box", "10.5", "-21", "11", "-20"}, "[" + kAlpha + "]"},
      {{"tides", "populate", "7", "2026", "3"}, "false"},
      {{"tides", "range", "7", "0", "1"}, "null"},
      {{"tides", "file", "7", "2026"}, "\"20267.xml\""},
      {{"chart", "none"}, "null"},
  };
  for (const auto& c : cases) {
    const auto end = run(small(c.words));
    EXPECT_EQ(end.output, answer(c.result) + "\n") << c.words[1];
    EXPECT_EQ(end.errors, "");
    EXPECT_EQ(end.status, 0);
  }
}

TEST_F(CommandTest, WrongCallsSayWhatIsWrong) {
  const std::string notEvents = file("bad.json", "{}");
  const std::string unknownMember = file("unknown.json", "{\"tideHost\":\"x\"}");
  const struct {
    std::vector<std::string> words;
    std::string about;  ///< the complaint must name it
  } cases[] = {
      {{}, "command"},
      {{"tidal"}, "tidal, did you mean tides?"},
      {{"stations", "near", "1"}, "LON"},
      {{"stations", "near", "1", "2", "--limit"}, "--limit needs a value"},
      {{"stations", "all", "--limit", "1"}, "no option of stations all"},
      {{"tides", "begin", "7", "2026-03-05T12:00:00"}, "INSTANT"},
      {{"tides", "populate", "7", "2147483648", "1"}, "YEAR"},
      {{"curve", "level", notEvents, "0"}, "not a JSON array"},
      {{"advance", "5"}, "--now"},
      {{"stations", "all", "--device-timezone", "Mars/Olympus"}, "Mars/Olympus"},
      {{"stations", "all", "--settings", unknownMember}, "tideHost"},
  };
  for (const auto& c : cases) {
    const auto end = run(small(c.words));
    EXPECT_EQ(end.status, 2) << c.about;
    EXPECT_EQ(end.errors.find("marlune: "), 0U) << c.about;
    EXPECT_EQ(std::count(end.errors.begin(), end.errors.end(), '\n'), 1) << end.errors;
    EXPECT_NE(end.errors.find(c.about), std::string::npos) << end.errors;
    EXPECT_EQ(end.output.find("{\"error\":\""), 0U) << end.output;
    EXPECT_EQ(std::count(end.output.begin(), end.output.end(), '\n'), 1) << end.output;
  }
  const auto plain = run({"tidal"});
  EXPECT_EQ(plain.output, "");
  EXPECT_EQ(plain.status, 2);
  const auto unreadable = run(small({"tides", "parse", folder_ / "missing.xml", "7", "2026", "3"}));
  EXPECT_EQ(unreadable.status, 1) << "no wrong call";
  EXPECT_NE(unreadable.errors.find("missing.xml"), std::string::npos) << unreadable.errors;
}

TEST_F(CommandTest, ComputesTheCurve) {
  const std::string events = file("events.json", R"([{"timestamp":1000,"tidelevel":1.5,"isHighTide":false},)"
                                                 R"({"timestamp":4600,"tidelevel":3.5,"isHighTide":true}])");
  const std::string high = R"({"timestamp":4600,"tidelevel":3.5,"isHighTide":true,"tideLevelInMeters":false,)"
                           R"("isIntermediary":false})";
  const struct {
    std::vector<std::string> words;
    std::string result;
  } cases[] = {
      {{"level", events, "2800"}, "2.5"},
      {{"points", events, "3600", "Old Town"},
       "[{\"date\":1000,\"station\":\"Old Town\",\"level\":1.5,\"nextEvent\":" + high +
           "},{\"date\":4600,\"station\":\"Old Town\",\"level\":3.5,\"nextEvent\":null}]"},
      {{"crossings", events, "2"}, "[1900]"},
      {{"around", events, "4600.5"},
       R"({"previousEvent":)" + high + R"(,"nextEvent":null,"nextTimestamp":)" + "9223372036854775807}"},
  };
  for (auto c : cases) {
    c.words.insert(c.words.begin(), "curve");
    EXPECT_EQ(run(small(c.words)).output, answer(c.result) + "\n") << c.words[1];
  }
}

TEST_F(CommandTest, OptionsStandAnywhereAndServicesWin) {
  const std::string settings =
      file("settings.json", R"({"tideApiHost":"own.example:81","openMeteoApiKey":""})");
  const std::string path = "/v1/tideapi.php?op=highlowtide&id=7&year=2026&version=1&format=xml\"";
  small({});  // writes the catalogue
  const std::string data = "--data=" + (folder_ / "data");
  const std::string resources = "--resources=" + (folder_ / "");
  EXPECT_EQ(run({resources, "tides", "endpoint", data, "7", "--settings", settings, "2026", "--json"}).output,
            answer("\"http://own.example:81" + path) + "\n");
  EXPECT_EQ(run({"--json", "--services", "https://s.example/base/", "--settings", settings, data, resources,
                 "tides", "endpoint", "--", "7", "2026"})
                .output,
            answer("\"https://s.example/base" + path) + "\n");
}

TEST_F(CommandTest, ExplainsItself) {
  EXPECT_EQ(run({"--version"}).output.find("marlune "), 0U);
  const std::string help = run({"--help"}).output;
  for (const char* word :
       {"--device-timezone NAME", "tides fetch ID FROM TO", "chart ID [INSTANT]", "@ID,FROM,TO"}) {
    EXPECT_NE(help.find(word), std::string::npos) << word;
  }
  EXPECT_EQ(run({"nothing", "--help"}).status, 2);
}

TEST_F(CommandTest, PeopleReadStationTimesAndUnits) {
  EXPECT_EQ(
      run(served({"tides", "fetch", kSantaCruz, "2026-03-05T19:00:00Z", "2026-03-05T20:00:00Z"})).output,
      "TIME                     WATER    LEVEL\n"
      "2026-03-05 11:23:37 PST  high   4.22 ft\n");
}

TEST_F(CommandTest, ChartDrawsTheDaysAndGivesTheirEvents) {
  const std::string picture = folder_ / "tide.svg";
  const auto json = run(served({"--json", "chart", kSantaCruz, "--days", "2", "--svg", picture}));
  // From 5 March 00:00 to 7 March 00:00 in California.
  EXPECT_EQ(json.output.find("{\"result\":[{\"timestamp\":1772716922,"), 0U) << json.output.substr(0, 80);
  EXPECT_EQ(std::count(json.output.begin(), json.output.end(), '{'), 1 + 7 + 2) << json.output;
  EXPECT_TRUE(std::filesystem::file_size(picture) > 2000);

  const auto terminal = run(served({"chart", kSantaCruz}));
  for (const char* text :
       {"Santa Cruz, Monterey Bay, California\n", "times in PST, levels in feet\n",
        "Now 12:00: 3.9 ft, falling to 0.8 ft at 17:20\n", "▼ 17:20 0.8 ft  ▲ 23:46 4.8 ft\n"}) {
    EXPECT_NE(terminal.output.find(text), std::string::npos) << text;
  }
  EXPECT_EQ(terminal.output.find('\x1B'), std::string::npos);
}

TEST_F(CommandTest, FavouritesOutliveACatalogueThatIsNotWhole) {
  for (const char* id : {"8", "9"}) {
    EXPECT_EQ(run(small({"favorites", "add", id, "--save"})).status, 0);
  }
  auto reduced = small({"--region", "worldwide", "favorites", "add", "7", "--save"});
  file("stations_master_usa2.txt", "7~N7~0~10.5~-20.25~Zeta~Utah~America/Denver\n");
  EXPECT_EQ(run(reduced).status, 0);
  const std::string listed = run(small({"favorites", "list"})).output;
  for (const char* name : {"Alpha", "Solo", "Zeta"})
    EXPECT_NE(listed.find(name), std::string::npos) << listed;
}

}  // namespace
}  // namespace marlune::testing
