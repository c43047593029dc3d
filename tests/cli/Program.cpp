#include "cli/Program.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <stdexcept>

namespace marlune::testing {

Program::Program(const std::vector<std::string>& arguments) {
  std::signal(SIGPIPE, SIG_IGN);
  std::array<int, 2> in{};
  std::array<int, 2> out{};
  if (!errorFile_ || ::pipe2(in.data(), O_CLOEXEC) != 0 || ::pipe2(out.data(), O_CLOEXEC) != 0)
    throw std::runtime_error("no pipe");
  std::vector<std::string> words = {MARLUNE_COMMAND};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> pointers;
  pointers.reserve(words.size() + 1);
  for (auto& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
  ::posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
  ::posix_spawn_file_actions_adddup2(&actions, ::fileno(errorFile_.get()), STDERR_FILENO);
  const int failed = ::posix_spawn(&process_, MARLUNE_COMMAND, &actions, nullptr, pointers.data(), environ);
  ::posix_spawn_file_actions_destroy(&actions);
  ::close(in[0]);
  ::close(out[1]);
  input_ = in[1];
  outputPipe_ = out[0];
  if (failed != 0) throw std::runtime_error("cannot start " MARLUNE_COMMAND);
}

Program::~Program() {
  closeInput();
  ::close(outputPipe_);
  if (process_ <= 0) return;
  ::kill(process_, SIGKILL);
  ::waitpid(process_, nullptr, 0);
}

void Program::send(const std::string& text) {
  // Less than a pipe holds; when the program has gone, its status tells.
  [[maybe_unused]] const ssize_t sent = ::write(input_, text.data(), text.size());
}

void Program::closeInput() {
  if (input_ >= 0) ::close(input_);
  input_ = -1;
}

bool Program::readSome(std::chrono::milliseconds limit) {
  pollfd waiting{outputPipe_, POLLIN, 0};
  if (ended_ || ::poll(&waiting, 1, static_cast<int>(limit.count())) <= 0) return false;
  std::array<char, 65536> buffer{};
  const ssize_t count = ::read(outputPipe_, buffer.data(), buffer.size());
  ended_ = count <= 0;
  if (!ended_) output_.append(buffer.data(), static_cast<std::size_t>(count));
  return !ended_;
}

std::string Program::ask(const std::string& command) {
  send(command + "\n");
  while (true) {
    if (const auto end = output_.find('\n'); end != std::string::npos) {
      std::string line = output_.substr(0, end);
      output_.erase(0, end + 1);
      return line;
    }
    if (!readSome(std::chrono::minutes(2))) return "(no answer)";
  }
}

int Program::finish(std::chrono::milliseconds limit) {
  while (readSome(limit)) {
  }
  if (!ended_) return -1;
  int status = 0;
  ::waitpid(process_, &status, 0);
  process_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string Program::errors() const {
  std::string text(4096, '\0');
  const ssize_t count = ::pread(::fileno(errorFile_.get()), text.data(), text.size(), 0);
  return text.substr(0, count > 0 ? static_cast<std::size_t>(count) : 0);
}

ProgramEnd run(const std::vector<std::string>& arguments, const std::string& input) {
  Program program(arguments);
  program.send(input);
  program.closeInput();
  const int status = program.finish();
  return {status, program.rest(), program.errors()};
}

}  // namespace marlune::testing
