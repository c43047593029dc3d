#include "services/LocalServices.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <charconv>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <map>
#include <string>
#include <vector>

#include "marlune/platform/linux/CurlHttpClient.h"
#include "services/StationCatalogue.h"
#include "support/TemporaryFolder.h"

namespace marlune::services {
namespace {

using namespace std::chrono_literals;

const std::string kTideApi = "/v1/tideapi.php?op=highlowtide&version=1&format=xml";
const std::string kYear = kTideApi + "&id=398997177&year=2026";

struct Received : HttpAnswer {
  std::string text() const { return body ? *body : ""; }
};

std::future<Received> send(HttpClient& client, const std::string& url) {
  const auto answer = std::make_shared<std::promise<Received>>();
  HttpRequest request{.url = url};
  request.maximumBodySize = std::size_t{1} << 30;
  client.send(std::move(request), [answer](HttpAnswer one) { answer->set_value({std::move(one)}); });
  return answer->get_future();
}

/// On a connection of its own: a client that reuses one tries again when it is lost.
Received getFrom(const std::string& url) {
  CurlHttpClient client;
  return send(client, url).get();
}

class LocalServicesTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(services.start(), "") << services.error(); }
  Received get(const std::string& target) { return getFrom(services.address() + target); }

  LocalServices services{{MARLUNE_SOURCE_RESOURCES, "", 0}};
  FaultPlan& faults = services.faults();
};

