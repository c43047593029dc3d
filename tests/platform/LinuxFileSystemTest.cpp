#include "marlune/platform/linux/files/LinuxFileSystem.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <thread>

#include "support/FakeClock.h"
#include "support/MemoryFileSystem.h"
#include "support/TemporaryFolder.h"

namespace marlune::testing {
namespace {

using Durability = FileSystem::Durability;

std::size_t temporariesIn(const std::string& folder) {
  std::size_t count = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    count += entry.path().filename().string().starts_with(".marlune-tmp-") ? 1U : 0U;
  }
  return count;
}

// What every file system behind the seam does, the system's and the one in memory that other tests rely on.

class FileSystemContract : public ::testing::TestWithParam<bool> {
 protected:
  FileSystemContract() {
    if (GetParam()) files = std::make_shared<LinuxFileSystem>(clock);
    files->write(temporary.path(), temporary / "any", "", Durability::cache);
    files->remove(temporary / "any");
  }
  void TearDown() override { EXPECT_EQ(temporariesIn(temporary.path()), 0U); }

  bool write(const std::string& name, std::string_view bytes) {
    return files->write(root, root + "/" + name, bytes, Durability::cache);
  }
  std::optional<Bytes> read(const std::string& name) { return files->read(root + "/" + name); }

  TemporaryFolder temporary;
  std::shared_ptr<FakeClock> clock = std::make_shared<FakeClock>();
  std::shared_ptr<FileSystem> files = std::make_shared<MemoryFileSystem>(clock);
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
  const std::string paths[] = {"", root + "x/file", root + "/../file", root + "/deeper/file",
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
  EXPECT_EQ(files->list(root), std::vector<std::string>{"file"});
  EXPECT_EQ(read("file"), "content");
}

TEST_P(FileSystemContract, removesAndMoves) {
  ASSERT_TRUE(write("one", "1"));
  ASSERT_TRUE(write("two", "2"));
  EXPECT_FALSE(files->move(root + "/none", root, root + "/two"));
  EXPECT_TRUE(files->move(root + "/one", root, root + "/two"));
  EXPECT_FALSE(files->exists(root + "/one"));
  const std::string other = temporary / "c/d";
  EXPECT_TRUE(files->move(root + "/two", other, other + "/three"));
  EXPECT_EQ(files->read(other + "/three"), "1");
  EXPECT_TRUE(files->remove(other + "/three"));
  EXPECT_FALSE(files->remove(other + "/three"));
}

TEST_P(FileSystemContract, aMovedFileTakesThePlaceOfAFolder) {
  const std::string folder = root + "/taken";
  ASSERT_TRUE(files->write(folder + "/deep", folder + "/deep/inner", "inner", Durability::cache));
  EXPECT_FALSE(files->move(folder + "/deep/inner", root, folder)) << "it would go with the folder";
  EXPECT_EQ(files->read(folder + "/deep/inner"), "inner");
  ASSERT_TRUE(write("file", "moved"));
  EXPECT_TRUE(files->move(root + "/file", root, folder));
  EXPECT_EQ(files->read(folder), "moved");
  EXPECT_EQ(files->list(root), std::vector<std::string>{"taken"});
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

INSTANTIATE_TEST_SUITE_P(all, FileSystemContract, ::testing::Bool(),
                         [](const auto& one) { return one.param ? "system" : "memory"; });

// What only real files, processes and signals can show.

/// Runs `body` in a child process, which ends with what it answers; the number of the child.
pid_t inChild(const std::function<int()>& body) {
  const pid_t child = ::fork();
  if (child == 0) ::_exit(body());
  return child;
}

/// The exit status of a child, or -1 when a signal ended it.
int statusOf(pid_t child) {
  int status = 0;
  if (::waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status);
}

bool isWhole(const std::optional<Bytes>& content, std::size_t size) {
  return content && content->size() == size &&
         std::all_of(content->begin(), content->end(), [&](char c) { return c == content->front(); });
}

TEST(LinuxFileSystemTest, aKilledWriterLeavesOldOrNewContent) {
  const TemporaryFolder folder;
  const std::string path = folder / "file";
  constexpr std::size_t size = 100'000;
  ASSERT_TRUE(LinuxFileSystem().write(folder.path(), path, std::string(size, 'a'), Durability::cache));
  std::mt19937 random(20250305);
  std::size_t orphans = 0;
  std::size_t replaced = 0;
  constexpr int kills = 300;
  // A kill that hits no writer in its work shows nothing, so it goes on until some have.
  for (int kill = 0; kill < kills || (orphans == 0 && kill < 20 * kills); ++kill) {
    int progress[2];
    ASSERT_EQ(::pipe(progress), 0);
    const pid_t child = inChild([&] {
      LinuxFileSystem files;
      for (char letter = 'a';; letter = letter == 'z' ? 'a' : static_cast<char>(letter + 1)) {
        if (::write(progress[1], &letter, 1) != 1) return 1;
        const auto durability = letter % 5 == 0 ? Durability::userData : Durability::cache;
        if (!files.write(folder.path(), path, std::string(size, letter), durability)) return 2;
      }
    });
    ::close(progress[1]);
    // At a chance moment, without a clock: after so many writes and so much counting.
    char letter = 0;
    const auto writes = std::uniform_int_distribution<int>(1, 4)(random);
    for (int i = 0; i < writes; ++i) ASSERT_EQ(::read(progress[0], &letter, 1), 1);
    volatile int spin = std::uniform_int_distribution<int>(0, 100'000)(random);
    while (spin > 0) spin = spin - 1;
    ASSERT_EQ(::kill(child, SIGKILL), 0);
    ASSERT_EQ(statusOf(child), -1);
    ::close(progress[0]);

    const auto content = LinuxFileSystem().read(path);
    ASSERT_TRUE(isWhole(content, size)) << "after kill " << kill;
    replaced += content->front() == 'a' ? 0U : 1U;
    const std::size_t left = temporariesIn(folder.path());
    ASSERT_LE(left, 1U) << "the next writer sweeps what the last one left";
    orphans += left;
  }
  EXPECT_GT(orphans, 0U);
  EXPECT_GT(replaced, 0U);
  ASSERT_TRUE(LinuxFileSystem().write(folder.path(), folder / "other", "x", Durability::cache));
  EXPECT_EQ(temporariesIn(folder.path()), 0U);
}

TEST(LinuxFileSystemTest, severalProcessesWriteAndReadOneFolder) {
  const TemporaryFolder folder;
  constexpr std::size_t size = 20'000;
  constexpr int rounds = 200;
  const auto write = [&](int writer, int round) {
    // A new object each time, which sweeps each time: the writers' temporaries must survive each other.
    LinuxFileSystem files;
    const std::string path = folder / ("file" + std::to_string(round % 3));
    return files.write(folder.path(), path, std::string(size, static_cast<char>('a' + writer)),
                       Durability::cache);
  };
  for (int round = 0; round < 3; ++round) ASSERT_TRUE(write(0, round));
  std::vector<pid_t> children;
  for (int writer = 1; writer <= 3; ++writer) {
    children.push_back(inChild([&] {
      for (int round = 0; round < rounds; ++round) {
        if (!write(writer, round)) return 1;
      }
      return 0;
    }));
  }
  for (int reader = 0; reader < 2; ++reader) {
    children.push_back(inChild([&] {
      LinuxFileSystem files;
      for (int round = 0; round < 3 * rounds; ++round) {
        if (!isWhole(files.read(folder / ("file" + std::to_string(round % 3))), size)) return 2;
        if (files.list(folder.path())->size() != 3) return 3;
      }
      return 0;
    }));
  }
  for (const pid_t child : children) EXPECT_EQ(statusOf(child), 0);
  EXPECT_EQ(temporariesIn(folder.path()), 0U);
}

TEST(LinuxFileSystemTest, whoTakesATurnKeepsOthersOutForASecondAtMost) {
  const TemporaryFolder temporary;
  LinuxFileSystem files(std::make_shared<FakeClock>());
  const std::string folder = temporary / "made for it";
  auto mine = files.takeTurn(folder);
  ASSERT_TRUE(mine);
  EXPECT_TRUE(files.takeTurn(temporary.path())) << "another folder has its own turns";
  EXPECT_FALSE(LinuxFileSystem(std::make_shared<FakeClock>()).takeTurn(folder)) << "goes on without";
  std::thread end([&] { mine = nullptr; });
  EXPECT_TRUE(files.takeTurn(folder)) << "as soon as the other ends";
  end.join();
  EXPECT_FALSE(files.takeTurn(""));
}

TEST(LinuxFileSystemTest, aDiskThatFillsUpKeepsTheOldContent) {
  const TemporaryFolder folder;
  ASSERT_TRUE(LinuxFileSystem().write(folder.path(), folder / "file", "old", Durability::userData));
  // The bound on the size of a file makes a write fall short and the next one fail, as a full disk does.
  const pid_t child = inChild([&] {
    ::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{10'000, 10'000};
    if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) return 2;
    LinuxFileSystem files;
    if (files.write(folder.path(), folder / "file", std::string(10'001, 'x'), Durability::cache)) return 3;
    if (files.write(folder.path(), folder / "file", std::string(10'001, 'x'), Durability::userData)) return 4;
    return temporariesIn(folder.path()) == 0 ? 0 : 5;
  });
  EXPECT_EQ(statusOf(child), 0);
  EXPECT_EQ(LinuxFileSystem().read(folder / "file"), "old");
}

TEST(LinuxFileSystemTest, readsRegularFilesUpToTheBound) {
  const TemporaryFolder folder;
  LinuxFileSystem files;
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  EXPECT_EQ(files.read(folder / "pipe"), std::nullopt);
  EXPECT_EQ(files.read("/dev/zero"), std::nullopt);
  constexpr std::uintmax_t bound = std::uintmax_t{64} << 20;
  std::ofstream(folder / "large") << "x";
  std::filesystem::resize_file(folder / "large", bound + 1);
  EXPECT_EQ(files.read(folder / "large"), std::nullopt);
  std::filesystem::resize_file(folder / "large", bound);
  EXPECT_EQ(files.read(folder / "large")->size(), bound);
}

TEST(LinuxFileSystemTest, onlyAnOldChangeIsSettled) {
  const TemporaryFolder folder;
  LinuxFileSystem files;
  ASSERT_TRUE(files.write(folder.path(), folder / "file", "x", Durability::cache));
  // The time of change cannot be set: a file of the system, which is older than any test, stands for the old.
  EXPECT_TRUE(files.identity("/usr/share/zoneinfo/UTC")->settled);
  struct stat status {};
  timespec now{};
  do {  // a busy machine may take longer over the three calls than a change takes to settle
    ASSERT_TRUE(files.write(folder.path(), folder / "file", "x", Durability::cache));
    const bool settled = files.identity(folder / "file")->settled;
    ASSERT_EQ(::stat((folder / "file").c_str(), &status), 0);
    ::clock_gettime(CLOCK_REALTIME, &now);
    if (!settled) return;
  } while ((now.tv_sec - status.st_ctim.tv_sec) * 1000 + (now.tv_nsec - status.st_ctim.tv_nsec) / 1'000'000 >
           50);
  FAIL() << "a change less than 50 ms old counts as settled";
}

}  // namespace
}  // namespace marlune::testing
