#pragma once

#include <atomic>
#include <cassert>
#include <concepts>
#include <coroutine>
#include <exception>
#include <memory>
#include <optional>
#include <thread>
#include <type_traits>
#include <utility>
#include <variant>

#include "marlune/tasks/Executor.h"
#include "marlune/tasks/OnceCompletion.h"
#include "marlune/tasks/UniqueFunction.h"

namespace marlune {

template <class T>
class Task;

namespace task_detail {

/// A root and what it awaits, down to the frame that runs or waits. It lies in the root's frame.
struct Chain {
  std::coroutine_handle<> root;
  /// Where the thread that runs the chain looks for the frame to resume next; on that thread's stack.
  std::coroutine_handle<>* next = nullptr;
};

struct PromiseBase {
  Chain* chain = nullptr;

  std::suspend_always initial_suspend() const noexcept { return {}; }
  [[noreturn]] void unhandled_exception() const noexcept { std::terminate(); }
};

template <class Promise>
concept InChain = std::derived_from<Promise, PromiseBase>;

/// Runs a chain from a frame on until it waits or ends. Frames hand over to each other through here instead
/// of resuming each other, so that neither a long loop nor a deep nest of them needs stack. The chain is not
/// looked at after a frame has left nothing to resume: another thread may have it by then.
class ChainRun {
 public:
  void run(Chain& chain, std::coroutine_handle<> frame) {
    enter(chain);
    next_ = frame;
    while (next_) std::exchange(next_, nullptr).resume();
  }

 private:
  // Not inlined: the pointer outlives this object, unused, which compilers would warn of.
  [[gnu::noinline]] void enter(Chain& chain) { chain.next = &next_; }
  std::coroutine_handle<> next_;
};

}  // namespace task_detail

/// A chain of tasks that waits for something outside, and the right to resume it. Whatever waits on behalf of
/// the chain holds this, and nothing else keeps the chain: if it is dropped, the whole chain is given up, its
/// frames are destroyed, and its completion is called with nothing.
class WaitingTask {
 public:
  /// For the `await_suspend` of a thing to wait for; requires that the thing awaits within a task. As soon as
  /// another thread can see this object, the awaiting frame with the awaiter in it may be gone.
  template <task_detail::InChain Promise>
  explicit WaitingTask(std::coroutine_handle<Promise> frame) : chain_(frame.promise().chain), frame_(frame) {}
  WaitingTask(WaitingTask&& other) noexcept
      : chain_(std::exchange(other.chain_, nullptr)), frame_(other.frame_) {}
  WaitingTask& operator=(WaitingTask&&) = delete;
  ~WaitingTask() {
    if (chain_ != nullptr) chain_->root.destroy();
  }

  /// Goes on with the chain on this thread, until it waits again or ends.
  void resume() { task_detail::ChainRun().run(*std::exchange(chain_, nullptr), frame_); }

  /// The same from within `await_suspend`, which runs on the chain's thread: resumes as soon as that is over.
  void resumeSoon() { *std::exchange(chain_, nullptr)->next = frame_; }

 private:
  task_detail::Chain* chain_;
  std::coroutine_handle<> frame_;
};

template <class T>
struct TaskCompletionOf {
  using Type = UniqueFunction<void(T)>;
};
template <>
struct TaskCompletionOf<void> {
  using Type = UniqueFunction<void()>;
};
/// What is called at the end of a started task.
template <class T>
using TaskCompletion = typename TaskCompletionOf<T>::Type;

/// Runs a task on this thread up to its first wait, and on from there wherever that ends. The completion is
/// called exactly once, where the task ends; with a default-made T where the task is given up, because what
/// it waits for is dropped. It is called inside this call only where the task never waits, or waits for what
/// is dropped at once, as by a queue that has ended.
template <class T>
void start(Task<T> task, std::type_identity_t<TaskCompletion<T>> completion);

/// An asynchronous operation as a coroutine: lazy, that is it does nothing until it is awaited or started,
/// and move-only. One that is never awaited is dropped without harm; one is awaited at most once. No
/// exception may leave it. A task is used by one thread at a time; it resumes where what it waits for ends.
///
///     Task<Data> readLater(std::shared_ptr<Executor> queue, std::shared_ptr<FileAccess> files) {
///       co_await resumeOn(queue);
///       co_return files->loadFile("a");
///     }
///     start(readLater(queue, files), [](Data data) { ... });
///
/// Coroutines take their parameters by value and are named functions: references and the captures of a lambda
/// are gone when a task resumes. For the same reason an object's coroutines run on a shared state, not on
/// `this`. No lock is held across a `co_await`.
template <class T>
class [[nodiscard]] Task {
  /// What stands for the result inside.
  using Value = std::conditional_t<std::is_void_v<T>, std::monostate, T>;
  static_assert(std::default_initializable<Value>,
                "a task that is given up answers with a default-made value");

  struct FinalAwaiter {
    bool await_ready() const noexcept { return false; }
    template <class Promise>
    void await_suspend(std::coroutine_handle<Promise> frame) const noexcept {
      *frame.promise().chain->next = frame.promise().awaiting;
    }
    void await_resume() const noexcept {}
  };

