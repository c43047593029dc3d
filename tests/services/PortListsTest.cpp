#include "services/PortLists.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <set>
#include <string>

#include "services/Harmonics.h"
#include "services/RegionalPorts.h"
#include "services/ResourceFiles.h"
#include "support/TemporaryFolder.h"

namespace marlune::services {
namespace {

constexpr PortList kLists[] = {PortList::bureau, PortList::admiralty};

std::string shipped(PortList list) {
  return resourceFile(portsFileName(list));
}

std::string collection(const std::string& features) {
  return R"({"type":"FeatureCollection","features":[)" + features + "]}";
}

// As the Bureau lists it; `more` may repeat a member, and then the first one holds.
std::string bureauFeature(const std::string& first) {
  return R"({"type":"Feature","properties":{)" + first +
         R"("PORT_NAME":"Lorne","ABBR_NAME":"lo","AAC":"VIC_TP002","OFFICE":"VICRO","STATE_NAME":"VICTORIA",
         "TIME_ZONE":"Australia/Melbourne","TZ_DIFF":-1000,"LAT":-38.5472,"LON":143.9888,"ALT_REF":60790.0,
         "PS_FLAG":"P","OPER_FLAG":null,"AVAIL_FLAG":"Y","NOTES":null,"TYPE":"TIDE"},"geometry":null})";
}

std::string admiraltyFeature(const std::string& properties, const std::string& coordinates) {
  return R"({"type":"Feature","geometry":{"type":"Point","coordinates":)" + coordinates +
         R"(},"properties":{)" + properties +
         R"("Id":"0082","Name":"Brighton Marina","Country":"England","Footnote":null}})";
}

TEST(PortLists, readsTheServicesOwnForms) {
  const PortsRead bureau =
      readPorts(PortList::bureau, "\xEF\xBB\xBF" + collection(bureauFeature(R"("AAC":"WA_TP9",)") + "," +
                                                              bureauFeature(R"("LAT":"-38.5",)")));
  EXPECT_EQ(bureau.ports,
            (std::vector<Port>{{"VIC_TP002", "Lorne", "Victoria", "Australia/Melbourne", -38.5, 143.9888},
                               {"WA_TP9", "Lorne", "Victoria", "Australia/Melbourne", -38.5472, 143.9888}}));
  const PortsRead admiralty = readPorts(
      PortList::admiralty,
      collection(admiraltyFeature(R"x("Id":"0321A","Name":"ST. MARY'S (O'ER THE SEA)",)x", "[-6.7, 58]")));
  EXPECT_EQ(admiralty.ports,
            (std::vector<Port>{{"0321A", "St. Mary's (O'er the Sea)", "England", "", 58, -6.7}}));
  EXPECT_TRUE(bureau.problems.empty() && admiralty.problems.empty());
}

TEST(PortLists, leavesOutWhatMakesNoPort) {
  const struct {
    PortList list;
    std::string feature;
    const char* problem;
  } cases[] = {
      {PortList::bureau, "17", "is no feature"},
      {PortList::bureau, bureauFeature(R"("AAC":"../x",)"), "has no code"},
      {PortList::bureau, bureauFeature(R"("PORT_NAME":"  ",)"), "has no name"},
      {PortList::bureau, bureauFeature(R"("TIME_ZONE":"/etc/localtime",)"), "unknown zone"},
      {PortList::bureau, bureauFeature(R"("LAT":-90.5,)"), "nowhere on earth"},
      {PortList::bureau, bureauFeature(R"("AVAIL_FLAG":"N",)"), "no predictions"},
      {PortList::bureau, bureauFeature(R"("TYPE":"CURRENT",)"), "no tide port"},
      {PortList::admiralty, admiraltyFeature(R"("Country":null,)", "[0,50]"), "has no country"},
      {PortList::admiralty, admiraltyFeature("", "[null,50]"), "has no place"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.feature);
    const std::string good =
        c.list == PortList::bureau ? bureauFeature("") : admiraltyFeature("", "[-0.1,50.8]");
    const PortsRead read = readPorts(c.list, collection(c.feature + "," + good + "," + good));
    EXPECT_EQ(read.ports.size(), 1U);
    ASSERT_EQ(read.problems.size(), 2U);
    EXPECT_NE(read.problems[0].find(c.problem), std::string::npos) << read.problems[0];
    EXPECT_NE(read.problems[1].find("its code is another's"), std::string::npos) << read.problems[1];
  }
}

TEST(PortLists, theShippedFilesAreWhatTheToolWritesOfUsablePorts) {
  for (const PortList list : kLists) {
    const std::string text = fileText(shipped(list));
    const PortsRead read = readPorts(list, text);
    EXPECT_TRUE(read.error.empty() && read.problems.empty());
    EXPECT_TRUE(portsDocument(list, read.ports) == text) << "run tools/make-regional-stations on it";
    EXPECT_GE(read.ports.size(), 60U);
  }
}

TEST(PortLists, theShippedPortsHaveTides) {
  const auto database = std::shared_ptr<const HarmonicDatabase>(&harmonics(), [](const void*) {});
  const auto world = std::make_shared<const WorldTable>(resourceFile(WorldStations::kFileName), database);
  const RegionalPorts ports(MARLUNE_SOURCE_RESOURCES, world);
  std::set<std::string> without;
  for (const PortList list : kLists)
    for (const Port& port : readPorts(list, fileText(shipped(list))).ports)
      if (!ports.tides(*ports.find(list, port.id), 0, 1)) without.insert(port.name);
  EXPECT_TRUE(without.empty()) << *without.begin();

  for (const PortList list : kLists) EXPECT_NE(ports.find(list, defaultPort(list)), nullptr);
}

TEST(MakeRegionalStations, writesWholeListsOnly) {
  const testing::TemporaryFolder folder;
  const auto make = [&](const std::string& list) {
    std::ofstream(folder / "list", std::ios::binary) << list;
    const std::string command = std::string(MARLUNE_MAKE_REGIONAL_STATIONS) + " " + folder.path() +
                                " --bureau " + (folder / "list") + " > /dev/null 2>&1";
    return WEXITSTATUS(std::system(command.c_str()));
  };
  EXPECT_EQ(make(collection(bureauFeature("") + ",{}")), 0);
  const std::string made = fileText(folder / "stations_australia.json");
  EXPECT_EQ(readPorts(PortList::bureau, made).ports.size(), 1U);
  EXPECT_EQ(make(collection(bureauFeature("")).substr(0, 300)), 1);
  EXPECT_EQ(make(collection(bureauFeature(R"("AAC":"SA_TP001",)"))), 1) << "without the default port";
  EXPECT_TRUE(fileText(folder / "stations_australia.json") == made) << "a failure leaves what is there";
}

}  // namespace
}  // namespace marlune::services
