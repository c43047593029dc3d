#include "support/FakeHttpClient.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <list>
#include <map>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

namespace marlune::testing {

HttpAnswer answerOf(Bytes body, int status) {
  HttpAnswer answer;
  answer.status = status;
  answer.body = makeData(std::move(body));
  return answer;
}

HttpAnswer failedAnswer(std::string error) {
  HttpAnswer answer;
  answer.error = std::move(error);
  return answer;
}

struct FakeHttpClient::State {
  struct Pending {
    std::size_t number = 0;
    std::string url;
    Activity::Piece piece;  // before the completion, which is gone before the piece ends
    Completion completion;
    std::optional<HttpAnswer> answer;
  };

  std::shared_ptr<Activity> activity;
  mutable std::mutex mutex;
  mutable std::condition_variable changed;
  // Guarded by the mutex.
  std::list<Pending> open;
  std::list<Pending> due;
  std::vector<HttpRequest> requests;
  std::vector<std::string> unexpected;
  std::map<std::string, std::optional<HttpAnswer>> script;  // nothing: held
  bool stopping = false;
  std::thread thread;

  /// Requires the mutex: the answer that a new request gets at once.
  std::optional<HttpAnswer> scripted(const std::string& url) {
    if (stopping) return failedAnswer("the client is being destroyed");
    if (const auto found = script.find(url); found != script.end()) return found->second;
    unexpected.push_back(url);
    return failedAnswer("no answer in the script for " + url);
  }

  bool settle(const std::function<bool(const Pending&)>& matches, HttpAnswer answer) {
    const std::lock_guard lock(mutex);
    const auto found = std::find_if(open.begin(), open.end(), matches);
    if (found == open.end()) return false;
    found->answer = std::move(answer);
    due.splice(due.end(), open, found);
    changed.notify_all();
    return true;
  }

  /// Completes what is due until it is told to stop and nothing is left.
  void run() {
    while (true) {
      std::list<Pending> one;
      {
        std::unique_lock lock(mutex);
        changed.wait(lock, [this] { return stopping || !due.empty(); });
        if (due.empty()) return;
        one.splice(one.end(), due, due.begin());
      }
      one.front().completion(std::move(*one.front().answer));
    }
  }
};

namespace {

class FakeTransfer : public HttpTransfer {
 public:
  explicit FakeTransfer(std::function<void()> cancel) : cancel_(std::move(cancel)) {}
  void cancel() override { cancel_(); }

 private:
  const std::function<void()> cancel_;
};

}  // namespace

FakeHttpClient::FakeHttpClient(std::shared_ptr<Activity> activity) : state_(std::make_shared<State>()) {
  state_->activity = std::move(activity);
  state_->thread = std::thread([state = state_.get()] { state->run(); });
}

FakeHttpClient::~FakeHttpClient() {
  {
    const std::lock_guard lock(state_->mutex);
    state_->stopping = true;
    for (auto& pending : state_->open) pending.answer = failedAnswer("the client is being destroyed");
    state_->due.splice(state_->due.end(), state_->open);
    state_->changed.notify_all();
  }
  state_->thread.join();
}

std::shared_ptr<HttpTransfer> FakeHttpClient::send(HttpRequest request, Completion completion) {
  State::Pending pending;
  pending.url = request.url;
  pending.piece = Activity::begin(state_->activity);
  pending.completion = std::move(completion);
  const std::lock_guard lock(state_->mutex);
  const std::size_t number = pending.number = state_->requests.size();
  state_->requests.push_back(std::move(request));
  pending.answer = state_->scripted(pending.url);
  auto& list = pending.answer ? state_->due : state_->open;
  list.push_back(std::move(pending));
  state_->changed.notify_all();
  return std::make_shared<FakeTransfer>([weak = std::weak_ptr<State>(state_), number] {
    if (const auto state = weak.lock()) {
      state->settle([number](const auto& one) { return one.number == number; }, failedAnswer("cancelled"));
    }
  });
}

void FakeHttpClient::script(const std::string& url, HttpAnswer answer) {
  const std::lock_guard lock(state_->mutex);
  state_->script[url] = std::move(answer);
}

void FakeHttpClient::hold(const std::string& url) {
  const std::lock_guard lock(state_->mutex);
  state_->script[url] = std::nullopt;
}

bool FakeHttpClient::answer(const std::string& url, HttpAnswer answer) {
  return state_->settle([&url](const auto& one) { return one.url == url; }, std::move(answer));
}

bool FakeHttpClient::waitForRequests(std::size_t count) const {
  std::unique_lock lock(state_->mutex);
  return state_->changed.wait_for(lock, std::chrono::seconds(10),
                                  [&] { return state_->requests.size() >= count; });
}

std::vector<HttpRequest> FakeHttpClient::requests() const {
  const std::lock_guard lock(state_->mutex);
  return state_->requests;
}

std::vector<std::string> FakeHttpClient::unexpected() const {
  const std::lock_guard lock(state_->mutex);
  return state_->unexpected;
}

}  // namespace marlune::testing
