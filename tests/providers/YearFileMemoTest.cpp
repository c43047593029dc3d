#include "marlune/providers/YearFileMemo.h"

#include <gtest/gtest.h>

#include "support/MemoryFileSystem.h"

namespace marlune::testing {
namespace {

/// Files whose identity never shows a change, as when several fall within one tick of the system's clock.
class MomentaryFiles : public MemoryFileSystem {
 public:
  std::optional<FileIdentity> identity(const std::string&) override {
    return FileIdentity{.device = 1, .inode = 2, .size = 3, .modified = 4, .changed = 5, .settled = settled};
  }
  std::optional<Bytes> read(const std::string& path) override {
    ++reads;
    return MemoryFileSystem::read(path);
  }
  void put(std::string_view bytes) {
    ASSERT_TRUE(write("/f", "/f/year.xml", bytes, FileSystem::Durability::cache));
  }

  bool settled = false;
  int reads = 0;
};

TEST(YearFileMemoTest, AFileChangedAMomentAgoIsKnownByItsContentAlone) {
  MomentaryFiles files;
  YearFileMemo memo;
  files.put("old");
  const Data first = memo.load(files, "/f/year.xml");
  ASSERT_TRUE(first);
  EXPECT_EQ(memo.load(files, "/f/year.xml"), first) << "the same bytes need no second parse";
  files.put("new");
  const Data second = memo.load(files, "/f/year.xml");
  ASSERT_TRUE(second);
  EXPECT_EQ(*second, "new");

  files.put("end");
  files.settled = true;
  const Data third = memo.load(files, "/f/year.xml");
  ASSERT_TRUE(third);
  EXPECT_EQ(*third, "end") << "what was read before the file had settled proves nothing";
  const int reads = files.reads;
  EXPECT_EQ(memo.load(files, "/f/year.xml"), third);
  EXPECT_EQ(files.reads, reads) << "a settled file is not read again";

  ASSERT_TRUE(files.remove("/f/year.xml"));
  files.settled = false;
  EXPECT_EQ(memo.load(files, "/f/year.xml"), nullptr);
}

TEST(YearEventsTest, FindsARangeInAnyOrder) {
  const std::vector<TideEvent> ascending = {{10, 1, true}, {20, 2, false}, {20, 3, true}, {30, 4, false}};
  const std::vector<TideEvent> mixed = {{30, 4, false}, {10, 1, true}, {20, 2, false}, {20, 3, true}};
  struct {
    std::int64_t begin, end;
    std::size_t count;
  } const ranges[] = {{10, 30, 4}, {11, 29, 2}, {20, 20, 2}, {31, 99, 0}, {30, 10, 0}};
  for (const auto& range : ranges) {
    for (const auto& events : {ascending, mixed}) {
      const auto found = YearEvents(events).between(range.begin, range.end);
      EXPECT_EQ(found.size(), range.count) << range.begin << " to " << range.end;
    }
  }
  const auto found = YearEvents(mixed).between(20, 30);
  EXPECT_EQ(found, (std::vector<TideEvent>{mixed[0], mixed[2], mixed[3]})) << "in document order";
}

}  // namespace
}  // namespace marlune::testing
