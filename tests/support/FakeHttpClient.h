#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "marlune/platform/Activity.h"
#include "marlune/platform/HttpClient.h"

namespace marlune::testing {

HttpAnswer answerOf(Bytes body, int status = 200);
HttpAnswer failedAnswer(std::string error);

/// Answers requests from a script, by exact address: at once on a thread of its own, or, when it is manual,
/// in deliver(). An address that is not in the script is answered with an error and remembered. Safe from
/// any thread; completions are called one at a time.
///
///     FakeHttpClient http;
///     http.script("http://a/1", answerOf("<data/>"));
///     http.hold("http://a/2");               // no answer until ...
///     http.answer("http://a/2", answerOf(""));  // ... the test gives one
class FakeHttpClient : public HttpClient {
 public:
  enum class Delivery { onOwnThread, manual };

  /// `due` is called whenever an answer has become due, on the thread that made it so.
  explicit FakeHttpClient(Delivery delivery = Delivery::onOwnThread,
                          std::shared_ptr<Activity> activity = nullptr, std::function<void()> due = nullptr);
  ~FakeHttpClient() override;
  FakeHttpClient(const FakeHttpClient&) = delete;
  FakeHttpClient& operator=(const FakeHttpClient&) = delete;

  std::shared_ptr<HttpTransfer> send(HttpRequest request, Completion completion) override;

  /// Each later request for `url` gets this answer, until another is set.
  void script(const std::string& url, HttpAnswer answer);
  /// The next request for `url` gets this one, before what script() set; several are used up in order.
  void scriptOnce(const std::string& url, HttpAnswer answer);
  /// Later requests for `url` stay open until answer(), a cancellation or the end.
  void hold(const std::string& url);
  /// Answers the oldest open request for `url`; false when there is none.
  bool answer(const std::string& url, HttpAnswer answer);

  /// Calls the completions that are due on the calling thread, also those that come due by it; how
  /// many. Does nothing unless delivery is manual.
  std::size_t deliver();

  /// Waits until `count` requests have come in all; false after ten seconds.
  bool waitForRequests(std::size_t count) const;

  /// Every request so far, in order.
  std::vector<HttpRequest> requests() const;
  std::size_t requestCount(const std::string& url) const;
  /// Requests that are neither answered nor due.
  std::size_t openCount() const;
  /// Addresses that were asked for without being in the script.
  std::vector<std::string> unexpected() const;

 private:
  struct State;
  const std::shared_ptr<State> state_;
};

}  // namespace marlune::testing
