#include "marlune/tides/TideEventDiskCache.h"

#include "support/HostTest.h"

namespace marlune {
namespace {

class TideEventDiskCacheTest : public testing::HostTest {
 protected:
  std::shared_ptr<FileAccess> files = std::make_shared<FileAccess>(fake.folders, fake.files);
  TideEventDiskCache months{files};
};

// One record by hand: 1700000000 (0x6553F100), 2.5, high, not metres.
const std::string oneRecord(
    "\x01\x00\x00\x00\x00\xF1\x53\x65\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x04\x40\x01\x00", 22);

TEST_F(TideEventDiskCacheTest, WritesTheDocumentedBytes) {
  TideEvent event(1'700'000'000, 2.5, true);
  event.isIntermediary = true;
  months.cacheEvents({event}, "global_1", 2025, 3);
  const Data bytes = files->loadFileInContainer(kGroupContainerName, "tcache_global_1_2025_3.bin");
  ASSERT_TRUE(bytes);
  EXPECT_EQ(*bytes, oneRecord);
  EXPECT_FALSE(months.cachedEvents("global_1", 2025, 3)->front().isIntermediary);
  EXPECT_EQ(months.cachedEvents("global_1", 2025, 3)->front(), event);
}

TEST_F(TideEventDiskCacheTest, ReadsBackEveryValueAndOrder) {
  std::vector<TideEvent> events{{-5, -1.25, false}, {INT64_MIN, 1e300, true}, {7, -0.0, true}};
  events[0].tideLevelInMeters = true;
  months.cacheEvents(events, "a", -3, 12);
  EXPECT_EQ(months.cachedEventsWithStationId("a", -3, 12), events);
  months.cacheEvents({}, "a", -3, 12);
  EXPECT_EQ(months.cachedEvents("a", -3, 12), events) << "an empty list writes nothing";
}

TEST_F(TideEventDiskCacheTest, TakesShortFilesAsAbsent) {
  const auto decoded = [](std::string bytes) { return TideEventDiskCache::decode(bytes); };
  EXPECT_FALSE(decoded("abc"));
  EXPECT_TRUE(decoded(std::string(4, '\0'))->empty()) << "a count of nothing is a list of nothing";
  for (std::size_t cut = 4; cut < oneRecord.size(); ++cut) EXPECT_FALSE(decoded(oneRecord.substr(0, cut)));
  EXPECT_FALSE(decoded(std::string(40, '\xFF'))) << "a count of four thousand million";
}

TEST_F(TideEventDiskCacheTest, EvictsByStationAndLeavesTheRest) {
  const std::vector<TideEvent> events{{1, 1, true}};
  const auto names = [&] {
    auto listed = fake.files->list(fake.container(kGroupContainerName)).value();
    std::sort(listed.begin(), listed.end());
    return listed;
  };
  for (const char* id : {"global_1", "global_12"}) {
    for (const int month : {1, 2}) months.cacheEvents(events, id, 2025, month);
  }
  for (const char* name : {"2025global_1.xml", "tcache_global_1_2025.tmp", "xtcache_global_1_1_1.bin"}) {
    files->saveFileInContainer(kGroupContainerName, name, "x");
  }
  months.evictForStation("global_1");
  EXPECT_EQ(names(), (std::vector<std::string>{"2025global_1.xml", "tcache_global_12_2025_1.bin",
                                               "tcache_global_12_2025_2.bin", "tcache_global_1_2025.tmp",
                                               "xtcache_global_1_1_1.bin"}));
  months.evictAll();
  EXPECT_EQ(names().size(), 3U);
  months.cacheEvents(events, "../../out", 2025, 1);
  EXPECT_EQ(names().size(), 3U);
}

}  // namespace
}  // namespace marlune
