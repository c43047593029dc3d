#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "services/FaultPlan.h"
#include "services/Service.h"

namespace marlune::services {

/// The remote services' wire formats on loopback, so that the library can be used and tested without the
/// real ones. A development tool: NOT FOR NAVIGATION.
///
/// start(), stop() and add() belong to one thread; everything else may be called from any.
///
///     LocalServices services;
///     if (services.start().empty()) fail(services.error());
///     use(services.address());              // "http://127.0.0.1:40123"
///     services.faults().add({.kind = Fault::Kind::reset});
class LocalServices {
 public:
  struct Options {
    std::string resourcesFolder = {};  ///< holds the station catalogue; empty: the library's own
    std::string harmonicsFile = {};    ///< empty: that of the package xtide-data
    std::uint16_t port = 0;            ///< 0: the system chooses a free one
    /// What the services take for now, in seconds since 1970; may be called from any thread. Empty: the
    /// system's clock.
    std::function<std::int64_t()> now = {};
  };

  LocalServices();
  explicit LocalServices(Options options);
  ~LocalServices();  ///< as stop()
  LocalServices(const LocalServices&) = delete;
  LocalServices& operator=(const LocalServices&) = delete;

  /// Adds a service to the usual ones; its prefixes win over theirs. Call before start().
  void add(std::unique_ptr<Service> service);

  /// Loads the data and begins to listen on 127.0.0.1. Returns the base address, without a slash at its
  /// end; empty when that failed, and then error() says why and what to do.
  std::string start();

  /// Ends at once, requests under way included. Does nothing when not started.
  void stop();

  /// The base address while started, else empty.
  std::string address() const;
  const std::string& error() const;

  /// Faults to play, and the requests seen. Lives as long as this object.
  FaultPlan& faults();

  /// Requests so far whose path and query contain the text.
  std::size_t requestCount(std::string_view match = {}) const;

 private:
  struct State;
  std::unique_ptr<State> _state;
};

}  // namespace marlune::services
