// Writes the catalogues of the regional services, resources/stations_australia.json and
// resources/stations_uk.json, from the services' own lists as a deployer has saved them.
//
//   make-regional-stations RESOURCES-FOLDER [--bureau FILE] [--admiralty FILE]
//
// A list that is not named is not touched. What makes no usable port is reported and left out.

#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "services/PortLists.h"
#include "tools/ToolFiles.h"

using namespace marlune::services;

namespace {

std::optional<PortList> listOf(std::string_view option) {
  if (option == "--bureau") return PortList::bureau;
  if (option == "--admiralty") return PortList::admiralty;
  return std::nullopt;
}

bool hasPort(const std::vector<Port>& ports, std::string_view id) {
  for (const Port& port : ports)
    if (port.id == id) return true;
  return false;
}

bool fail(const std::string& file, const std::string& why) {
  std::fprintf(stderr, "make-regional-stations: \"%s\" %s\n", file.c_str(), why.c_str());
  return false;
}

bool make(PortList list, const std::string& source, const std::string& folder) {
  const auto content = contentOf(source);
  if (!content) return fail(source, "cannot be read");
  const PortsRead read = readPorts(list, *content);
  for (const std::string& problem : read.problems)
    std::fprintf(stderr, "make-regional-stations: left out: %s\n", problem.c_str());
  if (!read.error.empty()) return fail(source, read.error);
  if (!hasPort(read.ports, defaultPort(list)))
    return fail(source, "lacks the default port " + std::string(defaultPort(list)) +
                            "; nothing is written. Is it the right list, and whole?");
  const std::string file = folder + "/" + std::string(portsFileName(list));
  if (!write(file, portsDocument(list, read.ports))) return fail(file, "cannot be written");
  std::printf("%s: %zu ports, %zu left out\n", file.c_str(), read.ports.size(), read.problems.size());
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  return makeResources(argc, argv,
                       "usage: make-regional-stations RESOURCES-FOLDER [--bureau FILE] [--admiralty FILE]\n",
                       listOf, make);
}
