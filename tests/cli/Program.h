#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace marlune::testing {

/// A running `marlune` with pipes for its three streams.
class Program {
 public:
  explicit Program(const std::vector<std::string>& arguments);
  ~Program();  ///< kills what still runs
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  void send(const std::string& text);
  void closeInput();

  /// One line there and back.
  std::string ask(const std::string& command);

  /// Waits for the end of the output and of the process; its exit status, or -1 when it was killed or did
  /// not end in time. What is left of the output is then in `rest()`.
  int finish(std::chrono::milliseconds limit = std::chrono::minutes(2));

  const std::string& rest() const { return output_; }
  std::string errors() const;

 private:
  bool readSome(std::chrono::milliseconds limit);

  pid_t process_ = -1;
  int input_ = -1;
  int outputPipe_ = -1;
  bool ended_ = false;
  std::string output_;
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> errorFile_{std::tmpfile(), std::fclose};
};

struct ProgramEnd {
  int status = 0;
  std::string output;
  std::string errors;
};

/// Runs `marlune` to its end.
ProgramEnd run(const std::vector<std::string>& arguments, const std::string& input = "");

}  // namespace marlune::testing
