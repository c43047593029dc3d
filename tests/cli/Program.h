#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
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

  /// The next line of standard output without its end; nothing at its end or when none came in time.
  std::optional<std::string> line();

  /// One line there and back.
  std::string ask(const std::string& command);

  /// Waits for the end of both outputs and of the process; its exit status, or -1 when it was killed or did
  /// not end in time. What is left of the outputs is then in `rest()` and `errors()`.
  int finish(std::chrono::milliseconds limit = std::chrono::minutes(2));

  const std::string& rest() const { return output_; }
  const std::string& errors() const { return errors_; }

 private:
  bool readSome(std::chrono::milliseconds limit);

  pid_t process_ = -1;
  int input_ = -1;
  int outputPipe_ = -1;
  int errorPipe_ = -1;
  std::string output_;
  std::string errors_;
};

struct ProgramEnd {
  int status = 0;
  std::string output;
  std::string errors;
};

/// Runs `marlune` to its end.
ProgramEnd run(const std::vector<std::string>& arguments, const std::string& input = "");

}  // namespace marlune::testing
