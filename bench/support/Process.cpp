#include "support/Process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>

namespace marlune::bench {

namespace {

double milliseconds(const timeval& time) {
  return 1e3 * static_cast<double>(time.tv_sec) + 1e-3 * static_cast<double>(time.tv_usec);
}

}  // namespace

ProcessRun runProcess(const std::vector<std::string>& words, const std::string& output) {
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                   0666);

  ProcessRun run;
  pid_t child = 0;
  const auto begun = std::chrono::steady_clock::now();
  const int failure = ::posix_spawn(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (failure != 0) return run;
  int status = 0;
  rusage used{};
  while (::wait4(child, &status, 0, &used) < 0 && errno == EINTR) continue;
  const std::chrono::duration<double, std::milli> passed = std::chrono::steady_clock::now() - begun;
  run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  run.wall = passed.count();
  run.processor = milliseconds(used.ru_utime) + milliseconds(used.ru_stime);
  return run;
}

}  // namespace marlune::bench
