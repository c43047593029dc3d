#include "support/FakeHttpClient.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <list>
#include <map>
#include <mutex>
#include <optional>
#include <set>
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

  Delivery delivery = Delivery::onOwnThread;
  std::shared_ptr<Activity> activity;
  std::function<void()> announce;

  mutable std::mutex mutex;
  mutable std::condition_variable changed;
  // Guarded by the mutex.
  std::list<Pending> open;
  std::list<Pending> due;
  std::vector<HttpRequest> requests;
  std::vector<std::string> unexpected;
  std::map<std::string, HttpAnswer> script;
  std::map<std::string, std::deque<HttpAnswer>> scriptOnce;
  std::set<std::string> held;
  bool stopping = false;
  std::thread thread;

  /// Requires the mutex: the answer that the script has for a new request.
  std::optional<HttpAnswer> scripted(const std::string& url) {
    if (auto& once = scriptOnce[url]; !once.empty()) {
      HttpAnswer answer = std::move(once.front());
      once.pop_front();
      return answer;
    }
    if (held.contains(url)) return std::nullopt;
    if (const auto found = script.find(url); found != script.end()) return found->second;
    unexpected.push_back(url);
    return failedAnswer("no answer in the script for " + url);
  }

  template <class Matches>
  bool settle(Matches matches, HttpAnswer answer) {
    {
      const std::lock_guard lock(mutex);
      const auto found = std::find_if(open.begin(), open.end(), matches);
      if (found == open.end()) return false;
      found->answer = std::move(answer);
      due.splice(due.end(), open, found);
    }
    tellDue();
    return true;
  }

  void tellDue() const {
    changed.notify_all();
    if (announce) announce();
  }

  std::size_t deliverDue() {
    std::size_t count = 0;
    while (true) {
      std::list<Pending> one;
      {
        const std::lock_guard lock(mutex);
        if (due.empty()) return count;
        one.splice(one.end(), due, due.begin());
      }
      one.front().completion(std::move(*one.front().answer));
      ++count;
    }
  }

  void run() {
    while (true) {
      {
        std::unique_lock lock(mutex);
        changed.wait(lock, [this] { return stopping || !due.empty(); });
        if (stopping && due.empty()) return;
      }
      deliverDue();
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

FakeHttpClient::FakeHttpClient(Delivery delivery, std::shared_ptr<Activity> activity,
                               std::function<void()> due)
    : state_(std::make_shared<State>()) {
  state_->delivery = delivery;
  state_->activity = std::move(activity);
  state_->announce = std::move(due);
}

FakeHttpClient::~FakeHttpClient() {
  {
    const std::lock_guard lock(state_->mutex);
    state_->stopping = true;
    for (auto& pending : state_->open) pending.answer = failedAnswer("the client is being destroyed");
    state_->due.splice(state_->due.end(), state_->open);
  }
  state_->changed.notify_all();
  if (state_->thread.joinable()) state_->thread.join();
  state_->deliverDue();
}

std::shared_ptr<HttpTransfer> FakeHttpClient::send(HttpRequest request, Completion completion) {
  State::Pending pending;
  pending.url = request.url;
  pending.piece = Activity::begin(state_->activity);
  pending.completion = std::move(completion);
  std::size_t number = 0;
  {
    const std::lock_guard lock(state_->mutex);
    number = pending.number = state_->requests.size();
    state_->requests.push_back(std::move(request));
    pending.answer =
        state_->stopping ? failedAnswer("the client is being destroyed") : state_->scripted(pending.url);
    auto& list = pending.answer ? state_->due : state_->open;
    list.push_back(std::move(pending));
    if (state_->delivery == Delivery::onOwnThread && !state_->thread.joinable() && !state_->stopping) {
      state_->thread = std::thread([state = state_] { state->run(); });
    }
  }
  state_->tellDue();
  return std::make_shared<FakeTransfer>([weak = std::weak_ptr<State>(state_), number] {
    if (const auto state = weak.lock()) {
      state->settle([number](const auto& one) { return one.number == number; }, failedAnswer("cancelled"));
    }
  });
}

void FakeHttpClient::script(const std::string& url, HttpAnswer answer) {
  const std::lock_guard lock(state_->mutex);
  state_->held.erase(url);
  state_->script[url] = std::move(answer);
}

void FakeHttpClient::scriptOnce(const std::string& url, HttpAnswer answer) {
  const std::lock_guard lock(state_->mutex);
  state_->scriptOnce[url].push_back(std::move(answer));
}

void FakeHttpClient::hold(const std::string& url) {
  const std::lock_guard lock(state_->mutex);
  state_->held.insert(url);
}

bool FakeHttpClient::answer(const std::string& url, HttpAnswer answer) {
  return state_->settle([&url](const auto& one) { return one.url == url; }, std::move(answer));
}

std::size_t FakeHttpClient::deliver() {
  return state_->deliverDue();
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

std::size_t FakeHttpClient::requestCount(const std::string& url) const {
  const std::lock_guard lock(state_->mutex);
  return static_cast<std::size_t>(std::count_if(state_->requests.begin(), state_->requests.end(),
                                                [&url](const auto& request) { return request.url == url; }));
}

std::size_t FakeHttpClient::openCount() const {
  const std::lock_guard lock(state_->mutex);
  return state_->open.size();
}

std::vector<std::string> FakeHttpClient::unexpected() const {
  const std::lock_guard lock(state_->mutex);
  return state_->unexpected;
}

}  // namespace marlune::testing
