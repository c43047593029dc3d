#pragma once

#include <memory>
#include <string>

#include "marlune/base/Data.h"
#include "marlune/base/Export.h"
#include "marlune/platform/HttpClient.h"
#include "marlune/tasks/Executor.h"
#include "marlune/tasks/Task.h"
#include "marlune/tasks/UniqueFunction.h"

namespace marlune {

/// Fetches whole resources for one owner, and can give all of them up at once. Where only bytes are asked
/// for, the status is not looked at: who asks judges them. Held by shared_ptr. Calls are safe from any
/// thread. What is under way keeps neither this nor the client alive.
class MARLUNE_API HttpFetcher : public std::enable_shared_from_this<HttpFetcher> {
 public:
  /// Called exactly once, on `callbacks` or, where that no longer runs it, wherever it is dropped: after
  /// stop(), inside the call that asks.
  using Completion = UniqueFunction<void(Data)>;
  using AnswerCompletion = UniqueFunction<void(HttpAnswer)>;

  /// Where an address comes from, which decides how it is encoded: see HttpClient.h.
  enum class Address { published, given };

  HttpFetcher(std::shared_ptr<HttpClient> client, std::shared_ptr<Executor> callbacks);

  /// The bytes at a published address; an empty pointer when no whole answer came. Waits: not for the main
  /// thread and not for the client's own.
  Data fetchAndWait(const std::string& publishedUrl);

  /// The same without waiting.
  void fetch(const std::string& publishedUrl, Completion completion);

  /// The whole answer, for who looks at its status. The request's limits and headers count. The completion is
  /// called as for fetch(); where the request is given up, the answer has an error.
  void fetchAnswer(HttpRequest request, AnswerCompletion completion, Address address = Address::published);
  /// The same as a task, which goes on where the completion would be called.
  Task<HttpAnswer> fetchAnswer(HttpRequest request, Address address = Address::published);

  /// Cancels what is under way, refuses what comes and lets go of the callback executor. When it returns,
  /// every completion has been called, save one that calls this itself and those that wait in an executor
  /// that others hold too; and the client's thread holds nothing of them any more.
  void stop();

 private:
  struct Open;

  bool begin(HttpRequest request, HttpClient::Completion done);

  const std::shared_ptr<HttpClient> client_;
  const std::shared_ptr<Open> open_;
};

}  // namespace marlune
