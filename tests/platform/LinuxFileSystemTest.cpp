// What only real files, processes and signals can show.

#include "marlune/platform/linux/LinuxFileSystem.h"

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

#include "support/HostTest.h"
#include "support/TemporaryFolder.h"

namespace marlune::testing {
namespace {

using Durability = FileSystem::Durability;

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

std::size_t temporariesIn(const std::string& folder) {
  std::size_t count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    count += entry.path().filename().string().starts_with(".marlune-tmp-") ? 1U : 0U;
  }
  return count;
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
  expectNoTemporaryFiles(folder.path());
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
  expectNoTemporaryFiles(folder.path());
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