TEST_F(LocalServicesTest, theDefaultYearIsTheResourcesBytes) {
  std::ifstream in(std::string(MARLUNE_SOURCE_RESOURCES) + "/2026398997177.xml", std::ios::binary);
  const std::string file{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  EXPECT_TRUE(get(kYear).text() == file);
  EXPECT_NE(file.find("NOT FOR NAVIGATION"), std::string::npos);
}

std::vector<long long> timesOf(const std::string& document) {
  std::vector<long long> times;
  for (std::size_t at = 0; (at = document.find("<e t=\"", at)) != std::string::npos; ++at)
    times.push_back(std::atoll(document.c_str() + at + 6));
  return times;
}

TEST_F(LocalServicesTest, yearsOfAStationMeetWithoutGapOrOverlap) {
  // Zones east and west of UTC, with and without summer time; each year begins at local midnight, here
  // as seconds after 1 January 2026 00:00 UTC.
  const std::map<std::string, long long> midnights = {
      {"398997177", 8 * 3600}, {"401630000", -10 * 3600}, {"409455920", 9 * 3600}, {"408729840", 6 * 3600}};
  for (const auto& [id, midnight] : midnights) {
    SCOPED_TRACE(id);
    const std::string first = get(fmt::format("{}&year=2025&id={}", kTideApi, id)).text();
    const std::string second = get(fmt::format("{}&year=2026&id={}", kTideApi, id)).text();
    const auto before = timesOf(first);
    const auto after = timesOf(second);
    ASSERT_FALSE(before.empty() || after.empty());
    const long long start = 1767225600 + midnight;
    EXPECT_LT(before.back(), start);
    EXPECT_GE(after.front(), start);
    EXPECT_LT(after.front() - before.back(), 86400);
    EXPECT_LT(after.back(), start + 365LL * 86400);
    EXPECT_NE(first[first.rfind("w=\"") + 3], second[second.find("w=\"") + 3]) << "high and low in turn";
  }
}

TEST_F(LocalServicesTest, whatCannotBeAnsweredGetsAShortDocument) {
  for (const std::string query :
       {"op=highlowtide&version=1&format=xml&id=1&year=2026", "op=highlowtide&version=1&format=xml&year=2026",
        "op=highlowtide&version=1&format=xml&id=398997177&year=1899",
        "op=highlowtide&version=1&format=xml&id=398997177&year=2101",
        "op=highlowtide&version=1&format=xml&id=398997177&year=20x6",
        "op=highlowtide&version=1&format=xml&id=398997177", "",
        "op=currents&version=1&format=xml&id=398997177&year=2026"}) {
    const Received answer = get("/v1/tideapi.php?" + query);
    EXPECT_EQ(answer.status, 200) << query;
    EXPECT_LT(answer.text().size(), 150U) << query;
    EXPECT_NE(answer.text().find("<error"), std::string::npos) << query;
  }
  for (const char* edge : {"1900", "2100"})
    EXPECT_GT(get(kTideApi + "&id=398997177&year=" + edge).text().size(), 40000U);
}

TEST_F(LocalServicesTest, theWorldsStationsNeedNoPlaceInAFolderOfOnesOwn) {
  const marlune::testing::TemporaryFolder folder;
  const std::string catalogue(StationCatalogue::kFileName);
  std::filesystem::copy_file(MARLUNE_SOURCE_RESOURCES + ("/" + catalogue), folder / catalogue);
  LocalServices other({folder.path(), "", 0});
  ASSERT_NE(other.start(), "") << other.error();
  other.faults().add({.kind = Fault::Kind::status, .status = 502, .match = "/tide-points"});
  const std::string points = other.address() + "/tide-points";
  EXPECT_EQ(getFrom(points).status, 502);
  EXPECT_GT(getFrom(points).text().size(), 500000U);
  const std::string year = other.address() + "/tides?lat=50.1&lon=-5.54&year=2026&agencies=noaa,ukho,aus";
  EXPECT_GT(getFrom(year).text().size(), 50000U);
  EXPECT_EQ(other.requestCount("agencies=noaa,ukho,aus"), 1U);
}

TEST_F(LocalServicesTest, eachFaultReachesTheClient) {
  const std::size_t whole = get(kYear).text().size();
  const struct {
    Fault fault;
    std::string error;  // a part of it
    int status = 0;
    std::size_t size = 0;
  } cases[] = {
      {{.kind = Fault::Kind::cut, .bytes = 1000}, std::to_string(whole - 1000) + " bytes remaining"},
      {{.kind = Fault::Kind::reset}, "reset"},
      {{.kind = Fault::Kind::oversize, .bytes = 3000000}, "", 200, 3000000},
      {{.kind = Fault::Kind::page, .bytes = 4000}, "", 200, 4000},
      {{.kind = Fault::Kind::page, .bytes = 4000, .status = 503}, "", 503, 4000},
      {{.kind = Fault::Kind::status, .status = 429}, "", 429, 0},
      {{.kind = Fault::Kind::redirect, .status = 301, .address = "/_requests"},
       "",
       200,
       get("/_requests").text().size()},
      {{.kind = Fault::Kind::none, .delay = 30ms}, "", 200, whole},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(faultName(c.fault.kind));
    faults.forgetRequests();
    faults.add(c.fault);
    const auto begin = std::chrono::steady_clock::now();
    const Received answer = get(kYear);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, c.fault.delay);
    EXPECT_NE(answer.error.find(c.error), std::string::npos) << answer.error;
    EXPECT_EQ(answer.error.empty(), c.error.empty()) << answer.error;
    EXPECT_EQ(answer.status, c.error.empty() ? c.status : answer.status);
    EXPECT_EQ(answer.text().size(), c.size);
    EXPECT_EQ(answer.text().starts_with("<!DOCTYPE html>"), c.fault.kind == Fault::Kind::page);
    EXPECT_EQ(services.requestCount(), 1U);
    EXPECT_TRUE(faults.pending().empty());
  }
  EXPECT_EQ(get(kYear).text().size(), whole);
}

TEST_F(LocalServicesTest, faultsAreForTheRequestsTheyName) {
  faults.add({.kind = Fault::Kind::status, .status = 500, .match = "/b", .times = 2});
  faults.add({.kind = Fault::Kind::status, .status = 503, .match = "/c", .times = 0});
  CurlHttpClient client;  // all on one connection
  std::vector<int> statuses;
  for (const char* target : {"/a", "/b", "/c", "/b", "/b", "/c", "/c"})
    statuses.push_back(send(client, services.address() + target).get().status);
  EXPECT_EQ(statuses, (std::vector<int>{404, 500, 503, 500, 404, 503, 503}));
  EXPECT_EQ(services.requestCount("/b"), 3U);
  faults.clear();
  EXPECT_EQ(get("/c").status, 404);
}

TEST_F(LocalServicesTest, aHeldRequestWaitsForItsReleaseAloneAndOthersGoOn) {
  faults.add({.kind = Fault::Kind::hold, .match = "/held"});
  CurlHttpClient client;
  auto held = send(client, services.address() + "/held");
  ASSERT_TRUE(faults.waitForRequests(1, "/held", 20s));
  std::vector<std::future<Received>> others(8);
  for (auto& other : others) other = send(client, services.address() + kYear);
  for (auto& other : others) EXPECT_GT(other.get().text().size(), 50000U);
  EXPECT_EQ(held.wait_for(0s), std::future_status::timeout);
  faults.release();
  EXPECT_EQ(held.get().status, 404);
  EXPECT_FALSE(faults.waitForRequests(2, "/held", 0ms));
}

