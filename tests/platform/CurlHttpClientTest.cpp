// What the HTTP client behind the seam does, and how it stands up to hostile servers.

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <future>
#include <memory>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

#include "marlune/platform/linux/http/CurlHttpClient.h"
#include "marlune/platform/linux/http/TransferLines.h"
#include "support/Completions.h"
#include "support/LoopbackServer.h"

namespace marlune::testing {
namespace {

constexpr std::chrono::seconds longerThanAnyTest{30};

/// Sends and waits for the answer.
HttpAnswer get(HttpClient& client, HttpRequest request) {
  std::promise<HttpAnswer> answer;
  client.send(std::move(request), [&](HttpAnswer one) { answer.set_value(std::move(one)); });
  return answer.get_future().get();
}

HttpAnswer get(HttpClient& client, const std::string& url) {
  return get(client, HttpRequest{.url = url});
}

std::string headerOf(const HttpAnswer& answer, const std::string& name) {
  for (const auto& [key, value] : answer.headers) {
    if (key == name) return value;
  }
  return "(none)";
}

/// One address that is answered with "hello" and one that is not answered.
class HttpClientContract : public ::testing::Test {
 protected:
  LoopbackServer server{[](LoopbackServer::Connection& connection) {
    const std::string head = connection.readRequest();
    if (head.starts_with("GET /answered ")) return connection.send(httpAnswer("hello"));
    connection.stall();
    return false;
  }};
  std::shared_ptr<Activity> activity = std::make_shared<Activity>();
  std::shared_ptr<HttpClient> client = std::make_shared<CurlHttpClient>(activity);
  const std::string answered = server.url("/answered");
  const std::string silent = server.url("/silent");
  Completions completions;
};

TEST_F(HttpClientContract, answersLater) {
  std::mutex mutex;
  {
    const std::lock_guard lock(mutex);  // a completion inside send() would wait for this for ever
    client->send({.url = answered}, [&, done = completions.once("send")](const HttpAnswer& answer) {
      const std::lock_guard completing(mutex);
      EXPECT_EQ(answer.error, "");
      done();
    });
  }
  EXPECT_TRUE(completions.wait());
  EXPECT_TRUE(activity->waitUntilIdle(longerThanAnyTest));
  completions.verify();
}

TEST_F(HttpClientContract, cancelsOneRequestAndNotTheOthers) {
  std::atomic<int> failed = 0;
  const auto transfer =
      client->send({.url = silent}, [&, done = completions.once("silent")](const HttpAnswer& answer) {
        EXPECT_NE(answer.error, "");
        EXPECT_EQ(answer.body, nullptr);
        ++failed;
        done();
      });
  EXPECT_EQ(get(*client, answered).error, "");
  EXPECT_EQ(failed, 0);
  transfer->cancel();
  transfer->cancel();
  EXPECT_TRUE(completions.wait());
  EXPECT_TRUE(activity->waitUntilIdle(longerThanAnyTest));
  transfer->cancel();  // too late, which is no fault
  EXPECT_EQ(get(*client, answered).error, "");
  completions.verify();
}

TEST_F(HttpClientContract, destructionCompletesEveryRequest) {
  std::vector<std::shared_ptr<HttpTransfer>> transfers;
  auto* const raw = client.get();
  for (int i = 0; i < 20; ++i) {
    const bool isSilent = i % 2 == 0;
    transfers.push_back(
        raw->send({.url = isSilent ? silent : answered},
                  [&, raw, isSilent, done = completions.once("request")](const HttpAnswer& answer) {
                    EXPECT_TRUE(!isSilent || !answer.error.empty());
                    // What a completion sends meanwhile comes to the same end.
                    raw->send({.url = silent}, [done = completions.once("second")](const HttpAnswer& second) {
                      EXPECT_NE(second.error, "");
                      done();
                    });
                    done();
                  }));
  }
  client.reset();
  completions.verify();
  EXPECT_EQ(activity->open(), 0U);
  for (const auto& transfer : transfers) transfer->cancel();
}

TEST_F(HttpClientContract, manyThreadsSendAndCancel) {
  std::vector<std::thread> threads;
  for (unsigned seed = 0; seed < 4; ++seed) {
    threads.emplace_back([&, seed] {
      std::minstd_rand random(seed + 1);
      for (int i = 0; i < 50; ++i) {
        const bool isSilent = random() % 2 == 0;
        const auto transfer =
            client->send({.url = isSilent ? silent : answered},
                         [done = completions.once("request")](const HttpAnswer&) { done(); });
        if (isSilent || random() % 2 == 0) transfer->cancel();
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_TRUE(completions.wait());
  completions.verify();
}

// --- the real client and what servers may do to it ---

struct Answer {
  const char* name;
  std::string bytes;
  std::string body;     ///< what comes of it when there is no error
  std::string error;    ///< a part of the error, or empty
  bool closes = false;  ///< the server ends the connection after the bytes
};

std::string chunked(std::string_view headers, const std::vector<std::string>& chunks) {
  std::string answer = fmt::format("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n{}\r\n", headers);
  for (const auto& chunk : chunks) answer += fmt::format("{:x}\r\n{}\r\n", chunk.size(), chunk);
  return answer + "0\r\n\r\n";
}

TEST(CurlHttpClientTest, takesWholeAnswersAndNoOthers) {
  constexpr std::size_t bound = 1000;
  const std::string full(bound, 'x');
  const std::string over(bound + 1, 'x');
  const std::string gzip = "Content-Encoding: gzip\r\n";
  const std::string packed = gzipped(full);
  const std::string bomb = gzipped(std::string(std::size_t{50} << 20, '\0'));
  std::string headers;
  for (int i = 0; i < 30'000; ++i) headers += "Header: value\r\n";
  const auto plain = [](std::string_view rest) { return "HTTP/1.1 200 OK\r\n" + std::string(rest); };
  const Answer answers[] = {
      {"at the bound", httpAnswer(full), full, ""},
      {"over the bound", httpAnswer(over), "", "more than 1000 bytes"},
      {"chunked over the bound", chunked("", {full, "x"}), "", "more than 1000 bytes"},
      {"cut", plain("Content-Length: 10\r\n\r\nhalf"), "", "6 bytes remaining", true},
      {"gzip at the bound", httpAnswer(packed, gzip), full, ""},
      {"gzip in two members", httpAnswer(gzipped("one") + gzipped("two"), gzip), "onetwo", ""},
      {"gzip bomb", httpAnswer(bomb, gzip), "", "more than 1000 bytes"},
      {"gzip chunked and cut short", chunked(gzip, {packed.substr(0, 15)}), "", "ends early"},
      {"gzip damaged", httpAnswer("no gzip at all", gzip), "", "damaged"},
      {"another encoding", httpAnswer("x", "Content-Encoding: br\r\n"), "", "not asked for"},
      {"interim answer", "HTTP/1.1 100 Continue\r\nContent-Encoding: br\r\n\r\n" + httpAnswer("x"), "x", ""},
      {"garbage", "\x16\x03\x01 garbage\r\n\r\n", "", "HTTP/0.9", true},
      {"cut within a header", plain("Content-Type: te"), "", "within its headers", true},
      {"endless headers", plain(headers + "\r\n"), "", "bytes of headers", true},
  };
  CurlHttpClient client;
  for (const auto& answer : answers) {
    SCOPED_TRACE(answer.name);
    const LoopbackServer server([&](LoopbackServer::Connection& connection) {
      if (connection.readRequest().empty() || !connection.send(answer.bytes)) return false;
      return !answer.closes;
    });
    const auto got = get(client, HttpRequest{.url = server.url(), .maximumBodySize = bound});
    if (answer.error.empty()) {
      EXPECT_EQ(got.error, "");
      EXPECT_EQ(got.status, 200);
      ASSERT_TRUE(got.body);
      EXPECT_EQ(*got.body, answer.body);
    } else {
      EXPECT_NE(got.error.find(answer.error), std::string::npos) << got.error;
      EXPECT_EQ(got.body, nullptr);
    }
  }
}

TEST(CurlHttpClientTest, sendsWhatIsAskedAndNothingElse) {
  std::promise<std::string> head;
  const LoopbackServer server([&](LoopbackServer::Connection& connection) {
    head.set_value(connection.readRequest());
    connection.send(httpAnswer("", "X-Upper: Kept As Is \r\nX-Folded: a\r\n b\r\nX-Empty:\r\n"));
    return false;
  });
  CurlHttpClient client;
  HttpRequest request{.url = server.url("/a/../b:c,d?e=(f)&g=%20")};
  request.headers = {{"X-Key", "secret"}, {"X-Empty", ""}, {"Accept", "text/x"}};
  const auto answer = get(client, std::move(request));
  EXPECT_EQ(headerOf(answer, "x-upper"), "Kept As Is");
  EXPECT_EQ(headerOf(answer, "x-folded"), "a b");
  EXPECT_EQ(headerOf(answer, "x-empty"), "");
  const std::string sent = head.get_future().get();
  EXPECT_TRUE(sent.starts_with("GET /a/../b:c,d?e=(f)&g=%20 HTTP/1.1\r\n")) << sent;
  for (const char* line : {"\r\nX-Key: secret\r\n", "\r\nX-Empty:\r\n", "\r\nAccept: text/x\r\n",
                           "\r\nAccept-Encoding: gzip\r\n", "\r\nUser-Agent: marlune/0.1\r\n"}) {
    EXPECT_NE(sent.find(line), std::string::npos) << line << "in:\n" << sent;
  }
}

TEST(CurlHttpClientTest, refusesOtherAddressesAndBrokenHeaders) {
  CurlHttpClient client;
  for (const char* url : {"", "file:///etc/passwd", "127.0.0.1", "http://127.0.0.1:99999/", "http://a b/"}) {
    EXPECT_NE(get(client, url).error, "") << url;
  }
  const auto answer = get(client, {.url = "http://127.0.0.1:1/", .headers = {{"A", "b\r\nC: d"}}});
  EXPECT_NE(answer.error.find("header"), std::string::npos);
}

TEST(CurlHttpClientTest, followsRedirectsWithinBounds) {
  std::mutex mutex;
  std::string last;
  const auto arrive = [&](LoopbackServer::Connection& connection, const std::string& head) {
    const std::lock_guard lock(mutex);
    last = head;
    return connection.send(httpAnswer("arrived"));
  };
  const LoopbackServer target([&](LoopbackServer::Connection& connection) {
    const std::string head = connection.readRequest();
    return !head.empty() && arrive(connection, head);
  });
  const LoopbackServer server([&](LoopbackServer::Connection& connection) {
    const std::string head = connection.readRequest();
    if (head.empty()) return false;
    const std::string path = head.substr(4, head.find(' ', 4) - 4);
    std::string to = path.substr(path.find('=') + 1);
    if (path == "/here" || path == "/count=0") return arrive(connection, head);
    if (path == "/other") to = target.url("/there");
    if (path.starts_with("/count")) to = "/count=" + std::to_string(std::stoi(to) - 1);
    return connection.send(httpAnswer("moved", "Location: " + to + "\r\nX-Old: yes\r\n", "302 Found"));
  });
  CurlHttpClient client;
  for (const char* path :
       {"/to=file:///etc/passwd", "/to=ftp://127.0.0.1/x", "/count=11", "/to=//", "/to=data:text/plain,x"}) {
    EXPECT_NE(get(client, server.url(path)).error, "") << path;
  }
  for (const char* path : {"/count=10", "/to=/here", "/to=here", "/other"}) {
    const auto answer = get(
        client, HttpRequest{.url = server.url(path), .headers = {{"X-Key", "secret"}, {"Accept", "text/x"}}});
    EXPECT_EQ(answer.error, "") << path;
    EXPECT_EQ(answer.body ? *answer.body : "", "arrived") << path;
    EXPECT_EQ(headerOf(answer, "x-old"), "(none)") << "the headers are those of the last answer";
    const std::lock_guard lock(mutex);
    EXPECT_EQ(last.find("secret") == std::string::npos, path == std::string("/other")) << path;
    EXPECT_NE(last.find("text/x"), std::string::npos) << path;
  }
}

TEST(CurlHttpClientTest, limitsSilenceAndTheWhole) {
  LoopbackServer server([&](LoopbackServer::Connection& connection) {
    const std::string head = connection.readRequest();
    if (!head.starts_with("GET /never "))
      connection.send("HTTP/1.1 200 OK\r\nContent-Length: 1000000000\r\n\r\nx");
    while (head.starts_with("GET /drip ") && connection.send("x")) std::this_thread::yield();
    connection.stall();
    return false;
  });
  CurlHttpClient client;
  for (const char* path : {"/never", "/head"}) {
    const HttpRequest request{.url = server.url(path), .silenceLimit = std::chrono::milliseconds(50)};
    EXPECT_EQ(get(client, request).error, "no byte for 50 ms") << path;
  }
  HttpRequest drip{.url = server.url("/drip")};
  drip.maximumBodySize = std::size_t{1} << 40;
  drip.totalLimit = std::chrono::milliseconds(100);
  EXPECT_EQ(get(client, std::move(drip)).error, "no whole answer within 100 ms");
  HttpRequest longest{.url = "http://127.0.0.1:1/"};
  longest.silenceLimit = longest.totalLimit = std::chrono::milliseconds::max();
  EXPECT_NE(get(client, std::move(longest)).error, "");
}

TEST(CurlHttpClientTest, survivesResetsAndKeepsConnections) {
  LoopbackServer server([&](LoopbackServer::Connection& connection) {
    const std::string head = connection.readRequest();
    if (head.empty()) return false;
    if (head.starts_with("GET /reset ")) {
      connection.send("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nab");
      connection.reset();
      return false;
    }
    connection.send(httpAnswer("x"));
    return !head.starts_with("GET /last ");  // ends a connection that was to be kept
  });
  CurlHttpClient client;
  EXPECT_NE(get(client, server.url("/reset")).error, "");
  const std::size_t before = server.connections();
  for (int i = 0; i < 10; ++i) EXPECT_EQ(get(client, server.url("/kept")).error, "");
  EXPECT_EQ(server.connections(), before + 1);
  for (int i = 0; i < 5; ++i)
    EXPECT_EQ(get(client, server.url("/last")).error, "") << "a lost connection is renewed";
}

// --- Who waits for a connection ---

TEST(TransferLinesTest, countsByHostAndInAllAndServesWhoHasLeast) {
  TransferLines lines;
  const auto add = [&](const std::string& url) {
    auto transfer = std::make_shared<CurlTransfer>(HttpRequest{.url = url}, nullptr, nullptr, [] {});
    lines.add(transfer);
    return transfer;
  };
  std::vector<TransferLines::Transfer> ofOne;
  ofOne.reserve(8);
  for (int i = 0; i < 8; ++i) ofOne.push_back(add("HTTP://one.test:80/" + std::to_string(i)));
  for (std::size_t i = 0; i < 6; ++i) EXPECT_EQ(lines.next(), ofOne[i]) << "in the order of coming";
  EXPECT_FALSE(lines.isReady());
  EXPECT_EQ(lines.next(), nullptr) << "the seventh of a host waits";
  lines.add(std::make_shared<CurlTransfer>(HttpRequest{.url = "http://one.test/9"}, nullptr, nullptr, [] {}));
  EXPECT_EQ(lines.next(), nullptr) << "the same host under another spelling";

  for (int host = 0; host < 9; ++host) {
    for (int i = 0; i < 6; ++i) add("https://host" + std::to_string(host) + ".test/");
  }
  const auto late = add("http://one.test:81/");
  std::size_t started = 0;
  bool lateStarted = false;
  while (const auto transfer = lines.next()) {
    ++started;
    lateStarted = lateStarted || transfer == late;
    EXPECT_NE(transfer->host(), "http://one.test:80");
  }
  EXPECT_EQ(started, 42U) << "48 in all";
  EXPECT_TRUE(lateStarted) << "who has none under way comes before those who have some";

  lines.ended(ofOne[0]);
  EXPECT_TRUE(lines.isReady());
  const auto next = lines.next();
  ASSERT_TRUE(next);
  EXPECT_NE(next, ofOne[6]) << "another host has fewer under way";
  lines.ended(ofOne[1]);
  lines.ended(ofOne[2]);
  ofOne[6]->cancel();
  EXPECT_EQ(lines.takeCancelled(), std::vector{ofOne[6]});
  EXPECT_FALSE(lines.takeAll().empty());
  EXPECT_EQ(lines.next(), nullptr);
}

/// Answers /answered, says nothing to any other, and knows how many it keeps waiting.
class HoldingServer {
 public:
  std::string url(const std::string& path) const { return server_.url(path); }
  void waitUntilHeld(int count) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return held_ >= count; });
  }
  int mostHeld() {
    const std::lock_guard lock(mutex_);
    return most_;
  }

 private:
  void hold(int change) {
    const std::lock_guard lock(mutex_);
    held_ += change;
    most_ = std::max(most_, held_);
    changed_.notify_all();
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  int held_ = 0;
  int most_ = 0;
  const LoopbackServer server_{[this](LoopbackServer::Connection& connection) {
    const std::string head = connection.readRequest();
    if (head.empty()) return false;
    if (head.starts_with("GET /answered ")) return connection.send(httpAnswer("hello"));
    hold(1);
    connection.stall();
    hold(-1);
    return false;
  }};
};

TEST(CurlHttpClientTest, aSilentHostDelaysNoOther) {
  HoldingServer silent;
  HoldingServer other;
  CurlHttpClient client;
  Completions completions;
  std::vector<std::shared_ptr<HttpTransfer>> transfers(40);
  const auto failing = [&] {
    return [once = completions.once("silent")](const HttpAnswer& answer) {
      EXPECT_EQ(answer.error, "cancelled");
      once();
    };
  };
  for (auto& transfer : transfers) transfer = client.send({.url = silent.url("/silent")}, failing());
  silent.waitUntilHeld(6);
  EXPECT_EQ(get(client, other.url("/answered")).error, "");

  std::promise<HttpAnswer> last;
  client.send({.url = silent.url("/answered")},
              [&](HttpAnswer answer) { last.set_value(std::move(answer)); });
  HttpRequest brief{.url = other.url("/silent"), .silenceLimit = std::chrono::milliseconds(20)};
  EXPECT_EQ(get(client, std::move(brief)).error, "no byte for 20 ms");
  for (std::size_t i = transfers.size(); i-- > 0;) transfers[i]->cancel();  // those that wait, too
  EXPECT_TRUE(completions.wait());
  EXPECT_EQ(last.get_future().get().error, "");
  EXPECT_LE(silent.mostHeld(), 6);
  completions.verify();
}

TEST(CurlHttpClientTest, limitsBeginWithTheTransferAndNotInLine) {
  HoldingServer server;
  CurlHttpClient client;
  Completions completions;
  for (int i = 0; i < 6; ++i) {
    HttpRequest request{.url = server.url("/silent"), .silenceLimit = std::chrono::milliseconds(500)};
    client.send(std::move(request), [once = completions.once("silent")](const HttpAnswer& answer) {
      EXPECT_EQ(answer.error, "no byte for 500 ms");
      once();
    });
  }
  HttpRequest seventh{.url = server.url("/answered")};
  seventh.silenceLimit = seventh.totalLimit = std::chrono::milliseconds(400);
  EXPECT_EQ(get(client, std::move(seventh)).error, "");
  EXPECT_TRUE(completions.wait());
  completions.verify();
}

// The last who holds the client is a completion.
TEST_F(HttpClientContract, aCompletionMayDestroyIt) {
  for (int round = 0; round < 20; ++round) {
    auto own = std::make_shared<CurlHttpClient>(activity);
    auto* const raw = own.get();
    for (int i = 0; i < 10; ++i) {
      raw->send({.url = silent}, [done = completions.once("open")](const HttpAnswer& answer) {
        EXPECT_NE(answer.error, "");
        done();
      });
    }
    // On a host of its own, so that it does not wait for the silent ones.
    raw->send({.url = "http://127.0.0.1:1/"},
              [held = std::move(own), done = completions.once("last")](const HttpAnswer&) mutable {
                held.reset();
                done();
              });
  }
  EXPECT_TRUE(completions.wait());
  EXPECT_TRUE(activity->waitUntilIdle(longerThanAnyTest));
  completions.verify();
}

TEST(EncodedAddressTest, encodesWhatWouldBreakOrChangeAnAddress) {
  const std::pair<const char*, const char*> cases[] = {
      {"http://h:8/a/b,c;d=e@f!$&()*-._~[]", "http://h:8/a/b,c;d=e@f!$&()*-._~[]"},
      {"http://h/a b\tc\nd", "http://h/a%20b%09c%0Ad"},
      {"http://h/?q=a+b&c=%41#x", "http://h/?q=a%2Bb&c=%2541%23x"},
      {"http://h/\"'<>`\\^{|}\x7f", "http://h/%22%27%3C%3E%60%5C%5E%7B%7C%7D%7F"},
      {"http://h/M\xc3\xbcnchen\x01", "http://h/M%C3%BCnchen%01"},
  };
  for (const auto& [published, travels] : cases) EXPECT_EQ(encodedAddress(published), travels);
  EXPECT_EQ(encodedGivenAddress("http://h/%2F+1,2?q=a+b%20 \"\xc3\xbc#part"),
            "http://h/%2F+1,2?q=a+b%20%20%22%C3%BC");
}

TEST(HttpAddressTest, namesAHostAndSpeaksHttp) {
  for (const char* address : {"http://a", "https://a.b:80/c", "http://[::1]:80/", "HTTP://127.0.0.1:1?q"}) {
    EXPECT_TRUE(isHttpAddress(address)) << address;
  }
  for (const char* address :
       {"", "http://", "http:///x", "file:///etc", "//a", "http://a b/", "http://[::1/x", "http://h:99999/",
        "http://h:x/", "http://:80/", "http://u@h/", "http://[::1]x/"}) {
    EXPECT_FALSE(isHttpAddress(address)) << address;
  }
}

}  // namespace
}  // namespace marlune::testing
