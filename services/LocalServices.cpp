#include "services/LocalServices.h"

#include <chrono>
#include <filesystem>
#include <utility>

#include <fmt/format.h>

#include "services/ControlService.h"
#include "services/HttpServer.h"
#include "services/ServiceList.h"

namespace marlune::services {
namespace {

std::string catalogueIn(const std::string& folder) {
  return folder + "/" + std::string(StationCatalogue::kFileName);
}

std::string defaultResourcesFolder() {
  std::error_code ignored;
  if (std::filesystem::exists(catalogueIn(MARLUNE_INSTALLED_RESOURCES), ignored))
    return MARLUNE_INSTALLED_RESOURCES;
  return MARLUNE_SOURCE_RESOURCES;
}

// Only the services read this table, so a resource folder of somebody's own need not hold it.
std::string worldTableFor(const std::string& folder) {
  const std::string name = "/" + std::string(WorldStations::kFileName);
  for (const std::string& one : {folder, std::string(MARLUNE_INSTALLED_RESOURCES)}) {
    std::error_code ignored;
    if (std::filesystem::exists(one + name, ignored)) return one + name;
  }
  return MARLUNE_SOURCE_RESOURCES + name;
}

std::int64_t systemNow() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::seconds>(now).count();
}

}  // namespace

struct LocalServices::State {
  explicit State(Options given) : options(std::move(given)) {}

  ServiceAnswer answer(const ServiceRequest& request) const;
  bool load();

  Options options;
  std::string error;
  std::string address;
  FaultPlan faults;
  ControlService control{faults};
  std::vector<std::unique_ptr<Service>> added;
  std::vector<std::unique_ptr<Service>> usual;
  HttpServer server{[this](const ServiceRequest& request) { return answer(request); }, faults};
};

bool LocalServices::State::load() {
  auto harmonics = HarmonicDatabase::load(
      options.harmonicsFile.empty() ? HarmonicDatabase::installedFile() : options.harmonicsFile, error);
  if (!harmonics) return false;
  const std::string folder =
      options.resourcesFolder.empty() ? defaultResourcesFolder() : options.resourcesFolder;
  auto stations = StationCatalogue::load(catalogueIn(folder), error);
  if (!stations) return false;
  const auto database = std::make_shared<const HarmonicDatabase>(std::move(*harmonics));
  const auto world = std::make_shared<const WorldTable>(worldTableFor(folder), database);
  usual =
      makeServices({database, std::make_shared<const StationCatalogue>(std::move(*stations)), world,
                    std::make_shared<const RegionalPorts>(folder, world),
                    std::make_shared<const ListedStations>(folder), options.now ? options.now : systemNow});
  return true;
}

ServiceAnswer LocalServices::State::answer(const ServiceRequest& request) const {
  if (request.path.starts_with("/_")) return control.answer(request);
  const Service* best = &control;
  std::size_t bestLength = 0;
  for (const auto* services : {&added, &usual}) {
    for (const auto& service : *services) {
      for (const std::string& prefix : service->prefixes()) {
        if (!request.path.starts_with(prefix) || prefix.size() <= bestLength) continue;
        best = service.get();
        bestLength = prefix.size();
      }
    }
  }
  return best->answer(request);
}

LocalServices::LocalServices() : LocalServices(Options()) {}

LocalServices::LocalServices(Options options) : _state(std::make_unique<State>(std::move(options))) {}

LocalServices::~LocalServices() {
  stop();
}

void LocalServices::add(std::unique_ptr<Service> service) {
  _state->added.push_back(std::move(service));
}

std::string LocalServices::start() {
  stop();
  _state->error.clear();
  if (_state->load() && _state->server.start(_state->options.port, _state->error))
    _state->address = fmt::format("http://127.0.0.1:{}", _state->server.port());
  return _state->address;
}

void LocalServices::stop() {
  _state->server.stop();
  _state->address.clear();
}

std::string LocalServices::address() const {
  return _state->address;
}

const std::string& LocalServices::error() const {
  return _state->error;
}

FaultPlan& LocalServices::faults() {
  return _state->faults;
}

std::size_t LocalServices::requestCount(std::string_view match) const {
  return _state->faults.requestCount(match);
}

}  // namespace marlune::services
