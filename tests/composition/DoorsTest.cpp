#include "marlune/composition/Doors.h"

#include <gtest/gtest.h>

#include "marlune/platform/FileAccess.h"
#include "marlune/platform/linux/LinuxHost.h"
#include "support/TemporaryFolder.h"

namespace marlune::testing {
namespace {

// The doors are of the process, so that there is one test of them.
TEST(DoorsTest, TheHostIsSettledOnceItIsSeenAndTheDoorsStandOnIt) {
  const TemporaryFolder folder;
  const auto hostIn = [&](const char* name) { return linuxHost({.dataFolder = folder / name}); };
  EXPECT_FALSE(installHost(Host())) << "members are missing";
  EXPECT_TRUE(installHost(hostIn("first")));
  const Host second = hostIn("second");
  EXPECT_TRUE(installHost(second)) << "nobody has seen the first";
  EXPECT_EQ(installedHost().notifications, second.notifications);
  EXPECT_FALSE(installHost(hostIn("third"))) << "somebody may be observing the second";

  FileAccess& files = FileAccess::shared();
  EXPECT_EQ(&files, &FileAccess::shared());
  ASSERT_TRUE(files.saveFile("a", "text"));
  EXPECT_EQ(second.files->read(folder / "second/documents/a"), "text");
  EXPECT_FALSE(installHost(hostIn("fourth")));
  EXPECT_EQ(installedHost().files, second.files);
}

}  // namespace
}  // namespace marlune::testing
