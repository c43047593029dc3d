#include <fmt/format.h>
#include <unistd.h>

#include <csignal>
#include <exception>
#include <string>
#include <vector>

#include "cli/Jobs.h"
#include "cli/Report.h"
#include "cli/Shell.h"
#include "cli/WorldPoints.h"

namespace marlune::cli {
namespace {

/// How long a command that has queued work is given to see it through.
constexpr std::chrono::seconds kFarewell{60};

int runCommand(Jobs& jobs, const Call& call) {
  Session& session = jobs.context().session;
  findWorldPoints(jobs, call);
  const Outcome outcome = jobs.run(call);
  report(session, outcome);
  if (session.activity()->open() != 0) jobs.waitUntilIdle(kFarewell);
  if (!session.json()) showNews(session);
  return outcome.status;
}

int runLine(const ParsedLine& line) {
  if (line.version) {
    writeAll(STDOUT_FILENO, fmt::format("marlune {}\n", MARLUNE_VERSION));
    return 0;
  }
  if (line.help) {
    writeAll(STDOUT_FILENO, helpText(line.helpWords));
    return 0;
  }
  Session session(line.options);
  Jobs jobs(session);
  int status = 0;
  try {
    if (line.call->command->words == "shell") {
      runShell(jobs);
    } else {
      status = runCommand(jobs, *line.call);
    }
  } catch (const Failure& failure) {
    complain(false, failure.what());
    status = 1;
  }
  // Without destructors: downloads and commands may be under way on other threads, and nothing of theirs is
  // worth waiting for.
  ::_exit(status);
}

int run(const std::vector<std::string>& words) {
  ParsedLine line;
  try {
    parseLine(words, line);
    return runLine(line);
  } catch (const WrongCall& wrong) {
    complain(line.options.json, wrong.what());
    return 2;
  } catch (const std::exception& failure) {
    complain(line.options.json, failure.what());
    return 1;
  }
}

}  // namespace
}  // namespace marlune::cli

int main(int count, char** words) {
  // A reader that has gone and a file that may not grow show as failed writes.
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  try {
    return marlune::cli::run(std::vector<std::string>(words + (count > 0 ? 1 : 0), words + count));
  } catch (const std::exception&) {
    return 1;
  }
}
