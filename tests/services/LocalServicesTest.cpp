#include "services/LocalServices.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace marlune::services {
namespace {

using namespace std::chrono_literals;

constexpr const char* kYear = "/v1/tideapi.php?op=highlowtide&id=398997177&year=2026&version=1&format=xml";

// Everything a server sends until it ends the connection, and how it ends it.
struct Received {
  std::string bytes;
  int error = 0;  // of the last read; 0 for an orderly end

  int status() const { return bytes.size() > 12 ? std::atoi(bytes.c_str() + 9) : 0; }
  std::string body() const {
    const auto end = bytes.find("\r\n\r\n");
    return end == std::string::npos ? std::string() : bytes.substr(end + 4);
  }
  std::string header(const std::string& name) const {
    const auto at = bytes.find("\r\n" + name + ": ");
    if (at == std::string::npos) return {};
    const auto begin = at + name.size() + 4;
    return bytes.substr(begin, bytes.find("\r\n", begin) - begin);
  }
};

class Client {
 public:
  explicit Client(const std::string& address) {
    std::uint16_t port = 0;
    const auto colon = address.rfind(':');
    std::from_chars(address.data() + colon + 1, address.data() + address.size(), port);
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    to.sin_port = htons(port);
    _socket = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const timeval limit{20, 0};  // a hanging server fails the test, not the run
    setsockopt(_socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    _connected = connect(_socket, reinterpret_cast<const sockaddr*>(&to), sizeof to) == 0;
  }
  ~Client() { close(_socket); }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  bool connected() const { return _connected; }

  void send(const std::string& bytes) { ::send(_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL); }
  void get(const std::string& target) {
    send("GET " + target + " HTTP/1.1\r\nHost: local\r\nConnection: close\r\n\r\n");
  }

  Received receive() {
    Received received;
    std::array<char, 8192> piece{};
    for (;;) {
      const ssize_t got = recv(_socket, piece.data(), piece.size(), 0);
      if (got < 0) received.error = errno;
      if (got <= 0) return received;
      received.bytes.append(piece.data(), static_cast<std::size_t>(got));
    }
  }

 private:
  int _socket = -1;
  bool _connected = false;
};

class LocalServicesTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    _services = new LocalServices({MARLUNE_SOURCE_RESOURCES, "", 0});
    _services->start();
  }
  static void TearDownTestSuite() {
    delete _services;
    _services = nullptr;
  }
  void SetUp() override {
    ASSERT_FALSE(services().address().empty()) << services().error();
    services().faults().clear();
    services().faults().forgetRequests();
  }

  static LocalServices& services() { return *_services; }
  static Received get(const std::string& target) {
    Client client(services().address());
    client.get(target);
    return client.receive();
  }

 private:
  static LocalServices* _services;
};

LocalServices* LocalServicesTest::_services = nullptr;

TEST_F(LocalServicesTest, theDefaultYearIsTheResourcesBytes) {
  std::ifstream in(std::string(MARLUNE_SOURCE_RESOURCES) + "/2026398997177.xml", std::ios::binary);
  const std::string file{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  const Received answer = get(kYear);
  EXPECT_EQ(answer.status(), 200);
  EXPECT_EQ(answer.header("Content-Length"), std::to_string(file.size()));
  EXPECT_TRUE(answer.body() == file);
  EXPECT_GT(file.size(), 50000U);
  EXPECT_NE(file.find("NOT FOR NAVIGATION"), std::string::npos);
}

std::vector<long long> timesOf(const std::string& document) {
  std::vector<long long> times;
  for (std::size_t at = document.find("<e t=\""); at != std::string::npos;
       at = document.find("<e t=\"", at + 1))
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
    const auto year = [&id = id](int number) {
      return get("/v1/tideapi.php?op=highlowtide&id=" + id + "&year=" + std::to_string(number) +
                 "&version=1&format=xml")
          .body();
    };
    const std::string first = year(2025);
    const std::string second = year(2026);
    const auto before = timesOf(first);
    const auto after = timesOf(second);
    ASSERT_FALSE(before.empty() || after.empty());
    const long long start = 1767225600 + midnight;
    EXPECT_LT(before.back(), start);
    EXPECT_GE(after.front(), start);
    EXPECT_LT(after.front() - before.back(), 86400);
    EXPECT_LT(after.back(), start + 365LL * 86400);
    const auto lastKind = first[first.rfind("w=\"") + 3];
    const auto firstKind = second[second.find("w=\"") + 3];
    EXPECT_NE(lastKind, firstKind);
  }
}

