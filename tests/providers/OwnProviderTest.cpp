#include <atomic>
#include <future>
#include <mutex>
#include <thread>

#include "providers/ProviderTest.h"

namespace marlune::testing {
namespace {

enum class Answers { inside, later, twice, dropped, never };

/// An application's own provider: its years come from nowhere but itself, in whatever way it is told to.
class OwnProvider : public TideDataProvider {
 public:
  using TideDataProvider::TideDataProvider;
  ~OwnProvider() override {
    stopWork();
    for (auto& thread : threads_) thread.join();
  }

  std::string fileNameForStation(std::string_view stationId, std::int64_t year) const override {
    return fmt::format("own-{}-{}", stationId, year);
  }
  std::string getTideDataEndpointForStation(const StationPtr&, std::int64_t year) const override {
    return fmt::format("own:{}", year);
  }
  std::optional<Events> getHighLowTideDataFromNSData(const Data& data, const StationPtr& station,
                                                     std::int64_t year, int month) override {
    elsewhere([&] { isTideDataCachedForStation(station, host().clock->now()); });
    return TideDataProvider::getHighLowTideDataFromNSData(data, station, year, month);
  }
  Data loadDataAtFilePath(std::string_view fileName) override {
    elsewhere([&] { getTideData("7", 2024, 5); });
    return TideDataProvider::loadDataAtFilePath(fileName);
  }
  void setHasLoadedStations(bool loaded) override {
    TideDataProvider::setHasLoadedStations(loaded);
    getTideStationById("7");
  }
  void loadStationData() override {
    ++catalogueLoads;
    TideDataProvider::loadStationData();
  }
  void loadDataAtURL(const std::string& url, const std::string&, DataCompletion completion) override {
    ++downloads;
    EXPECT_TRUE(url.starts_with("own:"));
    elsewhere([&] { fetchTideEventsForStation(nullptr, Date(), Date(), [](const auto&) {}); });
    const std::lock_guard lock(mutex_);
    switch (answers) {
      case Answers::inside:
        return completion(bytes);
      case Answers::dropped:
        return;
      case Answers::never:
        kept.push_back(std::move(completion));
        arrived.set_value();
        return;
      case Answers::later:
        threads_.emplace_back([this, piece = Activity::begin(activity),
                               done = std::move(completion)]() mutable { done(bytes); });
        return;
      case Answers::twice:
        const auto done = std::make_shared<DataCompletion>(std::move(completion));
        for (int i = 0; i < 2; ++i)
          threads_.emplace_back([this, piece = Activity::begin(activity), done] { (*done)(bytes); });
        return;
    }
  }

  /// Who overrides may ask the provider, on other threads too: no lock is held over the call.
  static void elsewhere(const std::function<void()>& ask) { std::thread(ask).join(); }

  std::atomic<Answers> answers = Answers::inside;
  std::atomic<int> downloads = 0;
  std::atomic<int> catalogueLoads = 0;
  Data bytes;
  std::shared_ptr<Activity> activity;
  std::vector<DataCompletion> kept;
  std::promise<void> arrived;

 private:
  std::mutex mutex_;
  std::vector<std::thread> threads_;  // guarded by the mutex
};

class OwnProviderTest : public ProviderTest {
 protected:
  OwnProvider& own() { return static_cast<OwnProvider&>(*provider); }
  void open(Answers answers) {
    provider = nullptr;
    provider = std::make_unique<OwnProvider>(fake.host(), files, months, service);
    own().answers = answers;
    own().activity = fake.activity;
    own().bytes = makeData(document(2024, 31));
  }
  std::size_t day() {
    std::size_t count = 0;
    std::thread([&] {
      const auto events = provider->loadTideEventsForStation(station, dateAt(2024, 5, 2));
      count = events ? events->size() : 0;
    }).join();
    return count;
  }
};

TEST_F(OwnProviderTest, ADownloadAnswersInsideTheCallLaterTwiceOrNotAtAll) {
  for (const auto answers : {Answers::inside, Answers::later, Answers::twice, Answers::dropped}) {
    SCOPED_TRACE(static_cast<int>(answers));
    const bool comes = answers != Answers::dropped;
    open(answers);
    provider->beginGetHighLowTideData(station, dateAt(2024, 5, 20), nullptr, true);
    EXPECT_EQ(namesOf(settled()), (Names{begun, comes ? completed : failed}));
    EXPECT_EQ(inMemory(2024, 5), comes ? 31U : 0U);
    provider->queueRefreshDataTaskForStation(station);
    EXPECT_EQ(namesOf(settled()), Names{comes ? completed : "kMainModelTideDataDownloadFailed"});
    EXPECT_EQ(own().downloads, 2);
    provider->clearCache();
    EXPECT_EQ(day(), comes ? 13U : 0U);
    EXPECT_EQ(own().downloads, 3);
  }
}

TEST_F(OwnProviderTest, TheCatalogueIsAskedForThroughTheOverride) {
  open(Answers::inside);
  EXPECT_EQ(provider->getTideStationById("7")->stationName, "Seven");
  EXPECT_GT(own().catalogueLoads, 0);
}

TEST_F(OwnProviderTest, AnAnswerThatNeverComesEndsWithTheProviderAndOneThatComesAfterItIsNothing) {
  open(Answers::never);
  auto arrived = own().arrived.get_future();
  std::optional<TideDataProvider::Events> events = TideDataProvider::Events();
  std::thread waiting(
      [&, asked = provider.get()] { events = asked->loadTideEventsForStation(station, dateAt(2024, 5, 2)); });
  arrived.wait();
  provider->beginGetHighLowTideData(station, dateAt(2024, 6, 20), nullptr, true);  // joins
  auto completion = std::move(own().kept.front());
  auto bytes = own().bytes;
  provider = nullptr;
  waiting.join();
  EXPECT_FALSE(events);
  completion(bytes);
  completion(nullptr);
  EXPECT_EQ(namesOf(settled()), Names{begun});
}

TEST_F(OwnProviderTest, TenThreadsThatLoadADayShareADownload) {
  open(Answers::never);
  auto arrived = own().arrived.get_future();
  std::atomic<int> found = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 10; ++i) {
    threads.emplace_back([&] {
      const auto events = provider->loadTideEventsForStation(station, dateAt(2024, 5, 2));
      if (events && events->size() == 13) ++found;
    });
  }
  arrived.wait();
  own().kept.front()(own().bytes);
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(found, 10);
  EXPECT_EQ(own().downloads, 1);
}

}  // namespace
}  // namespace marlune::testing
