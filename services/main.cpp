// marlune-services: the local services as a program. A development tool, not for navigation.

#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include "services/LocalServices.h"

using marlune::services::LocalServices;

namespace {

constexpr const char* kUsage =
    "usage: marlune-services [--port PORT] [--resources DIR] [--harmonics FILE] [--now SECONDS]\n"
    "\n"
    "Answers the remote services' wire formats on 127.0.0.1 until it is interrupted.\n"
    "A development tool: NOT FOR NAVIGATION.\n"
    "\n"
    "  --port PORT       port to listen on; the system chooses a free one unless told\n"
    "  --resources DIR   folder of the station catalogue (stations_master_usa2.txt)\n"
    "  --harmonics FILE  harmonic data in the TCD format; that of the package xtide-data unless told\n"
    "  --now SECONDS     the services' clock stands at this instant, seconds since 1970; else the system's\n";

bool readPort(std::string_view text, std::uint16_t& port) {
  const auto [stop, problem] = std::from_chars(text.data(), text.data() + text.size(), port);
  return problem == std::errc() && stop == text.data() + text.size();
}

// True when every argument was understood; complains otherwise.
bool readArguments(int argc, char** argv, LocalServices::Options& options) {
  for (int i = 1; i < argc; i += 2) {
    const std::string_view name = argv[i];
    const char* value = i + 1 < argc ? argv[i + 1] : nullptr;
    if (name != "--port" && name != "--resources" && name != "--harmonics" && name != "--now") {
      std::fprintf(stderr, "marlune-services: unknown argument \"%s\"; try --help\n", argv[i]);
      return false;
    }
    if (value == nullptr || (name == "--port" && !readPort(value, options.port))) {
      std::fprintf(stderr, "marlune-services: %s needs a value%s\n", argv[i],
                   name == "--port" ? " from 0 to 65535" : "");
      return false;
    }
    std::int64_t now = 0;
    if (name == "--now") {
      const std::string_view text = value;
      const auto [stop, problem] = std::from_chars(text.data(), text.data() + text.size(), now);
      if (problem != std::errc() || stop != text.data() + text.size()) {
        std::fputs("marlune-services: --now needs seconds since 1970\n", stderr);
        return false;
      }
      options.now = [now] { return now; };
    }
    if (name == "--resources") options.resourcesFolder = value;
    if (name == "--harmonics") options.harmonicsFile = value;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0)) {
    std::fputs(kUsage, stdout);
    return 0;
  }
  LocalServices::Options options;
  if (!readArguments(argc, argv, options)) return 2;

  // Blocked before any thread begins, so that only the wait below sees them.
  sigset_t ends;
  sigemptyset(&ends);
  sigaddset(&ends, SIGINT);
  sigaddset(&ends, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &ends, nullptr);

  LocalServices services(std::move(options));
  const std::string address = services.start();
  if (address.empty()) {
    std::fprintf(stderr, "marlune-services: %s\n", services.error().c_str());
    return 1;
  }
  std::printf("%s  local services, a development tool: NOT FOR NAVIGATION\n", address.c_str());
  std::fflush(stdout);
  int received = 0;
  sigwait(&ends, &received);
  return 0;
}