TEST_F(LocalServicesTest, whatCannotBeAnsweredGetsAShortDocument) {
  const std::string base = "/v1/tideapi.php?op=highlowtide&version=1&format=xml&";
  for (const std::string& target :
       {base + "id=1&year=2026", base + "id=398997177&year=1899", base + "id=398997177&year=2101",
        base + "id=398997177&year=20x6", base + "id=398997177", base + "year=2026", base + "id=&year=2026",
        base + "id=398997177&year=99999999999", std::string("/v1/tideapi.php"),
        std::string("/v1/tideapi.php?op=currents&id=398997177&year=2026&version=1&format=xml"),
        std::string("/v1/tideapi.php?op=highlowtide&id=398997177&year=2026&version=1&format=json")}) {
    const Received answer = get(target);
    EXPECT_EQ(answer.status(), 200) << target;
    EXPECT_LT(answer.body().size(), 150U) << target;
    EXPECT_NE(answer.body().find("<error"), std::string::npos) << target;
    EXPECT_EQ(answer.body().find("<e "), std::string::npos) << target;
  }
  EXPECT_GT(get(base + "id=398997177&year=1900").body().size(), 40000U);
  EXPECT_GT(get(base + "id=398997177&year=2100").body().size(), 40000U);
  EXPECT_EQ(get("/elsewhere").status(), 404);
}

TEST_F(LocalServicesTest, aConnectionServesSeveralRequests) {
  Client client(services().address());
  // Two at once and in pieces, then one that ends it.
  client.send("GET /a HTTP/1.1\r\nHost: local\r\n\r\nGET /b HTTP/1.1\r\nHo");
  client.send("st: local\r\n\r\n");
  client.get("/c");
  const Received all = client.receive();
  std::size_t answers = 0;
  for (std::size_t at = all.bytes.find("HTTP/1.1 404"); at != std::string::npos;
       at = all.bytes.find("HTTP/1.1 404", at + 1))
    ++answers;
  EXPECT_EQ(answers, 3U);
  EXPECT_EQ(services().faults().requests(), (std::vector<std::string>{"/a", "/b", "/c"}));

  Client wrong(services().address());
  wrong.send("what is this\r\n\r\n");
  EXPECT_EQ(wrong.receive().status(), 400);
  Client head(services().address());
  head.send(std::string("HEAD ") + kYear + " HTTP/1.0\r\n\r\n");
  const Received headAnswer = head.receive();
  EXPECT_EQ(headAnswer.status(), 200);
  EXPECT_TRUE(headAnswer.body().empty());
  EXPECT_GT(std::atoi(headAnswer.header("Content-Length").c_str()), 50000);
}