  struct PromiseOfTask : task_detail::PromiseBase {
    FinalAwaiter final_suspend() const noexcept { return {}; }
    std::coroutine_handle<> awaiting;
    std::optional<Value> value;
  };
  struct PromiseOfValue : PromiseOfTask {
    template <class Result = Value>
    requires std::convertible_to<Result, Value>
    void return_value(Result&& result) { this->value.emplace(std::forward<Result>(result)); }
  };
  struct PromiseOfNothing : PromiseOfTask {
    void return_void() { this->value.emplace(); }
  };

  class Awaiter;

 public:
  struct promise_type : std::conditional_t<std::is_void_v<T>, PromiseOfNothing, PromiseOfValue> {
    Task get_return_object() { return Task(Handle::from_promise(*this)); }
  };

  Task(Task&& other) noexcept : frame_(std::exchange(other.frame_, nullptr)) {}
  Task& operator=(Task&& other) noexcept {
    std::swap(frame_, other.frame_);
    return *this;
  }
  ~Task() {
    if (frame_) frame_.destroy();
  }

  /// Within a task, continues in the same chain. In a coroutine of another kind the task is started and
  /// resumes that coroutine at its end, with a default-made T where the task was given up; such a coroutine
  /// must stay until then.
  Awaiter operator co_await() && { return Awaiter(std::move(*this)); }

 private:
  using Handle = std::coroutine_handle<promise_type>;
  explicit Task(Handle frame) : frame_(frame) {}
  Handle frame_;
};

namespace task_detail {

/// What a question and its answer share. The awaiting task resumes on the thread that answers, even while the
/// call that asks is not over yet, so that nothing resumes inside that call; only an answer that is given
/// inside it, on its own thread, waits for its end. Made on the thread that asks.
template <class Value>
class Meeting {
 public:
  /// Set by the answering side, before anything else.
  std::optional<Value> value;

  /// For the answering side, once: true if it resumes the task here, false if the asking side does.
  bool resumesHere() {
    if (asker_ != std::this_thread::get_id() || !asking_.load(std::memory_order_relaxed)) return true;
    answeredInside_ = true;
    return false;
  }

  /// For the asking side, as the call ends: true if it resumes the task, with an answer that was given
  /// inside. If it is false, another thread may be running the task already.
  bool endAsking() {
    asking_.store(false, std::memory_order_relaxed);
    return answeredInside_;
  }

 private:
  const std::thread::id asker_ = std::this_thread::get_id();
  std::atomic<bool> asking_ = true;  // only the asker writes it; a later thread of the same id may read it
  bool answeredInside_ = false;      // the asker's own
};

}  // namespace task_detail

template <class T>
class Task<T>::Awaiter {
 public:
  explicit Awaiter(Task task) : task_(std::move(task)) { assert(task_.frame_ && "a task is awaited once"); }

  bool await_ready() const noexcept { return false; }

  template <task_detail::InChain Promise>
  void await_suspend(std::coroutine_handle<Promise> awaiting) {
    task_detail::Chain* const chain = awaiting.promise().chain;
    task_.frame_.promise().chain = chain;
    task_.frame_.promise().awaiting = awaiting;
    *chain->next = task_.frame_;
  }

  [[gnu::noinline]] bool await_suspend(std::coroutine_handle<> foreign) {
    const auto meeting = meeting_ = std::make_shared<task_detail::Meeting<Value>>();
    if constexpr (std::is_void_v<T>) {
      start(std::move(task_), [meeting, foreign]() mutable {
        if (meeting->resumesHere()) foreign.resume();
      });
    } else {
      start(std::move(task_), [meeting, foreign](T value) mutable {
        meeting->value.emplace(std::move(value));
        if (meeting->resumesHere()) foreign.resume();
      });
    }
    return !meeting->endAsking();
  }

  T await_resume() {
    if constexpr (!std::is_void_v<T>) {
      return std::move(meeting_ ? *meeting_->value : *task_.frame_.promise().value);
    }
  }

 private:
  Task task_;
  std::shared_ptr<task_detail::Meeting<Value>> meeting_;  // of a coroutine of another kind
};

namespace task_detail {

/// The frame that a started task hangs on. It destroys itself at the end.
struct Root {
  struct promise_type : PromiseBase {
    Chain own;
    Root get_return_object() { return {std::coroutine_handle<promise_type>::from_promise(*this)}; }
    std::suspend_never final_suspend() const noexcept { return {}; }
    void return_void() const noexcept {}
  };
  std::coroutine_handle<promise_type> frame;
};

// Where the frame is destroyed as it waits, the awaited task goes before the completion is called.
template <class T>
Root runRoot(OnceCompletion<T> completion, Task<T> task) {
  completion(co_await std::move(task));
}
inline Root runRoot(OnceCompletion<> completion, Task<void> task) {
  co_await std::move(task);
  completion();
}

}  // namespace task_detail

template <class T>
void start(Task<T> task, std::type_identity_t<TaskCompletion<T>> completion) {
  const auto root = [&] {
    if constexpr (std::is_void_v<T>) {
      return task_detail::runRoot(OnceCompletion<>(std::move(completion)), std::move(task));
    } else {
      return task_detail::runRoot(OnceCompletion<T>(std::move(completion)), std::move(task));
    }
  }();
  auto& promise = root.frame.promise();
  promise.own.root = root.frame;
  promise.chain = &promise.own;
  task_detail::ChainRun().run(promise.own, root.frame);
}

/// What resumeOn() awaits.
class [[nodiscard]] ExecutorAwaiter {
 public:
  explicit ExecutorAwaiter(std::shared_ptr<Executor> executor) : executor_(std::move(executor)) {}

