#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace marlune::testing {

/// A server on a free loopback port whose answers are bytes of the test's choosing, so that it can break
/// every rule of HTTP. Each connection has a thread, on which `handler` is called again and again until it
/// answers false or the connection ends.
///
///     LoopbackServer server([](LoopbackServer::Connection& connection) {
///       if (connection.readRequest().empty()) return false;
///       return connection.send("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nhi");
///     });
class LoopbackServer {
 public:
  class Connection {
   public:
    explicit Connection(int socket) : socket_(socket) {}
    /// The head of the next request, up to the blank line; empty when the connection ends before.
    std::string readRequest();
    bool send(std::string_view bytes);
    /// Says nothing until the other side or the server ends the connection.
    void stall();
    /// Ends the connection the hard way.
    void reset();

   private:
    const int socket_;
    std::string received_;
  };
  using Handler = std::function<bool(Connection&)>;

  explicit LoopbackServer(Handler handler);
  /// Ends all connections and waits for the handlers.
  ~LoopbackServer();
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;

  /// "http://127.0.0.1:PORT" and the path.
  std::string url(std::string_view path = "/") const;
  /// How many connections have been made.
  std::size_t connections() const;

 private:
  void serve(int socket);

  const Handler handler_;
  int listener_ = -1;
  std::uint16_t port_ = 0;
  std::thread acceptor_;
  mutable std::mutex mutex_;
  // Guarded by the mutex.
  std::vector<int> sockets_;
  std::list<std::thread> threads_;
  bool stopping_ = false;
};

/// An answer with a Content-Length. `headers` are lines that each end in CR LF.
std::string httpAnswer(std::string_view body, std::string_view headers = "",
                       std::string_view status = "200 OK");

/// `bytes` as gzip makes them.
std::string gzipped(std::string_view bytes);

}  // namespace marlune::testing
