#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "marlune/platform/Executor.h"
#include "marlune/platform/OnceCompletion.h"
#include "marlune/platform/UniqueFunction.h"

namespace marlune {

/// One request for equal questions: who asks what is being asked already waits for the same answer, of which
/// each gets a copy. Nothing is remembered; a question after the answer begins a new request. Calls are safe
/// from any thread.
///
///     requests.ask(name, std::move(completion), [=](auto answered) { fetch(name, std::move(answered)); });
template <class Question, class Answer>
class SharedRequests {
 public:
  using Completion = UniqueFunction<void(Answer)>;

  /// Each completion is called in a job of its own on `callbacks`, so that none holds up the others.
  explicit SharedRequests(std::shared_ptr<Executor> callbacks)
      : state_(std::make_shared<State>(std::move(callbacks))) {}

  /// The completion is called exactly once: with a default-made answer where the request, or the job that
  /// would call it, is dropped. `begin` is called inside this call, or never, with what takes the answer.
  void ask(const Question& question, Completion completion, UniqueFunction<void(Completion)> begin) {
    {
      const std::lock_guard lock(state_->mutex);
      Waiting& waiting = state_->underWay[question];
      waiting.emplace_back(std::move(completion));
      if (waiting.size() > 1) return;
    }
    begin(Completion(OnceCompletion<Answer>(
        [state = state_, question](Answer answer) { state->answer(question, std::move(answer)); })));
  }

 private:
  using Waiting = std::vector<OnceCompletion<Answer>>;

  struct State {
    explicit State(std::shared_ptr<Executor> executor) : callbacks(std::move(executor)) {}

    void answer(const Question& question, Answer answer) {
      Waiting waiting;
      {
        const std::lock_guard lock(mutex);
        waiting = std::move(underWay.extract(question).mapped());
      }
      // Each has a copy, save the last, which is the only one as a rule.
      for (std::size_t i = 0; i + 1 < waiting.size(); ++i) give(std::move(waiting[i]), answer);
      if (!waiting.empty()) give(std::move(waiting.back()), std::move(answer));
    }

    void give(OnceCompletion<Answer> completion, Answer answer) {
      callbacks->post(
          [done = std::move(completion), given = std::move(answer)]() mutable { done(std::move(given)); });
    }

    const std::shared_ptr<Executor> callbacks;
    std::mutex mutex;
    std::map<Question, Waiting, std::less<>> underWay;  // guarded by the mutex
  };

  const std::shared_ptr<State> state_;
};

}  // namespace marlune
