// What every file system behind the seam does, the system's and the one in memory.

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "marlune/platform/linux/LinuxFileSystem.h"
#include "support/FakeClock.h"
#include "support/HostTest.h"
#include "support/MemoryFileSystem.h"
#include "support/TemporaryFolder.h"

namespace marlune::testing {
namespace {

using Durability = FileSystem::Durability;

enum class Kind { system, memory };

class FileSystemContract : public ::testing::TestWithParam<Kind> {
 protected:
  FileSystemContract() {
    if (GetParam() == Kind::system) {
      files = std::make_shared<LinuxFileSystem>(clock);
    } else {
      files = std::make_shared<MemoryFileSystem>(clock);
      files->write(temporary.path(), temporary / "any", "", Durability::cache);
      files->remove(temporary / "any");
    }
  }
  void TearDown() override { expectNoTemporaryFiles(temporary.path()); }

  bool write(const std::string& name, std::string_view bytes) {
    return files->write(root, root + "/" + name, bytes, Durability::cache);
  }
  std::optional<Bytes> read(const std::string& name) { return files->read(root + "/" + name); }

  TemporaryFolder temporary;
  std::shared_ptr<FakeClock> clock = std::make_shared<FakeClock>();
  std::shared_ptr<FileSystem> files;
  std::string root = temporary / "a/b";  // not there yet
};

TEST_P(FileSystemContract, writesAndReadsWholeFiles) {
  EXPECT_FALSE(files->exists(root));
  EXPECT_EQ(read("file"), std::nullopt);
  std::string all;
  for (int byte = 0; byte < 256; ++byte) all += static_cast<char>(byte);
  for (const std::string& content : {all, std::string(), std::string(300'000, 'x'), std::string("short")}) {
    for (const auto durability : {Durability::cache, Durability::userData}) {
      ASSERT_TRUE(files->write(root, root + "/file", content, durability));
      EXPECT_EQ(read("file"), content);
      std::string room(all.size(), '-');
      ASSERT_EQ(files->readInto(root + "/file", room), content.size());
      EXPECT_EQ(room.substr(0, content.size()),
                content.size() > room.size() ? std::string(room.size(), '-') : content);
    }
  }
  std::string room(10, '-');
  const auto whole = files->identity(root + "/file");
  const auto ifSame = [&](const FileIdentity& file) { return whole->sameAs(file); };
  EXPECT_EQ(files->readIntoIf(ifSame, root + "/file", room), 5U);
  EXPECT_EQ(room, "short-----");
  EXPECT_EQ(files->readIntoIf([](const FileIdentity&) { return false; }, root + "/file", room), std::nullopt);
  EXPECT_EQ(files->readIntoIf(ifSame, root + "/nothing", room), std::nullopt);
}

TEST_P(FileSystemContract, refusesWhatLiesElsewhere) {
  ASSERT_TRUE(write("folder-of-one", "x"));
  const std::string paths[] = {"",
                               root,
                               root + "/",
                               root + "x/file",
                               root + "/../file",
                               root + "/deeper/file",
                               temporary / "file",
                               root + std::string("/fi\0le", 6)};
  for (const auto& path : paths) {
    EXPECT_FALSE(files->write(root, path, "bytes", Durability::cache)) << path;
    EXPECT_FALSE(files->move(root + "/folder-of-one", root, path)) << path;
  }
  EXPECT_EQ(files->list(temporary.path())->size(), 1U);
  EXPECT_EQ(files->list(root), std::vector<std::string>{"folder-of-one"});
}

TEST_P(FileSystemContract, keepsFilesAndFoldersApart) {
  ASSERT_TRUE(write("file", "content"));
  const std::string below = root + "/file";
  EXPECT_FALSE(files->write(below, below + "/x", "bytes", Durability::userData)) << "a file is no folder";
  EXPECT_FALSE(files->write(temporary / "a", root, "bytes", Durability::cache)) << "a folder is not replaced";
  EXPECT_FALSE(files->move(root + "/file", temporary / "a", root));
  EXPECT_FALSE(files->move(root, temporary.path(), temporary / "c")) << "a folder is not moved";
  EXPECT_EQ(files->read(root), std::nullopt);
  EXPECT_FALSE(files->remove(root)) << "a folder is not removed";
  EXPECT_EQ(files->list(below), std::nullopt);
  EXPECT_EQ(files->list(temporary / "none"), std::nullopt);
  ASSERT_TRUE(write(".hidden", "2"));
  ASSERT_TRUE(files->write(root + "/sub", root + "/sub/three", "3", Durability::cache));
  auto names = files->list(root).value();
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{".hidden", "file", "sub"}));
  EXPECT_EQ(read("file"), "content");
}

TEST_P(FileSystemContract, removesAndMoves) {
  EXPECT_FALSE(files->remove(root + "/one"));
  ASSERT_TRUE(write("one", "1"));
  ASSERT_TRUE(write("two", "2"));
  EXPECT_FALSE(files->move(root + "/none", root, root + "/two"));
  EXPECT_TRUE(files->move(root + "/one", root, root + "/two"));
  EXPECT_EQ(read("two"), "1");
  EXPECT_FALSE(files->exists(root + "/one"));
  const std::string other = temporary / "c/d";
  EXPECT_TRUE(files->move(root + "/two", other, other + "/three"));
  EXPECT_EQ(files->read(other + "/three"), "1");
  EXPECT_TRUE(files->remove(other + "/three"));
  EXPECT_FALSE(files->remove(other + "/three"));
}

TEST_P(FileSystemContract, identityTellsStatesApart) {
  EXPECT_EQ(files->identity(root + "/file"), std::nullopt);
  ASSERT_TRUE(write("file", "same size"));
  const auto first = files->identity(root + "/file");
  ASSERT_TRUE(first);
  EXPECT_EQ(first->size, 9U);
  EXPECT_TRUE(first->sameAs(*files->identity(root + "/file")));
  ASSERT_TRUE(write("other", "SAME SIZE"));
  EXPECT_FALSE(first->sameAs(*files->identity(root + "/other")));
  // The clock stands still, so that the replaced file has the same size and the same time.
  ASSERT_TRUE(write("file", "same_size"));
  EXPECT_FALSE(first->sameAs(*files->identity(root + "/file")));
}

TEST_P(FileSystemContract, writesOnlyOverWhatWasSeen) {
  using Outcome = FileSystem::Outcome;
  const auto writeOver = [&](const std::optional<FileIdentity>& seen, std::string_view bytes) {
    return files->writeIfUnchanged(root, root + "/file", bytes, Durability::userData, seen);
  };
  EXPECT_EQ(writeOver(std::nullopt, "first"), Outcome::written);
  EXPECT_EQ(writeOver(std::nullopt, "x"), Outcome::changed) << "there is one now";
  const auto seen = files->identity(root + "/file");
  ASSERT_TRUE(write("file", "other"));
  EXPECT_EQ(writeOver(seen, "x"), Outcome::changed);
  EXPECT_EQ(read("file"), "other");
  EXPECT_EQ(writeOver(files->identity(root + "/file"), "mine"), Outcome::written);
  EXPECT_EQ(read("file"), "mine");
  ASSERT_TRUE(files->remove(root + "/file"));
  EXPECT_EQ(writeOver(seen, "x"), Outcome::changed) << "gone";
  EXPECT_FALSE(files->exists(root + "/file"));
  EXPECT_EQ(files->writeIfUnchanged(root, temporary / "out", "x", Durability::cache, {}), Outcome::failed);
}

TEST_P(FileSystemContract, filesCarryTheTimeOfTheClock) {
  for (const double instant : {1'741'176'000.5, 0.0, -86'400.25, 4'102'444'800.0}) {
    clock->set(dateFromSeconds(instant));
    ASSERT_TRUE(write("file", "x"));
    EXPECT_EQ(files->identity(root + "/file")->modified, static_cast<std::int64_t>(instant * 1e9));
  }
}

INSTANTIATE_TEST_SUITE_P(all, FileSystemContract, ::testing::Values(Kind::system, Kind::memory),
                         [](const auto& one) { return one.param == Kind::system ? "system" : "memory"; });

}  // namespace
}  // namespace marlune::testing