TEST_F(LocalServicesTest, eachFaultReachesTheClient) {
  const std::size_t whole = get(kYear).body().size();
  FaultPlan& faults = services().faults();

  faults.add({.kind = Fault::Kind::cut, .bytes = 1000});
  Received answer = get(kYear);
  EXPECT_EQ(answer.header("Content-Length"), std::to_string(whole));
  EXPECT_EQ(answer.body().size(), 1000U);
  EXPECT_EQ(answer.error, 0);

  faults.add({.kind = Fault::Kind::reset});
  answer = get(kYear);
  EXPECT_EQ(answer.error, ECONNRESET);
  EXPECT_TRUE(answer.bytes.empty());

  faults.add({.kind = Fault::Kind::oversize, .bytes = 3000000});
  answer = get(kYear);
  EXPECT_EQ(answer.body().size(), 3000000U);
  EXPECT_EQ(answer.body().substr(whole - 9, 9), "</tides>\n");

  faults.add({.kind = Fault::Kind::page, .bytes = 4000});
  faults.add({.kind = Fault::Kind::page, .bytes = 4000, .status = 503});
  for (const int status : {200, 503}) {
    answer = get(kYear);
    EXPECT_EQ(answer.status(), status);
    EXPECT_EQ(answer.body().size(), 4000U);
    EXPECT_TRUE(answer.body().starts_with("<!DOCTYPE html>"));
    EXPECT_TRUE(answer.header("Content-Type").starts_with("text/html"));
  }

  faults.add({.kind = Fault::Kind::status, .status = 429});
  answer = get(kYear);
  EXPECT_EQ(answer.status(), 429);
  EXPECT_TRUE(answer.body().empty());

  faults.add({.kind = Fault::Kind::redirect, .status = 301, .address = "/elsewhere"});
  answer = get(kYear);
  EXPECT_EQ(answer.status(), 301);
  EXPECT_EQ(answer.header("Location"), "/elsewhere");

  // A fault's delay is the least that a request takes.
  faults.add({.delay = 30ms});
  const auto begin = std::chrono::steady_clock::now();
  answer = get(kYear);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, 30ms);
  EXPECT_EQ(answer.body().size(), whole);

  EXPECT_TRUE(faults.pending().empty());
  EXPECT_EQ(get(kYear).body().size(), whole);
}

TEST_F(LocalServicesTest, faultsAreForTheRequestsTheyName) {
  FaultPlan& faults = services().faults();
  faults.add({.kind = Fault::Kind::status, .status = 500, .match = "/b", .times = 2});
  faults.add({.kind = Fault::Kind::status, .status = 503, .match = "/c", .times = 0});
  std::vector<int> statuses;
  for (const char* target : {"/a", "/b", "/c", "/b", "/b", "/c", "/c"})
    statuses.push_back(get(target).status());
  EXPECT_EQ(statuses, (std::vector<int>{404, 500, 503, 500, 404, 503, 503}));
  EXPECT_EQ(services().requestCount("/b"), 3U);
  EXPECT_EQ(services().requestCount(), 7U);
  faults.clear();
  EXPECT_EQ(get("/c").status(), 404);
}

TEST_F(LocalServicesTest, aHeldRequestWaitsForItsRelease) {
  FaultPlan& faults = services().faults();
  faults.add({.kind = Fault::Kind::hold, .match = "/held"});
  Client held(services().address());
  held.get("/held");
  ASSERT_TRUE(faults.waitForRequests(1, "/held", 20s));
  // Others are answered meanwhile.
  EXPECT_EQ(get("/other").status(), 404);
  faults.release();
  EXPECT_EQ(held.receive().status(), 404);
  EXPECT_FALSE(faults.waitForRequests(2, "/held", 0ms));
}

TEST_F(LocalServicesTest, faultsArePlayedOverHttp) {
  EXPECT_EQ(get("/_faults?kind=cut&bytes=10&match=year%3D2026&times=2").status(), 200);
  EXPECT_NE(
      get("/_faults").body().find("kind=cut delay=0 bytes=10 status=0 address= match=year=2026 times=2"),
      std::string::npos);
  EXPECT_EQ(get(kYear).body().size(), 10U);
  EXPECT_EQ(get("/_faults?clear").body(), "no faults\n");
  EXPECT_GT(get(kYear).body().size(), 50000U);
  EXPECT_TRUE(get("/_requests?match=tideapi").body().starts_with("2\n/v1/tideapi.php"));
  EXPECT_TRUE(get("/_requests?forget").body().starts_with("0\n"));
  for (const char* target :
       {"/_faults?kind=explode", "/_faults?kind=cut&bytes=x", "/_faults?kind=cut&bytes=-1",
        "/_faults?kind=status&status=99", "/_faults?kind=redirect",
        "/_faults?kind=redirect&address=/a%0d%0aX-Evil:%201", "/_faults?kind=none&delay=99999999"}) {
    EXPECT_EQ(get(target).status(), 400) << target;
  }
  EXPECT_EQ(get("/_faults").body(), "no faults\n");
  EXPECT_NE(get("/").body().find("NOT FOR NAVIGATION"), std::string::npos);
}