TEST_F(LocalServicesTest, faultsArePlayedOverHttp) {
  EXPECT_EQ(get("/_faults?kind=page&bytes=100&match=year%3D2026&times=2").status, 200);
  EXPECT_NE(
      get("/_faults").text().find("kind=page delay=0 bytes=100 status=0 address= match=year=2026 times=2"),
      std::string::npos);
  EXPECT_EQ(get(kYear).text().size(), 100U);
  EXPECT_EQ(get("/_faults?clear").text(), "no faults\n");
  EXPECT_GT(get(kYear).text().size(), 50000U);
  EXPECT_TRUE(get("/_requests?match=tideapi").text().starts_with("2\n/v1/tideapi.php"));
  EXPECT_TRUE(get("/_requests?forget").text().starts_with("0\n"));
  for (const char* query :
       {"kind=explode", "kind=cut&bytes=x", "kind=cut&bytes=-1", "kind=status&status=99", "kind=redirect",
        "kind=redirect&address=/a%0d%0aX-Evil:%201", "kind=none&delay=99999999"}) {
    EXPECT_EQ(get(std::string("/_faults?") + query).status, 400) << query;
  }
  EXPECT_EQ(get("/_faults").text(), "no faults\n");
}

TEST_F(LocalServicesTest, stoppingEndsWhateverIsUnderWay) {
  faults.add({.kind = Fault::Kind::silence, .match = "/silent"});
  faults.add({.kind = Fault::Kind::hold, .match = "/held"});
  faults.add({.delay = 1h, .match = "/delayed"});
  CurlHttpClient client;
  std::future<Received> answers[] = {send(client, services.address() + "/silent"),
                                     send(client, services.address() + "/held"),
                                     send(client, services.address() + "/delayed")};
  ASSERT_TRUE(faults.waitForRequests(3, "", 20s));
  const std::string address = services.address();
  services.stop();
  EXPECT_TRUE(services.address().empty());
  for (auto& answer : answers) EXPECT_NE(answer.get().error, "");
  EXPECT_NE(getFrom(address).error, "");
  ASSERT_NE(services.start(), "") << "it can begin anew";
  EXPECT_EQ(get("/").status, 200);
}

TEST_F(LocalServicesTest, saysWhyItCannotStart) {
  const std::string address = services.address();
  std::uint16_t port = 0;
  std::from_chars(address.data() + address.rfind(':') + 1, address.data() + address.size(), port);
  const std::pair<LocalServices::Options, const char*> cases[] = {
      {{MARLUNE_SOURCE_RESOURCES, "", port}, "port"},
      {{"/marlune/no/such/folder", "", 0}, "stations_master_usa2.txt"},
      {{MARLUNE_SOURCE_RESOURCES, "/marlune/no/such/file", 0}, "harmonics"},
  };
  for (const auto& [options, about] : cases) {
    LocalServices other(options);
    EXPECT_EQ(other.start(), "");
    EXPECT_NE(other.error().find(about), std::string::npos) << other.error();
  }
}

TEST(LocalServices, anAddedServiceAnswersItsPaths) {
  class Echo final : public Service {
   public:
    std::vector<std::string> prefixes() const override { return {"/echo", "/v1/tideapi.php/deeper"}; }
    ServiceAnswer answer(const ServiceRequest& request) const override {
      return {200, "text/plain", request.path + "|" + request.argument("a b").value_or("none"), {}};
    }
  };
  LocalServices services({MARLUNE_SOURCE_RESOURCES, "", 0});
  services.add(std::make_unique<Echo>());
  const std::string address = services.start();
  ASSERT_NE(address, "");
  EXPECT_EQ(getFrom(address + "/echo/x%20y?a+b=1%2B1&a+b=2").text(), "/echo/x y|1+1");
  EXPECT_EQ(getFrom(address + "/v1/tideapi.php/deeper").text(), "/v1/tideapi.php/deeper|none");
  EXPECT_EQ(getFrom(address + "/echo?%zz=%4").text(), "/echo|none");
}

}  // namespace
}  // namespace marlune::services
