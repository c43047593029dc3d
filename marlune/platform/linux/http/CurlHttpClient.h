#pragma once

#include <memory>

#include "marlune/base/Export.h"
#include "marlune/platform/Activity.h"
#include "marlune/platform/HttpClient.h"

namespace marlune {

/// Requests over the network, all on one thread of the client's, which starts with the first of them and on
/// which completions are called. Connections are kept and used again. Proxies are those of the environment
/// (`http_proxy`, `https_proxy`, `no_proxy`); no cookies are kept. Calls are safe from any thread.
///
/// At most 6 requests are under way to one host (scheme, host and port of the address) and 48 in all; the
/// others wait in line, first come, first served at each host, and the host with the fewest under way is
/// next. So a host that does not answer holds up no request to another; only eight of them could. Time limits
/// count from when a request leaves the line and include connecting and redirects; a request may be cancelled
/// while it waits.
///
/// A redirect to another host, port or scheme takes along none of the request's own headers but Accept... and
/// User-Agent.
///
///     CurlHttpClient client;
///     client.send({.url = "https://tides.example.org/2025"}, [](HttpAnswer answer) { ... });
class MARLUNE_API CurlHttpClient : public HttpClient {
 public:
  /// `activity` counts each request until its completion has returned and been destroyed.
  explicit CurlHttpClient(std::shared_ptr<Activity> activity = nullptr);

  /// Completes every open request with an error before it returns; where a completion destroys the client,
  /// the others are completed afterwards, on the client's thread, which then ends by itself.
  ~CurlHttpClient() override;
  CurlHttpClient(const CurlHttpClient&) = delete;
  CurlHttpClient& operator=(const CurlHttpClient&) = delete;

  std::shared_ptr<HttpTransfer> send(HttpRequest request, Completion completion) override;

 private:
  struct State;
  const std::shared_ptr<State> state_;
  const std::shared_ptr<Activity> activity_;
};

}  // namespace marlune
