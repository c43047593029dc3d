#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace marlune::services {

/// What is to go wrong with a request.
struct Fault {
  enum class Kind {
    none,      ///< answer as usual, after `delay`
    hold,      ///< keep the request until release(), then answer as usual
    silence,   ///< never answer; the connection stays open until the client or the services end it
    reset,     ///< end the connection with a reset, before a byte is sent
    cut,       ///< announce the whole length, send `bytes` bytes of the body, close
    oversize,  ///< answer as usual, and blanks behind it until the body has `bytes` bytes
    page,      ///< an HTML error page of `bytes` bytes, with `status`
    status,    ///< an empty body with `status`
    redirect,  ///< send the client to `address`, with `status`
  };

  Kind kind = Kind::none;
  std::chrono::milliseconds delay{0};  ///< before anything else happens, whatever the kind
  std::size_t bytes = 0;
  int status = 0;  ///< 0: 302 for a redirect, 500 for a bare status, 200 for a page
  std::string address = {};
  std::string match = {};          ///< only for requests whose path and query contain this text
  int times = 1;                   ///< for so many requests; 0: until cleared
  std::size_t releasesBefore = 0;  ///< set by take(): a later release() ends a hold
};

/// Name of a kind as in `/_faults?kind=cut`; nothing for an unknown name.
std::optional<Fault::Kind> faultKind(std::string_view name);
std::string_view faultName(Fault::Kind kind);

/// What is to go wrong, and what has been asked. All operations may be called from any thread.
///
///     services.faults().add({.kind = Fault::Kind::cut, .bytes = 1000, .match = "year=2026"});
class FaultPlan {
 public:
  void add(Fault fault);

  /// Forgets every fault; held requests go on.
  void clear();

  /// Lets the requests go on that are held now.
  void release();

  std::vector<Fault> pending() const;

  /// Number of requests so far whose path and query contain the text (all of them for an empty one).
  /// Requests to the control paths (which begin with "/_") do not count.
  std::size_t requestCount(std::string_view match = {}) const;

  /// Path and query of every request so far, in order of arrival.
  std::vector<std::string> requests() const;

  void forgetRequests();

  /// Waits until at least `count` requests that contain the text have arrived. False when that has not
  /// happened within the limit.
  bool waitForRequests(std::size_t count, std::string_view match, std::chrono::milliseconds limit) const;

  /// Notes the request and takes the fault that applies to it: the oldest one that matches.
  Fault take(std::string_view target);

  /// Waits as a fault asks for: its delay, and for `hold` until released. Requires that `stopped` turns
  /// true only in company with a call of wake(). False when it did.
  bool wait(const Fault& fault, const std::function<bool()>& stopped) const;
  void wake() const;

 private:
  std::size_t countLocked(std::string_view match) const;

  mutable std::mutex _mutex;
  mutable std::condition_variable _changed;
  std::vector<Fault> _faults;
  std::vector<std::string> _requests;
  std::size_t _releases = 0;
};

}  // namespace marlune::services