  bool await_ready() const noexcept { return false; }
  // Not inlined, or a compiler may keep the locals in the frame, which is gone as soon as the job runs.
  template <task_detail::InChain Promise>
  [[gnu::noinline]] void await_suspend(std::coroutine_handle<Promise> frame) {
    const auto executor = std::move(executor_);
    WaitingTask waiting(frame);
    if (executor) executor->post([held = std::move(waiting)]() mutable { held.resume(); });
  }
  void await_resume() const noexcept {}

 private:
  std::shared_ptr<Executor> executor_;
};

/// Goes on in a job of an executor. Where the executor drops the job, or there is none, the chain is given
/// up.
///
///     co_await resumeOn(state->queue);
inline ExecutorAwaiter resumeOn(std::shared_ptr<Executor> executor) {
  return ExecutorAwaiter(std::move(executor));
}

/// What completionOf() makes.
template <class Value, std::invocable<UniqueFunction<void(Value)>> Begin>
class [[nodiscard]] CompletionOperation {
  struct Meeting : task_detail::Meeting<Value> {
    explicit Meeting(WaitingTask task) : waiting(std::move(task)) {}
    WaitingTask waiting;
  };

  /// Called or dropped, it answers once.
  class Answering {
   public:
    explicit Answering(std::shared_ptr<Meeting> meeting) : meeting_(std::move(meeting)) {}
    Answering(Answering&&) noexcept = default;
    Answering& operator=(Answering&&) = delete;
    ~Answering() { answer(); }

    void operator()(Value value) {
      if (meeting_) meeting_->value.emplace(std::move(value));
      answer();
    }

   private:
    void answer() {
      const auto meeting = std::exchange(meeting_, nullptr);
      if (!meeting || !meeting->resumesHere()) return;
      WaitingTask waiting = std::move(meeting->waiting);
      if (meeting->value) waiting.resume();
    }
    std::shared_ptr<Meeting> meeting_;
  };

  struct Awaiter {
    CompletionOperation* operation;

    bool await_ready() const noexcept { return false; }
    template <task_detail::InChain Promise>
    [[gnu::noinline]] void await_suspend(std::coroutine_handle<Promise> frame) const {
      auto begin = std::move(operation->begin_);  // the frame may be gone before it is over
      const auto meeting = operation->meeting_ = std::make_shared<Meeting>(WaitingTask(frame));
      begin(UniqueFunction<void(Value)>(Answering(meeting)));
      if (!meeting->endAsking()) return;
      WaitingTask waiting = std::move(meeting->waiting);
      if (meeting->value) waiting.resumeSoon();
    }
    Value await_resume() const { return std::move(*operation->meeting_->value); }
  };

 public:
  explicit CompletionOperation(Begin begin) : begin_(std::move(begin)) {}
  CompletionOperation(const CompletionOperation&) = delete;
  CompletionOperation& operator=(const CompletionOperation&) = delete;

  Awaiter operator co_await() & { return {this}; }
  /// GCC 12 destroys a closure twice that is a temporary of a `co_await` expression.
  Awaiter operator co_await() && = delete;

 private:
  Begin begin_;
  std::shared_ptr<Meeting> meeting_;
};

/// An operation that calls a completion, to be awaited once, in a statement of its own: `begin` is called
/// with the completion, which may be called at once or later, on any thread. The task resumes on that thread;
/// if that is the thread of `begin` before `begin` has ended, it resumes when `begin` ends. If the completion
/// is dropped, the chain is given up.
///
///     auto answer = completionOf<HttpAnswer>(
///         [client, request](UniqueFunction<void(HttpAnswer)> done) { client->send(request, std::move(done));
///         });
///     co_return co_await answer;
///
/// `begin` may still run when the task resumes, so it holds what it needs by value.
template <class Value, class Begin>
CompletionOperation<Value, Begin> completionOf(Begin begin) {
  return CompletionOperation<Value, Begin>(std::move(begin));
}

/// The same task as a chain of its own: if what it waits for is dropped, the awaiting task resumes, with a
/// default-made T. An object puts it between its tasks and those of its callers, so that its end does not end
/// theirs.
template <class T>
Task<T> inOwnChain(Task<T> task) {
  auto answer = completionOf<T>([own = std::move(task)](UniqueFunction<void(T)> done) mutable {
    start(std::move(own), std::move(done));
  });
  co_return co_await answer;
}

}  // namespace marlune
