// Writes the catalogues of the regional services, resources/stations_australia.json and
// resources/stations_uk.json, from the services' own lists as a deployer has saved them.
//
//   make-regional-stations RESOURCES-FOLDER [--bureau FILE] [--admiralty FILE]
//
// A list that is not named is not touched. What makes no usable port is reported and left out.

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "services/PortLists.h"
#include "tools/ToolFiles.h"

using namespace marlune::services;

namespace {

struct Work {
  PortList list;
  std::string source;
};

bool hasPort(const std::vector<Port>& ports, std::string_view id) {
  for (const Port& port : ports)
    if (port.id == id) return true;
  return false;
}

bool fail(const std::string& file, const std::string& why) {
  std::fprintf(stderr, "make-regional-stations: \"%s\" %s\n", file.c_str(), why.c_str());
  return false;
}

bool make(const Work& work, const std::string& folder) {
  const auto content = contentOf(work.source);
  if (!content) return fail(work.source, "cannot be read");
  const PortsRead read = readPorts(work.list, *content);
  for (const std::string& problem : read.problems)
    std::fprintf(stderr, "make-regional-stations: left out: %s\n", problem.c_str());
  if (!read.error.empty()) return fail(work.source, read.error);
  if (!hasPort(read.ports, defaultPort(work.list)))
    return fail(work.source, "lacks the default port " + std::string(defaultPort(work.list)) +
                                 "; nothing is written. Is it the right list, and whole?");
  const std::string file = folder + "/" + std::string(portsFileName(work.list));
  if (!write(file, portsDocument(work.list, read.ports))) return fail(file, "cannot be written");
  std::printf("%s: %zu ports, %zu left out\n", file.c_str(), read.ports.size(), read.problems.size());
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<Work> works;
  bool understood = argc > 3 && argc % 2 == 0;
  for (int i = 2; understood && i + 1 < argc; i += 2) {
    if (std::strcmp(argv[i], "--bureau") == 0)
      works.push_back({PortList::bureau, argv[i + 1]});
    else if (std::strcmp(argv[i], "--admiralty") == 0)
      works.push_back({PortList::admiralty, argv[i + 1]});
    else
      understood = false;
  }
  if (!understood) {
    std::fputs("usage: make-regional-stations RESOURCES-FOLDER [--bureau FILE] [--admiralty FILE]\n", stderr);
    return 2;
  }
  bool done = true;
  for (const Work& work : works) done = make(work, argv[1]) && done;
  return done ? 0 : 1;
}
