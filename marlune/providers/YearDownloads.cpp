#include "marlune/providers/YearDownloads.h"

#include <utility>

#include "marlune/platform/HttpFetcher.h"
#include "marlune/providers/YearFileRules.h"

namespace marlune {

namespace {

/// Runs jobs at once: what the fetcher's completions do here is to hand on.
class AtOnce final : public Executor {
 public:
  void post(Job job) override { job(); }
};

std::string keyOf(const YearDownloads::Year& year) {
  return year.url + '\n' + year.fileName;
}

}  // namespace

YearDownloads::YearDownloads(const Host& host, Load load)
    : callbacks_(std::make_shared<CallbackQueue>(host.executors)),
      fetcher_(std::make_shared<HttpFetcher>(host.http, std::make_shared<AtOnce>())),
      load_(std::move(load)) {}

YearDownloads::Moment YearDownloads::now() const {
  return {transfers_->ended(), downloads_->ended()};
}

bool YearDownloads::fetch(const std::string& url, Take take, std::optional<Moment> before) {
  auto handOn = [queue = callbacks_, body = std::move(take)](Share share) mutable {
    queue->post([taken = std::move(share), run = std::move(body)]() mutable { run(std::move(taken)); });
  };
  const auto joined = transfers_->join(url, {.completion = std::move(handOn)},
                                       before ? std::optional(before->transfers) : std::nullopt);
  if (joined.ticket) transfer(url, joined.ticket);
  return !joined.lookAgain;
}

void YearDownloads::transfer(const std::string& url, const Ticket& ticket) {
  fetcher_->fetch(url, [ticket](Data data) {
    // No caller can use it, so nothing is stored.
    if (data && data->size() < year_file_rules::fewestBytes) data = nullptr;
    ticket->answer(std::move(data));
  });
}

std::optional<YearDownloads::Share> YearDownloads::fetchAndWait(const std::string& url,
                                                                std::optional<Moment> before) {
  bool lookAgain = false;
  // The answer comes on the client's thread, so it needs no thread that may be waiting.
  auto share = waits_->wait([&](auto answered) {
    const auto joined = transfers_->join(url, {.completion = answered, .waits = true},
                                         before ? std::optional(before->transfers) : std::nullopt);
    lookAgain = joined.lookAgain;
    if (lookAgain) answered(Share());
    if (joined.ticket) transfer(url, joined.ticket);
  });
  if (lookAgain) return std::nullopt;
  return share ? std::move(*share) : Share();
}

bool YearDownloads::download(const Year& year, Take take, std::shared_ptr<PendingOperations::Mark> mark,
                             const std::function<void(Ticket)>& begin, std::optional<Moment> before) {
  auto joined = downloads_->join(keyOf(year), {.completion = std::move(take), .mark = std::move(mark)},
                                 before ? std::optional(before->downloads) : std::nullopt);
  if (joined.ticket) begin(std::move(joined.ticket));
  return !joined.lookAgain;
}

void YearDownloads::run(const Year& year, const Ticket& ticket) {
  const auto self = shared_from_this();
  ticket->runHere([&] {
    self->load_(year.url, year.fileName, [ticket](Data data) { ticket->answer(std::move(data)); });
  });
}

std::optional<YearDownloads::Share> YearDownloads::downloadAndWait(const Year& year, Moment before) {
  const auto self = shared_from_this();
  if (transfers_->ended() != before.transfers) return std::nullopt;
  bool lookAgain = false;
  // The answer may need the callback thread, which may be this one.
  callbacks_->giveWay();
  auto share = waits_->wait([&](auto answered) {
    const auto joined =
        downloads_->join(keyOf(year), {.completion = answered, .waits = true}, before.downloads);
    lookAgain = joined.lookAgain;
    if (lookAgain) answered(Share());
    if (joined.ticket) run(year, joined.ticket);
  });
  if (lookAgain) return std::nullopt;
  return share ? std::move(*share) : Share();
}

bool YearDownloads::isUnderWay(const Year& year) const {
  return downloads_->isUnderWay(keyOf(year));
}

void YearDownloads::ended(const Year& year, bool failed) {
  downloads_->close(keyOf(year), failed);
}

void YearDownloads::stop() {
  fetcher_->stop();
  waits_->stop();
}

void YearDownloads::close() {
  callbacks_->close();
}

}  // namespace marlune
