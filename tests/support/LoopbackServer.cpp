#include "support/LoopbackServer.h"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace marlune::testing {

std::string LoopbackServer::Connection::readRequest() {
  while (true) {
    if (const std::size_t end = received_.find("\r\n\r\n"); end != std::string::npos) {
      std::string head = received_.substr(0, end + 4);
      received_.erase(0, end + 4);
      return head;
    }
    char buffer[4096];
    const auto count = ::recv(socket_, buffer, sizeof buffer, 0);
    if (count <= 0) return "";
    received_.append(buffer, static_cast<std::size_t>(count));
  }
}

bool LoopbackServer::Connection::send(std::string_view bytes) {
  while (!bytes.empty()) {
    const auto count = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

void LoopbackServer::Connection::stall() {
  char byte = 0;
  while (::recv(socket_, &byte, 1, 0) > 0) {
  }
}

void LoopbackServer::Connection::reset() {
  const linger hard{1, 0};
  ::setsockopt(socket_, SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
}

LoopbackServer::LoopbackServer(Handler handler) : handler_(std::move(handler)) {
  listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  auto* const generic = reinterpret_cast<sockaddr*>(&address);
  if (::bind(listener_, generic, size) != 0 || ::listen(listener_, 64) != 0 ||
      ::getsockname(listener_, generic, &size) != 0) {
    throw std::runtime_error("no loopback socket");
  }
  port_ = ntohs(address.sin_port);
  acceptor_ = std::thread([this] {
    while (true) {
      const int socket = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
      if (socket < 0) return;
      const std::lock_guard lock(mutex_);
      if (stopping_) {
        ::close(socket);
        return;
      }
      sockets_.push_back(socket);
      threads_.emplace_back([this, socket] { serve(socket); });
    }
  });
}

LoopbackServer::~LoopbackServer() {
  std::list<std::thread> threads;
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
    for (const int socket : sockets_) {
      if (socket >= 0) ::shutdown(socket, SHUT_RDWR);
    }
  }
  ::shutdown(listener_, SHUT_RDWR);
  acceptor_.join();
  {
    const std::lock_guard lock(mutex_);
    threads.swap(threads_);
  }
  for (auto& thread : threads) thread.join();
  ::close(listener_);
}

std::string LoopbackServer::url(std::string_view path) const {
  return fmt::format("http://127.0.0.1:{}{}", port_, path);
}

std::size_t LoopbackServer::connections() const {
  const std::lock_guard lock(mutex_);
  return sockets_.size();
}

void LoopbackServer::serve(int socket) {
  Connection connection(socket);
  while (handler_(connection)) {
  }
  const std::lock_guard lock(mutex_);
  *std::find(sockets_.begin(), sockets_.end(), socket) = -1;
  ::close(socket);
}

std::string httpAnswer(std::string_view body, std::string_view headers, std::string_view status) {
  return fmt::format("HTTP/1.1 {}\r\nContent-Length: {}\r\n{}\r\n{}", status, body.size(), headers, body);
}

std::string gzipped(std::string_view bytes) {
  z_stream stream{};
  constexpr int gzipFormat = 16;
  if (deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, MAX_WBITS + gzipFormat, 8, Z_DEFAULT_STRATEGY) !=
      Z_OK) {
    throw std::runtime_error("no compressor");
  }
  std::string output(deflateBound(&stream, bytes.size()) + 64, '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
  stream.avail_in = static_cast<uInt>(bytes.size());
  stream.next_out = reinterpret_cast<Bytef*>(output.data());
  stream.avail_out = static_cast<uInt>(output.size());
  deflate(&stream, Z_FINISH);
  output.resize(stream.total_out);
  deflateEnd(&stream);
  return output;
}

}  // namespace marlune::testing
