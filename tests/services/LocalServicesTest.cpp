#include "services/LocalServices.h"

#include <gtest/gtest.h>

#include <charconv>
#include <chrono>
#include <future>
#include <string>
#include <vector>

#include "marlune/platform/linux/CurlHttpClient.h"

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

TEST_F(LocalServicesTest, whatCannotBeAnsweredGetsAShortDocument) {
  for (const std::string query : {"&id=1&year=2026", "&year=2026", "&id=398997177&year=2101",
                                  "&id=398997177&year=20x6", "&id=398997177"}) {
    const Received answer = get(kTideApi + query);
    EXPECT_EQ(answer.status, 200) << query;
    EXPECT_LT(answer.text().size(), 150U) << query;
    EXPECT_NE(answer.text().find("<error"), std::string::npos) << query;
  }
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
      {{.kind = Fault::Kind::oversize, .bytes = 300000}, "", 200, 300000},
      {{.kind = Fault::Kind::page, .bytes = 4000}, "", 200, 4000},
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

}  // namespace
}  // namespace marlune::services
