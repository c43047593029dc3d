// What the HTTP client behind the seam does, and how it stands up to hostile servers.

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <random>
#include <thread>
#include <vector>

#include "marlune/platform/linux/CurlHttpClient.h"
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

}  // namespace
}  // namespace marlune::testing
