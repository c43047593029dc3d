#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "marlune/base/Data.h"
#include "marlune/platform/Host.h"
#include "marlune/providers/JoinedWork.h"
#include "marlune/providers/PendingOperations.h"
#include "marlune/tasks/AnswerWaits.h"
#include "marlune/tasks/CallbackQueue.h"
#include "marlune/tasks/UniqueFunction.h"

namespace marlune {

class HttpFetcher;

/// What one provider fetches: one transfer an address at a time, and above that one download a year at a
/// time, however many ask. A transfer gives bytes, which each who asks judges and stores by a rule of its
/// own. A download is a call of the provider's loadDataAtURL(), which stores and posts by itself, and answers
/// inside the call or later, on any thread, or never. Held by shared_ptr. Safe from any thread.
///
/// Who has looked in vain at what is stored says when that was: where something has come in between, the
/// question is not taken, and the caller looks again.
class YearDownloads : public std::enable_shared_from_this<YearDownloads> {
 public:
  using Work = JoinedWork<Data>;
  using Ticket = std::shared_ptr<Work::Ticket>;
  /// The bytes, or an empty pointer; to be let go of when they are stored.
  using Share = Work::Share;
  using Take = UniqueFunction<void(Share)>;
  using Load = std::function<void(const std::string& url, const std::string& fileName,
                                  UniqueFunction<void(Data)> completion)>;

  /// How much had come by a certain time.
  struct Moment {
    std::uint64_t transfers = 0;
    std::uint64_t downloads = 0;
  };

  struct Year {
    std::string url;  ///< as published
    std::string fileName;
  };

  /// `load` downloads a year as loadDataAtURL() does; no lock is held when it is called.
  YearDownloads(const Host& host, Load load);

  Moment now() const;

  // --- Transfers ---

  /// Has `take` called with the bytes at an address on the callback thread. Where that is given up, `take` is
  /// dropped. False: look again.
  [[nodiscard]] bool fetch(const std::string& url, Take take, std::optional<Moment> before = {});
  /// The same, waited for until stop(). Nothing: look again.
  std::optional<Share> fetchAndWait(const std::string& url, std::optional<Moment> before = {});

  // --- Downloads ---

  /// Has `take` called where the download of a year ends, on any thread; it only hands on. The first who asks
  /// is handed a ticket by `begin`, inside this call, and sees to it that run() is called with it. `mark` is
  /// that of the request. False: look again.
  [[nodiscard]] bool download(const Year& year, Take take, std::shared_ptr<PendingOperations::Mark> mark,
                              const std::function<void(Ticket)>& begin, std::optional<Moment> before = {});
  /// Downloads on this thread; it, and the provider, may be gone afterwards.
  void run(const Year& year, const Ticket& ticket);
  /// The same for one thread that waits until stop(). Nothing: look again.
  std::optional<Share> downloadAndWait(const Year& year, Moment before);
  bool isUnderWay(const Year& year) const;
  /// The download of a year has ended and the file lies there, or has failed: who asks from now on, told of
  /// it before the answer comes, begins anew. Of a failure the requests' keys are free as well.
  void ended(const Year& year, bool failed);

  /// Cancels transfers and ends all waits, for good.
  void stop();
  /// Drops the completions that have not begun, and waits for those that have, save one that calls this.
  void close();

 private:
  void transfer(const std::string& url, const Ticket& ticket);

  const std::shared_ptr<CallbackQueue> callbacks_;
  const std::shared_ptr<HttpFetcher> fetcher_;
  const Load load_;
  const std::shared_ptr<Work> transfers_ = std::make_shared<Work>();
  const std::shared_ptr<Work> downloads_ = std::make_shared<Work>();
  const std::shared_ptr<AnswerWaits<Share>> waits_ = std::make_shared<AnswerWaits<Share>>();
};

}  // namespace marlune
