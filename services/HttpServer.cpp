#include "services/HttpServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <iterator>
#include <optional>
#include <system_error>
#include <utility>

#include <fmt/format.h>

namespace marlune::services {
namespace {

constexpr std::size_t kLongestHead = 65536;

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::string percentDecoded(std::string_view text, bool plusIsBlank) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && i + 2 < text.size() && hexValue(text[i + 1]) >= 0 && hexValue(text[i + 2]) >= 0) {
      out.push_back(static_cast<char>(hexValue(text[i + 1]) * 16 + hexValue(text[i + 2])));
      i += 2;
    } else {
      out.push_back(plusIsBlank && text[i] == '+' ? ' ' : text[i]);
    }
  }
  return out;
}

std::string lowered(std::string_view text) {
  std::string out(text);
  for (char& c : out) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return out;
}

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  return text;
}

// Calls back for every part between separators.
template <typename Function>
void forEachPart(std::string_view text, std::string_view separator, Function function) {
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find(separator, begin), text.size());
    function(text.substr(begin, end - begin));
    begin = end + separator.size();
  }
}

struct ParsedHead {
  std::string method;
  std::string version;
  ServiceRequest request;
};

void parseTarget(std::string_view target, ServiceRequest& request) {
  request.target = target;
  const std::size_t mark = std::min(target.find('?'), target.size());
  request.path = percentDecoded(target.substr(0, mark), false);
  if (mark == target.size()) return;
  forEachPart(target.substr(mark + 1), "&", [&](std::string_view part) {
    const std::size_t equals = std::min(part.find('='), part.size());
    const std::string_view value = equals == part.size() ? std::string_view() : part.substr(equals + 1);
    if (!part.empty())
      request.query.emplace(percentDecoded(part.substr(0, equals), true), percentDecoded(value, true));
  });
}

std::optional<ParsedHead> parseHead(std::string_view head) {
  ParsedHead parsed;
  bool first = true;
  bool good = true;
  forEachPart(head, "\r\n", [&](std::string_view line) {
    if (first) {
      first = false;
      const std::size_t method = line.find(' ');
      const std::size_t target = line.rfind(' ');
      if (method == std::string_view::npos || target == method || line[method + 1] != '/') {
        good = false;
        return;
      }
      parsed.method = line.substr(0, method);
      parsed.version = line.substr(target + 1);
      parseTarget(line.substr(method + 1, target - method - 1), parsed.request);
      good = parsed.version.starts_with("HTTP/1.");
      return;
    }
    const std::size_t colon = line.find(':');
    if (colon != std::string_view::npos)
      parsed.request.headers.emplace(lowered(line.substr(0, colon)), trimmed(line.substr(colon + 1)));
  });
  if (!good) return std::nullopt;
  return parsed;
}

std::string_view reasonOf(int status) {
  switch (status) {
    case 200:
      return "OK";
    case 301:
      return "Moved Permanently";
    case 302:
      return "Found";
    case 304:
      return "Not Modified";
    case 400:
      return "Bad Request";
    case 401:
      return "Unauthorized";
    case 403:
      return "Forbidden";
    case 404:
      return "Not Found";
    case 405:
      return "Method Not Allowed";
    case 429:
      return "Too Many Requests";
    case 500:
      return "Internal Server Error";
    case 503:
      return "Service Unavailable";
    default:
      return "Status";
  }
}

std::string headOf(const ServiceAnswer& answer, bool keepAlive) {
  std::string head = fmt::format(
      "HTTP/1.1 {} {}\r\nContent-Type: {}\r\nContent-Length: {}\r\nConnection: {}\r\n", answer.status,
      reasonOf(answer.status), answer.contentType, answer.body.size(), keepAlive ? "keep-alive" : "close");
  head += "X-Notice: development tool, not for navigation\r\n";
  for (const auto& [name, value] : answer.headers) head += fmt::format("{}: {}\r\n", name, value);
  return head + "\r\n";
}

ServiceAnswer errorPage(const Fault& fault) {
  std::string page = "<!DOCTYPE html>\n<html><head><title>Error</title></head><body><h1>Error</h1>\n<p>";
  constexpr std::string_view end = "</p></body></html>\n";
  if (fault.bytes > page.size() + end.size()) page.append(fault.bytes - page.size() - end.size(), 'x');
  page += end;
  return {fault.status == 0 ? 200 : fault.status, "text/html; charset=utf-8", std::move(page), {}};
}

void closeWithReset(int socket) {
  const linger now{1, 0};
  setsockopt(socket, SOL_SOCKET, SO_LINGER, &now, sizeof now);
}

std::string lastError() {
  return std::system_category().message(errno);
}

}  // namespace

HttpServer::HttpServer(Handler handler, FaultPlan& faults) : _handler(std::move(handler)), _faults(&faults) {}

HttpServer::~HttpServer() {
  stop();
}

