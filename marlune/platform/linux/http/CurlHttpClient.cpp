#include "marlune/platform/linux/http/CurlHttpClient.h"

#include <curl/curl.h>
#include <poll.h>

#include <algorithm>
#include <atomic>
#include <cassert>
#include <chrono>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "marlune/platform/linux/http/CurlTransfer.h"
#include "marlune/platform/linux/http/TransferLines.h"
#include "marlune/platform/linux/queues/Threads.h"

namespace marlune {
namespace {

using Transfers = std::vector<std::shared_ptr<CurlTransfer>>;

/// Sets the HTTP library up for the process. It is never torn down: others may be using it as well.
bool initialised() {
  static const bool fine = curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
  return fine;
}

}  // namespace

/// What the client and its thread share. It outlives the client where a completion destroys that. Transfers
/// hold on to it weakly, so that one may be cancelled after the client is gone.
struct CurlHttpClient::State {
  std::mutex mutex;
  // Guarded by the mutex.
  Transfers incoming;
  CURLM* multi = nullptr;  // from when the thread has made it until it ends it
  bool stopping = false;
  std::thread thread;
  // Set when a transfer is cancelled: those that wait in line are looked through only then.
  std::atomic<bool> someCancelled = false;

  void wake() {
    const std::lock_guard lock(mutex);
    if (multi != nullptr) curl_multi_wakeup(multi);
  }

  /// What was sent since the last time; nothing once the client is stopping and none is left.
  std::optional<Transfers> takeIncoming() {
    const std::lock_guard lock(mutex);
    if (stopping && incoming.empty()) return std::nullopt;
    return std::exchange(incoming, {});
  }

  bool isStopping() {
    const std::lock_guard lock(mutex);
    return stopping;
  }

  void run() {
    const std::unique_ptr<CURLM, decltype(&curl_multi_cleanup)> made(
        initialised() ? curl_multi_init() : nullptr, &curl_multi_cleanup);
    // Idle connections are kept only as far as they, too, stay within the bound.
    if (made) curl_multi_setopt(made.get(), CURLMOPT_MAXCONNECTS, static_cast<long>(TransferLines::atOnce));
    {
      const std::lock_guard lock(mutex);
      multi = made.get();
    }
    TransferLines lines;
    Transfers active;
    while (!isStopping()) {
      takeUp(lines);
      while (auto transfer = lines.next()) {
        if (transfer->start(made.get())) {
          active.push_back(std::move(transfer));
        } else {
          lines.ended(transfer);
        }
      }
      if (made) {
        perform(made.get(), active, lines);
      } else {
        ::poll(nullptr, 0, 100);  // nothing to wake it: every request fails until there is memory again
      }
    }
    {
      const std::lock_guard lock(mutex);
      multi = nullptr;
    }
    abandon(std::exchange(active, {}));
    abandon(lines.takeAll());
    // A completion may send again; that request comes to the same end.
    while (auto incomers = takeIncoming()) abandon(*incomers);
  }

  /// Puts what was sent in line, and takes out of it what was cancelled.
  void takeUp(TransferLines& lines) {
    if (auto incomers = takeIncoming()) {
      for (auto& transfer : *incomers) lines.add(std::move(transfer));
    }
    if (!someCancelled.exchange(false)) return;
    for (const auto& transfer : lines.takeCancelled()) transfer->fail("cancelled");
  }

  static void abandon(const Transfers& transfers) {
    for (const auto& transfer : transfers) transfer->fail("the client is being destroyed");
  }

  /// Goes on with what is under way; then waits for something to do, unless another may start at once.
  static void perform(CURLM* multi, Transfers& active, TransferLines& lines) {
    int running = 0;
    curl_multi_perform(multi, &running);
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(multi, &left)) {
      if (message->msg != CURLMSG_DONE) continue;
      CURL* const easy = message->easy_handle;
      const CURLcode result = message->data.result;
      const auto at = std::find_if(active.begin(), active.end(),
                                   [easy](const auto& transfer) { return transfer->handle() == easy; });
      assert(at != active.end());
      if ((*at)->finish(result)) continue;
      lines.ended(*at);
      active.erase(at);
    }
    const auto now = std::chrono::steady_clock::now();
    std::erase_if(active, [now, &lines](const auto& transfer) {
      if (transfer->keepGoing(now)) return false;
      lines.ended(transfer);
      return true;
    });
    if (lines.isReady()) return;

    // Without a transfer only a wake-up ends the wait; an hour is as good as for ever.
    auto due = now + std::chrono::hours(1);
    for (const auto& transfer : active) due = std::min(due, transfer->deadline());
    // Rounded up, or the last millisecond is spent asking again and again.
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(due - std::chrono::steady_clock::now());
    curl_multi_poll(multi, nullptr, 0, static_cast<int>(std::max<std::int64_t>(wait.count(), 0)), nullptr);
  }
};

CurlHttpClient::CurlHttpClient(std::shared_ptr<Activity> activity)
    : state_(std::make_shared<State>()), activity_(std::move(activity)) {}

CurlHttpClient::~CurlHttpClient() {
  std::thread thread;
  {
    const std::lock_guard lock(state_->mutex);
    state_->stopping = true;
    thread = std::move(state_->thread);
  }
  state_->wake();
  if (thread.get_id() == std::this_thread::get_id()) {
    thread.detach();
  } else if (thread.joinable()) {
    thread.join();
  } else {
    while (auto incomers = state_->takeIncoming()) State::abandon(*incomers);
  }
}

std::shared_ptr<HttpTransfer> CurlHttpClient::send(HttpRequest request, Completion completion) {
  auto wake = [weak = std::weak_ptr<State>(state_)] {
    const auto state = weak.lock();
    if (!state) return;
    state->someCancelled = true;
    state->wake();
  };
  auto transfer = std::make_shared<CurlTransfer>(std::move(request), std::move(completion),
                                                 Activity::begin(activity_), std::move(wake));
  {
    const std::lock_guard lock(state_->mutex);
    state_->incoming.push_back(transfer);
    // Where the system has no thread to give, the next request tries again.
    if (!state_->thread.joinable() && !state_->stopping) {
      if (auto thread = startThread("marlune-http", [state = state_] { state->run(); })) {
        state_->thread = std::move(*thread);
      }
    }
  }
  state_->wake();
  return transfer;
}

}  // namespace marlune
