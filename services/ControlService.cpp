#include "services/ControlService.h"

#include <charconv>
#include <cstdint>
#include <utility>

#include <fmt/format.h>

namespace marlune::services {
namespace {

constexpr std::string_view kIndex =
    "Marlune local services: a development tool. NOT FOR NAVIGATION.\n"
    "\n"
    "/v1/tideapi.php?op=highlowtide&id=398997177&year=2026&version=1&format=xml\n"
    "/_faults                      faults to come\n"
    "/_faults?kind=cut&bytes=1000  add one: kind none, hold, silence, reset, cut, oversize, page, status, "
    "redirect;\n"
    "                              delay (ms), bytes, status, address, match, times (0: until cleared)\n"
    "/_faults?clear, ?release      forget all faults; let held requests go on\n"
    "/_requests?match=TEXT         number of requests that contain the text, then the requests themselves\n"
    "/_requests?forget             begin to count anew\n";

constexpr std::uint64_t kLargestBody = 1ULL << 30;

ServiceAnswer text(std::string body, int status = 200) {
  return {status, "text/plain; charset=utf-8", std::move(body), {}};
}

// Reads a number of the query if it is there. False when it is there and no number up to the limit.
bool readNumber(const ServiceRequest& request, const std::string& name, std::uint64_t limit,
                std::uint64_t& number) {
  const auto value = request.argument(name);
  if (!value) return true;
  const char* end = value->data() + value->size();
  const auto [stop, problem] = std::from_chars(value->data(), end, number);
  return problem == std::errc() && stop == end && number <= limit;
}

}  // namespace

std::vector<std::string> ControlService::prefixes() const {
  return {"/_faults", "/_requests"};
}

ServiceAnswer ControlService::answer(const ServiceRequest& request) const {
  if (request.path == "/_faults") return faults(request);
  if (request.path == "/_requests") return requests(request);
  return text(std::string(kIndex), request.path == "/" ? 200 : 404);
}

ServiceAnswer ControlService::faults(const ServiceRequest& request) const {
  if (request.query.contains("clear")) _faults->clear();
  if (request.query.contains("release")) _faults->release();
  if (const auto name = request.argument("kind")) {
    const auto kind = faultKind(*name);
    std::uint64_t delay = 0;
    std::uint64_t bytes = 0;
    std::uint64_t status = 0;
    std::uint64_t times = 1;
    if (!kind) return text("unknown kind of fault\n", 400);
    if (!readNumber(request, "delay", 3600000, delay) || !readNumber(request, "bytes", kLargestBody, bytes) ||
        !readNumber(request, "status", 599, status) || !readNumber(request, "times", 1000000, times) ||
        (status != 0 && status < 200))
      return text("delay, bytes, status and times must be numbers within bounds\n", 400);
    const std::string address = request.argument("address").value_or(std::string());
    if (*kind == Fault::Kind::redirect &&
        (address.empty() || address.find_first_of("\r\n") != std::string::npos))
      return text("a redirect needs an address\n", 400);
    _faults->add({*kind, std::chrono::milliseconds(delay), static_cast<std::size_t>(bytes),
                  static_cast<int>(status), address, request.argument("match").value_or(std::string()),
                  static_cast<int>(times)});
  }
  std::string list;
  for (const Fault& fault : _faults->pending()) {
    list += fmt::format("kind={} delay={} bytes={} status={} address={} match={} times={}\n",
                        faultName(fault.kind), fault.delay.count(), fault.bytes, fault.status, fault.address,
                        fault.match, fault.times);
  }
  return text(list.empty() ? "no faults\n" : list);
}

ServiceAnswer ControlService::requests(const ServiceRequest& request) const {
  if (request.query.contains("forget")) _faults->forgetRequests();
  const std::string match = request.argument("match").value_or(std::string());
  std::size_t count = 0;
  std::string list;
  for (const std::string& target : _faults->requests()) {
    if (target.find(match) == std::string::npos) continue;
    ++count;
    list += target + "\n";
  }
  return text(fmt::format("{}\n{}", count, list));
}

}  // namespace marlune::services
