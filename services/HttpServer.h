#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <thread>

#include "services/FaultPlan.h"
#include "services/Service.h"

namespace marlune::services {

/// A small HTTP/1.1 server on loopback, for development and tests only. It speaks to the socket itself,
/// because its faults (a body cut short, a reset, silence) lie below what a server library lets one do.
///
/// GET and HEAD, connections kept alive, a thread for each connection. start() and stop() belong to one
/// thread; the handler is called from several at a time.
class HttpServer {
 public:
  using Handler = std::function<ServiceAnswer(const ServiceRequest&)>;

  /// Requires that `faults` outlives the server. Paths that begin with "/_" are neither noted in the
  /// plan nor subject to it.
  HttpServer(Handler handler, FaultPlan& faults);
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  /// Begins to listen on 127.0.0.1; port 0 lets the system choose. False when it cannot, and then
  /// `error` says why.
  bool start(std::uint16_t port, std::string& error);

  /// Ends every connection, answers under way included, and returns when all threads have ended. Does
  /// nothing when not started.
  void stop();

  std::uint16_t port() const { return _port; }

 private:
  struct Connection {
    std::thread thread;
    std::atomic<bool> done = false;
  };

  void acceptLoop();
  void serve(int socket);
  bool answerOne(int socket, const std::string& head);
  bool sendAll(int socket, std::string_view bytes);
  bool waitFor(int socket, short events);
  void waitUntilClosed(int socket);
  void reap(bool all);
  bool readHead(int socket, std::string& buffer, std::string& head);

  Handler _handler;
  FaultPlan* _faults;
  std::thread _acceptor;
  std::mutex _mutex;
  std::list<Connection> _connections;  // guarded by _mutex
  std::atomic<bool> _stopping = false;
  int _listener = -1;  // constant between start and stop, as is _wake
  int _wake = -1;
  std::uint16_t _port = 0;
};

}  // namespace marlune::services
