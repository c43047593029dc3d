#include "cli/Program.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <stdexcept>

extern char** environ;

namespace marlune::testing {
namespace {

struct Pipe {
  int readEnd = -1;
  int writeEnd = -1;
  Pipe() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    readEnd = ends[0];
    writeEnd = ends[1];
  }
};

void close(int& descriptor) {
  if (descriptor >= 0) ::close(descriptor);
  descriptor = -1;
}

}  // namespace

Program::Program(const std::vector<std::string>& arguments) {
  std::signal(SIGPIPE, SIG_IGN);
  Pipe in;
  Pipe out;
  Pipe err;
  std::vector<std::string> words = {MARLUNE_COMMAND};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> pointers;
  for (auto& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_adddup2(&actions, in.readEnd, STDIN_FILENO);
  ::posix_spawn_file_actions_adddup2(&actions, out.writeEnd, STDOUT_FILENO);
  ::posix_spawn_file_actions_adddup2(&actions, err.writeEnd, STDERR_FILENO);
  const int failed = ::posix_spawn(&process_, MARLUNE_COMMAND, &actions, nullptr, pointers.data(), environ);
  ::posix_spawn_file_actions_destroy(&actions);
  close(in.readEnd);
  close(out.writeEnd);
  close(err.writeEnd);
  input_ = in.writeEnd;
  outputPipe_ = out.readEnd;
  errorPipe_ = err.readEnd;
  if (failed != 0) throw std::runtime_error("cannot start " MARLUNE_COMMAND);
}

Program::~Program() {
  close(input_);
  close(outputPipe_);
  close(errorPipe_);
  if (process_ <= 0) return;
  ::kill(process_, SIGKILL);
  ::waitpid(process_, nullptr, 0);
}

void Program::send(const std::string& text) {
  std::size_t sent = 0;
  while (sent < text.size()) {
    const ssize_t count = ::write(input_, text.data() + sent, text.size() - sent);
    if (count <= 0) return;  // the program has gone; its status tells
    sent += static_cast<std::size_t>(count);
  }
}

void Program::closeInput() {
  close(input_);
}

bool Program::readSome(std::chrono::milliseconds limit) {
  std::array<pollfd, 2> waiting = {{{outputPipe_, POLLIN, 0}, {errorPipe_, POLLIN, 0}}};
  if (outputPipe_ < 0 && errorPipe_ < 0) return false;
  if (::poll(waiting.data(), waiting.size(), static_cast<int>(limit.count())) <= 0) return false;
  std::array<char, 65536> buffer{};
  for (const auto& ready : waiting) {
    if (ready.revents == 0) continue;
    const ssize_t count = ::read(ready.fd, buffer.data(), buffer.size());
    const bool isOutput = ready.fd == outputPipe_;
    if (count <= 0) {
      close(isOutput ? outputPipe_ : errorPipe_);
    } else {
      (isOutput ? output_ : errors_).append(buffer.data(), static_cast<std::size_t>(count));
    }
  }
  return true;
}

std::optional<std::string> Program::line() {
  while (true) {
    const auto end = output_.find('\n');
    if (end != std::string::npos) {
      std::string line = output_.substr(0, end);
      output_.erase(0, end + 1);
      return line;
    }
    if (outputPipe_ < 0 || !readSome(std::chrono::minutes(2))) return std::nullopt;
  }
}

std::string Program::ask(const std::string& command) {
  send(command + "\n");
  return line().value_or("(no answer)");
}

int Program::finish(std::chrono::milliseconds limit) {
  while (readSome(limit)) {
  }
  if (outputPipe_ >= 0 || errorPipe_ >= 0) return -1;
  int status = 0;
  ::waitpid(process_, &status, 0);
  process_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

ProgramEnd run(const std::vector<std::string>& arguments, const std::string& input) {
  Program program(arguments);
  program.send(input);
  program.closeInput();
  const int status = program.finish();
  return {status, program.rest(), program.errors()};
}

}  // namespace marlune::testing
