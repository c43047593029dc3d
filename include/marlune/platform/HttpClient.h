#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "marlune/base/Data.h"
#include "marlune/base/Export.h"
#include "marlune/tasks/UniqueFunction.h"

namespace marlune {

struct HttpRequest {
  /// Address as it travels: see encodedAddress().
  std::string url = {};
  /// Headers beyond the client's own, in order.
  std::vector<std::pair<std::string, std::string>> headers = {};
  std::size_t maximumBodySize = std::size_t{16} << 20;  ///< decoded bytes; a larger answer is an error
  /// Longest wait without a byte, and longest time for the whole answer. Both count from when the client
  /// begins with the request, not while it waits for its turn.
  std::chrono::milliseconds silenceLimit{25'000};
  std::chrono::milliseconds totalLimit{60'000};
};

struct HttpAnswer {
  /// Empty when a whole answer came, whatever its status; else what went wrong, for people.
  std::string error;
  int status = 0;
  std::vector<std::pair<std::string, std::string>> headers;  ///< of the last answer; names in lower case
  Data body;  ///< the whole decoded body; an empty pointer exactly when `error` is set
};

/// A request under way. Releasing it does nothing: the request goes on to its completion.
class MARLUNE_API HttpTransfer {
 public:
  virtual ~HttpTransfer() = default;
  /// Ends the request soon; its completion is called with an error, unless it was called already.
  virtual void cancel() = 0;
};

/// Sends GET requests. Calls are safe from any thread.
///
/// Only http and https are spoken, redirects included (at most 10, and never to another scheme); TLS
/// certificates are verified; gzip is accepted and undone. A body that ends early is an error.
class MARLUNE_API HttpClient {
 public:
  /// Called exactly once, also on cancellation and when the client is destroyed, on a thread of the client's.
  /// It must not block and must not destroy the client.
  using Completion = UniqueFunction<void(HttpAnswer)>;

  virtual ~HttpClient() = default;

  /// Starts a request. The completion is never called inside this call.
  virtual std::shared_ptr<HttpTransfer> send(HttpRequest request, Completion completion) = 0;
};

/// A published address as it travels: what would break it or change its meaning (blanks, control and
/// non-ASCII bytes, `#`, `%`, `"`, `'`, `<`, `>`, `` ` ``, `\`, `^`, `{`, `|`, `}` and a `+` in the query) is
/// percent-encoded; everything else, `/`, `:` and `,` among it, stays as it stands.
MARLUNE_API std::string encodedAddress(std::string_view published);

/// An address that an answer gave, as it travels: it is encoded already where it needs to be, so only what
/// would break it (blanks, control and non-ASCII bytes, `"`, `<`, `>`, `` ` ``, `\`, `^`, `{`, `|`, `}`) is
/// percent-encoded, and a fragment, which never travels, goes.
MARLUNE_API std::string encodedGivenAddress(std::string_view given);

/// Can an address be asked by http or https, in capitals or small letters: does it name a host, perhaps with
/// a port, and nothing else before its path?
MARLUNE_API bool isHttpAddress(std::string_view address);

}  // namespace marlune
