#pragma once

#include <memory>
#include <type_traits>
#include <utility>

namespace marlune {

template <class Signature>
class UniqueFunction;

/// A callable that can be moved but not copied, so that it may own what cannot be copied and is naturally
/// called by one owner. Empty when default-made or moved from; calling an empty one is a programming error.
template <class Result, class... Arguments>
class UniqueFunction<Result(Arguments...)> {
 public:
  UniqueFunction() = default;
  UniqueFunction(std::nullptr_t) {}  // NOLINT(google-explicit-constructor)

  template <class Callable>
  requires(!std::is_same_v<std::remove_cvref_t<Callable>, UniqueFunction> &&
           std::is_invocable_r_v<Result, std::remove_cvref_t<Callable>&, Arguments...>)
      UniqueFunction(Callable&& callable)  // NOLINT(bugprone-forwarding-reference-overload)
      : body_(std::make_unique<Body<std::remove_cvref_t<Callable>>>(std::forward<Callable>(callable))) {}

  Result operator()(Arguments... arguments) { return body_->call(std::forward<Arguments>(arguments)...); }
  explicit operator bool() const { return body_ != nullptr; }

 private:
  struct Base {
    virtual ~Base() = default;
    virtual Result call(Arguments... arguments) = 0;
  };
  template <class Callable>
  struct Body final : Base {
    explicit Body(Callable c) : callable(std::move(c)) {}
    Result call(Arguments... arguments) override { return callable(std::forward<Arguments>(arguments)...); }
    Callable callable;
  };

  std::unique_ptr<Base> body_;
};

}  // namespace marlune
