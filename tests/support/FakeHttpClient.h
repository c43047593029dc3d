#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "marlune/platform/Activity.h"
#include "marlune/platform/HttpClient.h"

namespace marlune::testing {

HttpAnswer answerOf(Bytes body, int status = 200);
HttpAnswer failedAnswer(std::string error);

/// Answers requests from a script, by exact address, on a thread of its own. An address that is not in the
/// script is answered with an error and remembered. Safe from any thread; completions are called one at a
/// time.
///
///     FakeHttpClient http;
///     http.script("http://a/1", answerOf("<data/>"));
///     http.hold("http://a/2");               // no answer until ...
///     http.answer("http://a/2", answerOf(""));  // ... the test gives one
class FakeHttpClient : public HttpClient {
 public:
  explicit FakeHttpClient(std::shared_ptr<Activity> activity = nullptr);
  ~FakeHttpClient() override;
  FakeHttpClient(const FakeHttpClient&) = delete;
  FakeHttpClient& operator=(const FakeHttpClient&) = delete;

  std::shared_ptr<HttpTransfer> send(HttpRequest request, Completion completion) override;

  /// Each later request for `url` gets this answer, until another is set.
  void script(const std::string& url, HttpAnswer answer);
  /// Later requests for `url` stay open until answer(), a cancellation or the end.
  void hold(const std::string& url);
  /// Answers the oldest open request for `url`; false when there is none.
  bool answer(const std::string& url, HttpAnswer answer);

  /// Waits until `count` requests have come in all; false after ten seconds.
  bool waitForRequests(std::size_t count) const;
  /// Every request so far, in order.
  std::vector<HttpRequest> requests() const;
  /// Addresses that were asked for without being in the script.
  std::vector<std::string> unexpected() const;

 private:
  struct State;
  const std::shared_ptr<State> state_;
};

}  // namespace marlune::testing
