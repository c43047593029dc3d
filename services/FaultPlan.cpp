#include "services/FaultPlan.h"

#include <algorithm>
#include <array>
#include <utility>

namespace marlune::services {
namespace {

constexpr std::array<std::pair<std::string_view, Fault::Kind>, 9> kNames = {{
    {"none", Fault::Kind::none},
    {"hold", Fault::Kind::hold},
    {"silence", Fault::Kind::silence},
    {"reset", Fault::Kind::reset},
    {"cut", Fault::Kind::cut},
    {"oversize", Fault::Kind::oversize},
    {"page", Fault::Kind::page},
    {"status", Fault::Kind::status},
    {"redirect", Fault::Kind::redirect},
}};

bool contains(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

}  // namespace

std::optional<Fault::Kind> faultKind(std::string_view name) {
  for (const auto& [text, kind] : kNames) {
    if (text == name) return kind;
  }
  return std::nullopt;
}

std::string_view faultName(Fault::Kind kind) {
  for (const auto& [text, value] : kNames) {
    if (value == kind) return text;
  }
  return {};
}

void FaultPlan::add(Fault fault) {
  const std::lock_guard lock(_mutex);
  _faults.push_back(std::move(fault));
}

void FaultPlan::clear() {
  {
    const std::lock_guard lock(_mutex);
    _faults.clear();
    ++_releases;
  }
  _changed.notify_all();
}

void FaultPlan::release() {
  {
    const std::lock_guard lock(_mutex);
    ++_releases;
  }
  _changed.notify_all();
}

std::vector<Fault> FaultPlan::pending() const {
  const std::lock_guard lock(_mutex);
  return _faults;
}

std::size_t FaultPlan::countLocked(std::string_view match) const {
  return static_cast<std::size_t>(
      std::count_if(_requests.begin(), _requests.end(),
                    [&](const std::string& target) { return contains(target, match); }));
}

std::size_t FaultPlan::requestCount(std::string_view match) const {
  const std::lock_guard lock(_mutex);
  return countLocked(match);
}

std::vector<std::string> FaultPlan::requests() const {
  const std::lock_guard lock(_mutex);
  return _requests;
}

void FaultPlan::forgetRequests() {
  const std::lock_guard lock(_mutex);
  _requests.clear();
}

bool FaultPlan::waitForRequests(std::size_t count, std::string_view match,
                                std::chrono::milliseconds limit) const {
  std::unique_lock lock(_mutex);
  return _changed.wait_for(lock, limit, [&] { return countLocked(match) >= count; });
}

Fault FaultPlan::take(std::string_view target) {
  Fault taken;
  {
    const std::lock_guard lock(_mutex);
    _requests.emplace_back(target);
    const auto found = std::find_if(_faults.begin(), _faults.end(),
                                    [&](const Fault& fault) { return contains(target, fault.match); });
    if (found != _faults.end()) {
      taken = *found;
      taken.releasesBefore = _releases;
      if (found->times > 0 && --found->times == 0) _faults.erase(found);
    }
  }
  _changed.notify_all();
  return taken;
}

bool FaultPlan::wait(const Fault& fault, const std::function<bool()>& stopped) const {
  std::unique_lock lock(_mutex);
  if (fault.delay.count() > 0) _changed.wait_for(lock, fault.delay, stopped);
  if (fault.kind == Fault::Kind::hold)
    _changed.wait(lock, [&] { return stopped() || _releases != fault.releasesBefore; });
  return !stopped();
}

void FaultPlan::wake() const {
  // Taken and given back, so that a waiter is either past its look at the flag or not yet there.
  { const std::lock_guard lock(_mutex); }
  _changed.notify_all();
}

}  // namespace marlune::services
