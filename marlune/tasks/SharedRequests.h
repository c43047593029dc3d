#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "marlune/tasks/Executor.h"
#include "marlune/tasks/OnceCompletion.h"
#include "marlune/tasks/UniqueFunction.h"

namespace marlune {

/// One request for equal questions: who asks what is being asked already waits for the same answer, of which
/// each gets a copy; where records that callers may change are held by reference, `copy` makes them anew.
/// Nothing is remembered; a question after the answer begins a new request. Calls are safe
/// from any thread.
///
///     requests.ask(name, std::move(completion), [=](auto answered) { fetch(name, std::move(answered)); });
template <class Question, class Answer>
class SharedRequests {
 public:
  using Completion = UniqueFunction<void(Answer)>;
  using Copy = Answer (*)(const Answer&);

  /// Each completion is called in a job of its own on `callbacks`, so that none holds up the others. Without
  /// `copy` an answer is copied as C++ does.
  explicit SharedRequests(std::shared_ptr<Executor> callbacks, Copy copy = nullptr)
      : state_(std::make_shared<State>(std::move(callbacks), copy)) {}

  /// The completion is called exactly once: with a default-made answer where the request, or the job that
  /// would call it, is dropped; inside this call only where that comes at once, as with an executor that has
  /// ended. `begin` is called inside this call, or never, with what takes the answer.
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
    State(std::shared_ptr<Executor> executor, Copy copier) : callbacks(std::move(executor)), copy(copier) {}

    void answer(const Question& question, Answer answer) {
      Waiting waiting;
      {
        const std::lock_guard lock(mutex);
        waiting = std::move(underWay.extract(question).mapped());
      }
      // Each has a copy, save the last, which is the only one as a rule.
      for (std::size_t i = 0; i + 1 < waiting.size(); ++i) {
        give(std::move(waiting[i]), copy ? copy(answer) : answer);
      }
      if (!waiting.empty()) give(std::move(waiting.back()), std::move(answer));
    }

    void give(OnceCompletion<Answer> completion, Answer answer) {
      callbacks->post(
          [done = std::move(completion), given = std::move(answer)]() mutable { done(std::move(given)); });
    }

    const std::shared_ptr<Executor> callbacks;
    const Copy copy;
    std::mutex mutex;
    std::map<Question, Waiting, std::less<>> underWay;  // guarded by the mutex
  };

  const std::shared_ptr<State> state_;
};

}  // namespace marlune
