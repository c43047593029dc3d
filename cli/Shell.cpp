#include "cli/Shell.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "cli/CommandLine.h"
#include "cli/Errors.h"
#include "cli/Words.h"

namespace marlune::cli {
namespace {

/// Lines of standard input, read by a thread that the end of the process stops.
class LineReader {
 public:
  explicit LineReader(MainLoop& loop) : state_(std::make_shared<State>(loop)) {
    std::thread([state = state_] { state->readAll(); }).detach();
  }

  /// Is there a line, or the end of the input?
  bool ready() const {
    const std::lock_guard lock(state_->mutex);
    return !state_->lines.empty() || state_->ended;
  }

  /// The next line, or nothing at the end. Requires ready().
  std::optional<std::string> take() {
    const std::lock_guard lock(state_->mutex);
    if (state_->lines.empty()) return std::nullopt;
    std::string line = std::move(state_->lines.front());
    state_->lines.pop_front();
    state_->taken.notify_one();
    return line;
  }

 private:
  struct State {
    explicit State(MainLoop& mainLoop) : loop(mainLoop) {}

    void readAll() {
      std::array<char, 4096> buffer{};
      std::string line;
      ssize_t count = 0;
      while ((count = ::read(STDIN_FILENO, buffer.data(), buffer.size())) != 0) {
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) break;
        for (ssize_t i = 0; i < count; ++i) {
          const char c = buffer[static_cast<std::size_t>(i)];
          if (c == '\n') {
            give(std::exchange(line, {}));
          } else {
            line += c;
          }
        }
      }
      if (!line.empty()) give(std::move(line));
      {
        const std::lock_guard lock(mutex);
        ended = true;
      }
      loop.wake();
    }

    void give(std::string line) {
      {
        std::unique_lock lock(mutex);
        taken.wait(lock, [&] { return lines.size() < 64; });
        lines.push_back(std::move(line));
      }
      loop.wake();
    }

    MainLoop& loop;
    std::mutex mutex;
    std::condition_variable taken;
    std::deque<std::string> lines;  // guarded by the mutex, as is what follows
    bool ended = false;
  };

  const std::shared_ptr<State> state_;
};

/// The prompt of a shell at a terminal; silent elsewhere.
class Prompt {
 public:
  explicit Prompt(Session& session)
      : session_(session),
        shown_(!session.json() && ::isatty(STDIN_FILENO) == 1 && ::isatty(STDERR_FILENO) == 1) {}

  void show() const {
    if (shown_) writeAll(STDERR_FILENO, "marlune> ");
  }

  /// Shows what has arrived while the prompt waits.
  void showArrivals() const {
    if (!shown_) return;
    writeAll(STDERR_FILENO, "\r\x1B[K");
    showNews(session_);
    show();
  }

  bool isShown() const { return shown_; }

 private:
  Session& session_;
  const bool shown_;
};

Outcome runLine(Jobs& jobs, std::span<const std::string> words) {
  try {
    const ParsedLine parsed = parseShellLine(words);
    if (parsed.help) return {helpAnswer(parsed.helpWords), "", 0};
    return jobs.run(*parsed.call);
  } catch (const WrongCall& wrong) {
    return {{}, wrong.what(), 2};
  }
}

}  // namespace

void runShell(Jobs& jobs) {
  Session& session = jobs.context().session;
  jobs.context().inShell = true;
  LineReader reader(session.loop());
  const Prompt prompt(session);
  bool first = true;
  while (!jobs.context().quit) {
    prompt.show();
    session.loop().runUntil([&] {
      if (!reader.ready() && !session.news().empty()) prompt.showArrivals();
      return reader.ready();
    });
    auto line = reader.take();
    // Some editors begin a file with a byte-order mark.
    if (std::exchange(first, false) && line && line->starts_with("\xEF\xBB\xBF")) line->erase(0, 3);
    if (!line) {
      if (prompt.isShown()) writeAll(STDERR_FILENO, "\n");
      return;
    }
    // Also a script whose next line is there already gets what has been queued for the main thread.
    session.loop().drain();
    std::vector<std::string> words;
    try {
      words = splitWords(*line);
    } catch (const WrongCall& wrong) {
      report(session, {{}, wrong.what(), 2});
      continue;
    }
    if (!words.empty()) report(session, runLine(jobs, words));
  }
}

}  // namespace marlune::cli
