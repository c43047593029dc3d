#include "cli/Jobs.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <exception>
#include <thread>
#include <utility>

#include "cli/Errors.h"
#include "cli/Values.h"

namespace marlune::cli {
namespace {

using std::chrono::steady_clock;

/// Says on a terminal how long something has been waited for, once that is noticeable.
class Progress {
 public:
  explicit Progress(bool wanted) : shown_(wanted && ::isatty(STDERR_FILENO) == 1) {}
  ~Progress() {
    if (written_) write("\r\x1B[K");
  }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  MainLoop::TimePoint next() const { return shown_ ? next_ : MainLoop::TimePoint::max(); }

  void show() {
    const std::chrono::duration<double> waited = steady_clock::now() - begun_;
    write(fmt::format("\r\x1B[KWaiting for the network, {} ...", durationText(waited.count())));
    written_ = true;
    next_ = steady_clock::now() + std::chrono::milliseconds(200);
  }

 private:
  static void write(std::string_view text) {
    try {
      writeAll(STDERR_FILENO, text);
    } catch (const Failure&) {
      return;  // nobody looks
    }
  }

  const bool shown_;
  const steady_clock::time_point begun_ = steady_clock::now();
  steady_clock::time_point next_ = begun_ + std::chrono::milliseconds(500);
  bool written_ = false;
};

Outcome perform(Context& context, const Call& call) {
  try {
    return {call.command->run(context, call), "", 0};
  } catch (const WrongCall& wrong) {
    return {{}, wrong.what(), 2};
  } catch (const std::exception& failure) {
    return {{}, failure.what(), 1};
  }
}

}  // namespace

struct Jobs::Job {
  Call call;
  Activity::Piece piece;
  Outcome outcome;  // written before `done`, read after it
  std::atomic<bool> done = false;
};

Jobs::Jobs(Session& session) : session_(session), context_{session, *this} {}

Outcome Jobs::run(const Call& call) {
  if (!call.mayWaitForNetwork()) return perform(context_, call);
  const auto job = launch(call);
  deliverUntil([&] { return job->done.load(); }, MainLoop::TimePoint::max());
  return std::move(job->outcome);
}

std::shared_ptr<Jobs::Job> Jobs::launch(Call call) {
  auto job = std::make_shared<Job>();
  job->call = std::move(call);
  job->piece = Activity::begin(session_.activity());
  auto body = [this, job] {
    job->outcome = perform(context_, job->call);
    // First, so that the work of a command that has ended is not taken for work under way.
    job->piece.reset();
    job->done = true;
    session_.loop().wake();
  };
  if (job->call.mayWaitForNetwork()) {
    std::thread(std::move(body)).detach();
  } else {
    session_.loop().post(std::move(body));
  }
  return job;
}

std::int64_t Jobs::begin(Call call) {
  const auto job = launch(std::move(call));
  begun_.emplace(++lastNumber_, job);
  return lastNumber_;
}

Outcome Jobs::finish(std::int64_t number) {
  const auto found = begun_.find(number);
  if (found == begun_.end()) {
    throw WrongCall(
        fmt::format("no command with the number {} is outstanding: `start` gives the numbers, and each "
                    "is finished once",
                    number));
  }
  const auto job = found->second;
  begun_.erase(found);
  deliverUntil([&] { return job->done.load(); }, MainLoop::TimePoint::max());
  return std::move(job->outcome);
}

void Jobs::waitUntil(const std::function<bool()>& done) {
  deliverUntil(done, MainLoop::TimePoint::max());
}

bool Jobs::waitUntilIdle(std::chrono::duration<double> limit) {
  // A clock's range is less than a number's.
  const std::chrono::duration<double> bounded(std::clamp(limit.count(), 0.0, 1e9));
  const auto deadline = steady_clock::now() + std::chrono::duration_cast<steady_clock::duration>(bounded);
  return deliverUntil([&] { return session_.activity()->open() == 0; }, deadline);
}

bool Jobs::deliverUntil(const std::function<bool()>& done, MainLoop::TimePoint deadline) {
  Progress progress(!session_.json());
  while (!session_.loop().runUntil(done, std::min(deadline, progress.next()))) {
    if (steady_clock::now() >= deadline) return done();
    progress.show();
  }
  return true;
}

}  // namespace marlune::cli