TEST_F(LocalServicesTest, manyClientsAtOnce) {
  std::vector<std::thread> threads;
  std::array<std::size_t, 8> sizes{};
  threads.reserve(sizes.size());
  for (std::size_t& size : sizes) threads.emplace_back([&size] { size = get(kYear).body().size(); });
  for (std::thread& thread : threads) thread.join();
  for (const std::size_t size : sizes) EXPECT_EQ(size, sizes[0]);
  EXPECT_EQ(services().requestCount("tideapi"), sizes.size());
}

TEST(LocalServices, stoppingEndsWhateverIsUnderWay) {
  LocalServices services({MARLUNE_SOURCE_RESOURCES, "", 0});
  const std::string address = services.start();
  ASSERT_FALSE(address.empty()) << services.error();
  FaultPlan& faults = services.faults();
  faults.add({.kind = Fault::Kind::silence, .match = "/silent"});
  faults.add({.kind = Fault::Kind::hold, .match = "/held"});
  faults.add({.delay = 1h, .match = "/delayed"});
  faults.add({.kind = Fault::Kind::oversize, .bytes = 200000000, .match = "/large"});
  Client silent(address);
  Client held(address);
  Client delayed(address);
  Client large(address);
  Client idle(address);
  silent.get("/silent");
  held.get("/held");
  delayed.get("/delayed");
  large.get("/large");  // never read, so its sender stands before a full socket
  ASSERT_TRUE(faults.waitForRequests(4, "", 20s));
  const auto begin = std::chrono::steady_clock::now();
  services.stop();
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 10s);
  EXPECT_TRUE(services.address().empty());
  for (Client* client : {&silent, &held, &delayed, &idle}) EXPECT_TRUE(client->receive().bytes.empty());
  EXPECT_FALSE(Client(address).connected());

  // And it can begin anew.
  const std::string again = services.start();
  ASSERT_FALSE(again.empty());
  Client client(again);
  client.get("/");
  EXPECT_EQ(client.receive().status(), 200);
}

TEST(LocalServices, saysWhyItCannotStart) {
  LocalServices first({MARLUNE_SOURCE_RESOURCES, "", 0});
  const std::string address = first.start();
  ASSERT_FALSE(address.empty());
  std::uint16_t port = 0;
  std::from_chars(address.data() + address.rfind(':') + 1, address.data() + address.size(), port);
  LocalServices taken({MARLUNE_SOURCE_RESOURCES, "", port});
  EXPECT_EQ(taken.start(), "");
  EXPECT_NE(taken.error().find("port"), std::string::npos);
  LocalServices empty({testing::TempDir() + "/marlune_no_such_folder", "", 0});
  EXPECT_EQ(empty.start(), "");
  EXPECT_NE(empty.error().find("stations_master_usa2.txt"), std::string::npos);
  LocalServices harmless({MARLUNE_SOURCE_RESOURCES, "/marlune/no/such/file", 0});
  EXPECT_EQ(harmless.start(), "");
  EXPECT_NE(harmless.error().find("harmonics"), std::string::npos);
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
  ASSERT_FALSE(address.empty());
  const std::map<std::string, std::string> expected = {
      {"/echo/x%20y?a+b=1%2B1&a+b=2", "/echo/x y|1+1"},
      {"/v1/tideapi.php/deeper", "/v1/tideapi.php/deeper|none"},
      {"/echo?%zz=%4", "/echo|none"},
  };
  for (const auto& [target, body] : expected) {
    Client client(address);
    client.get(target);
    EXPECT_EQ(client.receive().body(), body) << target;
  }
}

}  // namespace
}  // namespace marlune::services
