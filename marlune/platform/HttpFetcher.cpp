#include "marlune/platform/HttpFetcher.h"

#include <utility>
#include <vector>

namespace marlune {

namespace {

/// Calls a completion once: with an answer, or with none where it is dropped on the way.
class OnceCompletion {
 public:
  explicit OnceCompletion(HttpFetcher::Completion completion) : completion_(std::move(completion)) {}
  OnceCompletion(OnceCompletion&& other) noexcept : completion_(std::move(other.completion_)) {}
  OnceCompletion& operator=(OnceCompletion&&) = delete;
  ~OnceCompletion() { call(nullptr); }

  void call(Data data) {
    if (auto completion = std::exchange(completion_, nullptr)) completion(std::move(data));
  }

 private:
  HttpFetcher::Completion completion_;
};

}  // namespace

HttpFetcher::HttpFetcher(std::shared_ptr<HttpClient> client, std::shared_ptr<Executor> callbacks)
    : client_(std::move(client)), callbacks_(std::move(callbacks)) {}

bool HttpFetcher::start(const std::string& publishedUrl, UniqueFunction<void(Data)> done) {
  std::uint64_t number = 0;
  {
    const std::lock_guard lock(mutex_);
    if (stopped_) return false;
    number = ++lastNumber_;
    underWay_.emplace(number, nullptr);
  }
  HttpRequest request;
  request.url = encodedAddress(publishedUrl);
  auto transfer = client_->send(std::move(request), [self = shared_from_this(), number,
                                                     finish = std::move(done)](HttpAnswer answer) mutable {
    finish(std::move(answer.body));
    finish = nullptr;  // what it holds belongs to the owner, who may be waiting for the end
    self->ended(number);
  });
  const std::lock_guard lock(mutex_);
  if (const auto entry = underWay_.find(number); entry != underWay_.end()) {
    if (stopped_) transfer->cancel();
    entry->second = std::move(transfer);
  }
  return true;
}

void HttpFetcher::ended(std::uint64_t number) {
  const std::lock_guard lock(mutex_);
  underWay_.erase(number);
  changed_.notify_all();
}

Data HttpFetcher::fetchAndWait(const std::string& publishedUrl) {
  struct Waiting {
    std::mutex mutex;
    std::condition_variable arrived;
    bool done = false;
    Data data;
  };
  const auto waiting = std::make_shared<Waiting>();
  const bool started = start(publishedUrl, [waiting](Data data) {
    const std::lock_guard lock(waiting->mutex);
    waiting->data = std::move(data);
    waiting->done = true;
    waiting->arrived.notify_all();
  });
  if (!started) return nullptr;
  std::unique_lock lock(waiting->mutex);
  waiting->arrived.wait(lock, [&] { return waiting->done; });
  return waiting->data;
}

void HttpFetcher::fetch(const std::string& publishedUrl, Completion completion) {
  // The completion may come, and let the owner go, before this call is over.
  const auto self = shared_from_this();
  // The client's thread must not be held up by what a completion does.
  OnceCompletion once(std::move(completion));
  std::unique_lock lock(mutex_);
  const auto queue = callbacks_;
  lock.unlock();
  if (queue == nullptr) return;
  start(publishedUrl, [queue, waiting = std::move(once)](Data data) mutable {
    queue->post([answered = std::move(waiting), body = std::move(data)]() mutable {
      answered.call(std::move(body));
    });
  });
}

void HttpFetcher::stop() {
  std::unique_lock lock(mutex_);
  stopped_ = true;
  std::vector<std::shared_ptr<HttpTransfer>> transfers;
  for (const auto& [number, transfer] : underWay_) {
    if (transfer) transfers.push_back(transfer);
  }
  lock.unlock();
  for (const auto& transfer : transfers) transfer->cancel();
  lock.lock();
  changed_.wait(lock, [&] { return underWay_.empty(); });
  // Jobs that the queue has not begun are dropped with it, which calls their completions.
  auto queue = std::exchange(callbacks_, nullptr);
  lock.unlock();
}

}  // namespace marlune