bool HttpServer::start(std::uint16_t port, std::string& error) {
  _wake = eventfd(0, EFD_CLOEXEC);
  _listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  socklen_t length = sizeof address;
  const int on = 1;
  if (_wake >= 0 && _listener >= 0 && setsockopt(_listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) == 0 &&
      bind(_listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
      listen(_listener, SOMAXCONN) == 0 &&
      getsockname(_listener, reinterpret_cast<sockaddr*>(&address), &length) == 0) {
    _port = ntohs(address.sin_port);
    _stopping = false;
    _acceptor = std::thread([this] { acceptLoop(); });
    return true;
  }
  error = fmt::format("cannot listen on 127.0.0.1 port {}: {}", port, lastError());
  if (_listener >= 0) close(_listener);
  if (_wake >= 0) close(_wake);
  _listener = _wake = -1;
  return false;
}

void HttpServer::stop() {
  if (!_acceptor.joinable()) return;
  _stopping = true;
  // Never read, so it stays readable and ends every poll.
  const std::uint64_t one = 1;
  [[maybe_unused]] const auto written = write(_wake, &one, sizeof one);
  _faults->wake();
  _acceptor.join();
  reap(true);
  close(_listener);
  close(_wake);
  _listener = _wake = -1;
}

void HttpServer::reap(bool all) {
  std::list<Connection> ended;
  {
    const std::lock_guard lock(_mutex);
    for (auto it = _connections.begin(); it != _connections.end();) {
      const auto next = std::next(it);
      if (all || it->done) ended.splice(ended.end(), _connections, it);
      it = next;
    }
  }
  for (Connection& connection : ended) connection.thread.join();
}

void HttpServer::acceptLoop() {
  while (waitFor(_listener, POLLIN)) {
    const int socket = accept4(_listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (socket < 0) continue;
    reap(false);
    const std::lock_guard lock(_mutex);
    Connection& connection = _connections.emplace_back();
    connection.thread = std::thread([this, socket, &connection] {
      serve(socket);
      close(socket);
      connection.done = true;
    });
  }
}

// True when the socket is ready, false when the server is to stop.
bool HttpServer::waitFor(int socket, short events) {
  std::array<pollfd, 2> watched = {{{socket, events, 0}, {_wake, POLLIN, 0}}};
  while (poll(watched.data(), watched.size(), -1) < 0 && errno == EINTR) {
  }
  return watched[1].revents == 0 && !_stopping;
}

bool HttpServer::sendAll(int socket, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(sent));
    } else if (errno == EAGAIN) {
      if (!waitFor(socket, POLLOUT)) return false;
    } else if (errno != EINTR) {
      return false;
    }
  }
  return true;
}

void HttpServer::waitUntilClosed(int socket) {
  std::array<char, 4096> rest{};
  while (waitFor(socket, POLLIN)) {
    const ssize_t got = recv(socket, rest.data(), rest.size(), 0);
    if (got == 0 || (got < 0 && errno != EAGAIN && errno != EINTR)) return;
  }
}

// Takes the next request's head from what has arrived, reading on as needed; false at the end.
bool HttpServer::readHead(int socket, std::string& buffer, std::string& head) {
  for (;;) {
    const std::size_t end = buffer.find("\r\n\r\n");
    if (end != std::string::npos) {
      head = buffer.substr(0, end);
      buffer.erase(0, end + 4);
      return true;
    }
    std::array<char, 4096> piece{};
    if (buffer.size() > kLongestHead || !waitFor(socket, POLLIN)) return false;
    const ssize_t got = recv(socket, piece.data(), piece.size(), 0);
    if (got > 0)
      buffer.append(piece.data(), static_cast<std::size_t>(got));
    else if (got == 0 || (errno != EAGAIN && errno != EINTR))
      return false;
  }
}

void HttpServer::serve(int socket) {
  const int on = 1;
  setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  std::string buffer;
  std::string head;
  while (readHead(socket, buffer, head) && answerOne(socket, head)) {
  }
}

// False when the connection is to end.
bool HttpServer::answerOne(int socket, const std::string& head) {
  const auto parsed = parseHead(head);
  if (!parsed) {
    sendAll(socket, headOf({400, "text/plain", "", {}}, false));
    return false;
  }
  const ServiceRequest& request = parsed->request;
  const Fault fault = request.path.starts_with("/_") ? Fault{} : _faults->take(request.target);
  if (!_faults->wait(fault, [this] { return _stopping.load(); })) return false;

  ServiceAnswer answer;
  switch (fault.kind) {
    case Fault::Kind::silence:
      waitUntilClosed(socket);
      return false;
    case Fault::Kind::reset:
      closeWithReset(socket);
      return false;
    case Fault::Kind::page:
      answer = errorPage(fault);
      break;
    case Fault::Kind::status:
      answer.status = fault.status == 0 ? 500 : fault.status;
      break;
    case Fault::Kind::redirect:
      answer.status = fault.status == 0 ? 302 : fault.status;
      answer.headers["Location"] = fault.address;
      break;
    default:
      answer = parsed->method == "GET" || parsed->method == "HEAD"
                   ? _handler(request)
                   : ServiceAnswer{405, "text/plain; charset=utf-8", "only GET and HEAD\n", {}};
  }
  if (fault.kind == Fault::Kind::oversize && answer.body.size() < fault.bytes)
    answer.body.resize(fault.bytes, ' ');

  const auto connection = request.headers.find("connection");
  // A body is not read, so what follows one would be taken for a request.
  const bool keepAlive = fault.kind != Fault::Kind::cut && parsed->version == "HTTP/1.1" &&
                         !request.headers.contains("content-length") &&
                         !request.headers.contains("transfer-encoding") &&
                         (connection == request.headers.end() || lowered(connection->second) != "close");
  std::string bytes = headOf(answer, keepAlive);
  const std::size_t sent =
      fault.kind == Fault::Kind::cut ? std::min(fault.bytes, answer.body.size()) : answer.body.size();
  if (parsed->method != "HEAD") bytes.append(answer.body, 0, sent);
  return sendAll(socket, bytes) && keepAlive;
}

}  // namespace marlune::services
