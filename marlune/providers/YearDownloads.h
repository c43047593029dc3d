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

/// What one provider fetches: one transfer per address at a time, and above that one download per year at a
/// time, however many callers ask. A transfer gives bytes, which each caller judges and stores by its own
/// rule. A download is a call of the provider's loadDataAtURL(), which stores and posts by itself, and
/// answers inside the call or later, on any thread, or never. Held by shared_ptr. Safe from any thread.
///
/// A caller that has looked in vain at what is stored says when it looked. If something has ended since, the
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

  /// Calls `take` when the download of a year ends, on any thread; it should only post what it got. The first
  /// caller gets a ticket through `begin`, inside this call, and must have run() called with it. `mark` is
  /// the request's. False: look again.
  [[nodiscard]] bool download(const Year& year, Take take, std::shared_ptr<PendingOperations::Mark> mark,
                              const std::function<void(Ticket)>& begin, std::optional<Moment> before = {});
  /// Downloads on this thread; it, and the provider, may be gone afterwards.
  void run(const Year& year, const Ticket& ticket);
  /// The same for one thread that waits until stop(). Nothing: look again.
  std::optional<Share> downloadAndWait(const Year& year, Moment before);
  bool isUnderWay(const Year& year) const;
  /// The download of a year has ended: its file is stored, or it has failed. A caller that asks from now on,
  /// told of it before the answer comes, begins anew. After a failure the requests' keys are free as well.
  void ended(const Year& year, bool failed);

  /// Cancels transfers and ends all waits, for good.
  void stop();
  /// Drops completions that have not begun, and waits for those that have, except one that calls this.
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
