#include "marlune/platform/HttpFetcher.h"

#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

#include "marlune/tasks/OnceCompletion.h"

namespace marlune {

namespace {

HttpRequest plainRequest(const std::string& url) {
  HttpRequest request;
  request.url = url;
  return request;
}

Task<HttpAnswer> answerOf(std::shared_ptr<HttpFetcher> fetcher, HttpRequest request,
                          HttpFetcher::Address address) {
  auto answer = completionOf<HttpAnswer>(
      [fetcher, asked = std::move(request), address](HttpFetcher::AnswerCompletion done) mutable {
        fetcher->fetchAnswer(std::move(asked), std::move(done), address);
      });
  co_return co_await answer;
}

}  // namespace

/// What is under way. It is all that the client keeps of the fetcher: were it the fetcher itself, the client
/// could come to its end on its own thread.
struct HttpFetcher::Open {
  std::mutex mutex;
  std::condition_variable changed;
  // Guarded by the mutex.
  std::shared_ptr<Executor> callbacks;  // null once stopped
  bool stopped = false;
  std::uint64_t lastNumber = 0;
  std::map<std::uint64_t, std::shared_ptr<HttpTransfer>> underWay;  // null until send() has returned

  void ended(std::uint64_t number) {
    const std::lock_guard lock(mutex);
    underWay.erase(number);
    changed.notify_all();
  }
};

HttpFetcher::HttpFetcher(std::shared_ptr<HttpClient> client, std::shared_ptr<Executor> callbacks)
    : client_(std::move(client)), open_(std::make_shared<Open>()) {
  open_->callbacks = std::move(callbacks);
}

bool HttpFetcher::begin(HttpRequest request, HttpClient::Completion done) {
  std::uint64_t number = 0;
  {
    const std::lock_guard lock(open_->mutex);
    if (open_->stopped) return false;
    number = ++open_->lastNumber;
    open_->underWay.emplace(number, nullptr);
  }
  auto transfer = client_->send(
      std::move(request), [open = open_, number, finish = std::move(done)](HttpAnswer answer) mutable {
        finish(std::move(answer));
        finish = nullptr;  // what it holds belongs to the owner, who may be waiting for the end
        open->ended(number);
      });
  const std::lock_guard lock(open_->mutex);
  if (const auto entry = open_->underWay.find(number); entry != open_->underWay.end()) {
    if (open_->stopped) transfer->cancel();
    entry->second = std::move(transfer);
  }
  return true;
}

Data HttpFetcher::fetchAndWait(const std::string& publishedUrl) {
  struct Waiting {
    std::mutex mutex;
    std::condition_variable arrived;
    bool done = false;
    Data data;
  };
  const auto waiting = std::make_shared<Waiting>();
  const bool started = begin(plainRequest(encodedAddress(publishedUrl)), [waiting](HttpAnswer answer) {
    const std::lock_guard lock(waiting->mutex);
    waiting->data = std::move(answer.body);
    waiting->done = true;
    waiting->arrived.notify_all();
  });
  if (!started) return nullptr;
  std::unique_lock lock(waiting->mutex);
  waiting->arrived.wait(lock, [&] { return waiting->done; });
  return waiting->data;
}

void HttpFetcher::fetch(const std::string& publishedUrl, Completion completion) {
  fetchAnswer(plainRequest(publishedUrl), [done = OnceCompletion<Data>(std::move(completion))](
                                              HttpAnswer answer) mutable { done(std::move(answer.body)); });
}

void HttpFetcher::fetchAnswer(HttpRequest request, AnswerCompletion completion, Address address) {
  // The completion may come, and let the owner go, before this call is over.
  const auto self = shared_from_this();
  using Once = OnceCompletion<HttpAnswer>;
  Once once([done = Once(std::move(completion))](HttpAnswer answer) mutable {
    if (answer.error.empty() && !answer.body) answer.error = "the request was given up";
    done(std::move(answer));
  });
  std::unique_lock lock(open_->mutex);
  const auto queue = open_->callbacks;
  lock.unlock();
  if (queue == nullptr) return;
  request.url = address == Address::given ? encodedGivenAddress(request.url) : encodedAddress(request.url);
  // The client's thread must not be held up by what a completion does.
  begin(std::move(request), [queue, waiting = std::move(once)](HttpAnswer answer) mutable {
    queue->post(
        [answered = std::move(waiting), whole = std::move(answer)]() mutable { answered(std::move(whole)); });
  });
}

Task<HttpAnswer> HttpFetcher::fetchAnswer(HttpRequest request, Address address) {
  return answerOf(shared_from_this(), std::move(request), address);
}

void HttpFetcher::stop() {
  std::unique_lock lock(open_->mutex);
  open_->stopped = true;
  std::vector<std::shared_ptr<HttpTransfer>> transfers;
  for (const auto& [number, transfer] : open_->underWay) {
    if (transfer) transfers.push_back(transfer);
  }
  lock.unlock();
  for (const auto& transfer : transfers) transfer->cancel();
  lock.lock();
  open_->changed.wait(lock, [&] { return open_->underWay.empty(); });
  // Jobs that the queue has not begun are dropped with it, which calls their completions.
  auto queue = std::exchange(open_->callbacks, nullptr);
  lock.unlock();
}

}  // namespace marlune
