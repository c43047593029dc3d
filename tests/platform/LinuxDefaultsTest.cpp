// The small Linux defaults: folders, resources, bundle, user defaults, zone and log.

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>

#include "marlune/platform/PropertyListDefaults.h"
#include "marlune/platform/linux/SystemLog.h"
#include "marlune/platform/linux/SystemTimeZone.h"
#include "marlune/platform/linux/files/FolderLayout.h"
#include "marlune/platform/linux/files/FolderResources.h"
#include "marlune/platform/linux/files/LinuxFileSystem.h"
#include "marlune/platform/linux/files/PropertyListBundle.h"
#include "support/MemoryFileSystem.h"
#include "support/TemporaryFolder.h"

namespace marlune::testing {
namespace {

using Durability = FileSystem::Durability;

void put(const TemporaryFolder& folder, const std::string& name, std::string_view bytes) {
  ASSERT_TRUE(LinuxFileSystem().write(folder.path(), folder / name, bytes, Durability::cache));
}

TEST(FolderLayoutTest, namesFoldersOfGroupsOnly) {
  const FolderLayout folders("/root//");
  EXPECT_EQ(folders.container("group.x"), "/root/containers/group.x");
  EXPECT_EQ(folders.documents(), "/root/documents");
  for (const std::string& bad :
       {std::string(), std::string(".."), std::string("a/b"), std::string("a\0b", 3)})
    EXPECT_EQ(folders.container(bad), std::nullopt) << bad;
}

TEST(FolderResourcesTest, readsFilesOfTheFolderOnly) {
  const TemporaryFolder folder;
  put(folder, "resource.txt", "bytes");
  std::filesystem::create_directory(folder / "sub");
  EXPECT_EQ(FolderResources(folder / "sub/..").read("resource.txt"), "bytes");
  EXPECT_EQ(FolderResources(folder.path()).read("sub"), std::nullopt);
  const FolderResources below(folder / "sub");
  for (const std::string& bad : {std::string("../resource.txt"), folder / "resource.txt"})
    EXPECT_EQ(below.read(bad), std::nullopt) << bad;
}

TEST(PropertyListBundleTest, readsBothFormsAndTakesAnyThingElseAsNothing) {
  const TemporaryFolder folder;
  const auto bundle = [&] { return std::make_unique<PropertyListBundle>(folder.path()); };
  put(folder, "region.plist", "<plist><dict><key>name</key><string>usa</string></dict></plist>");
  put(folder, "Info.plist", *writeBinaryPropertyList(PropertyList::Dictionary{{"URL", "x"}, {"N", 1}}));
  EXPECT_EQ(bundle()->region(), "usa");
  EXPECT_EQ(bundle()->information("URL"), "x");
  EXPECT_EQ(bundle()->information("N"), std::nullopt) << "not a text";
  EXPECT_EQ(PropertyListBundle(folder.path(), "uk").region(), "uk");
  EXPECT_EQ(PropertyListBundle(std::nullopt).region(), std::nullopt);
  for (const char* damaged : {"", "damaged", "<plist><array/></plist>"}) {
    put(folder, "region.plist", damaged);
    EXPECT_EQ(bundle()->region(), std::nullopt) << damaged;
  }
}

/// Counts its reads and fails where the test says so.
class FaultyFiles : public MemoryFileSystem {
 public:
  bool failsReads = false;
  std::string failingEnd = "none";  ///< of names that cannot be written or moved to
  int reads = 0;

  std::optional<Bytes> read(const std::string& path) override {
    ++reads;
    return failsReads ? std::nullopt : MemoryFileSystem::read(path);
  }
  bool write(const std::string& folder, const std::string& path, std::string_view bytes,
             Durability durability) override {
    return !path.ends_with(failingEnd) && MemoryFileSystem::write(folder, path, bytes, durability);
  }
  bool move(const std::string& from, const std::string& folder, const std::string& to) override {
    return !to.ends_with(failingEnd) && MemoryFileSystem::move(from, folder, to);
  }
};

class PropertyListDefaultsTest : public ::testing::Test {
 protected:
  void putFile(std::string_view bytes) {
    ASSERT_TRUE(files->write("/d", "/d/defaults.plist", bytes, Durability::cache));
  }

  std::shared_ptr<FaultyFiles> files = std::make_shared<FaultyFiles>();
  PropertyListDefaults defaults{files, "/d"};
};

TEST_F(PropertyListDefaultsTest, storesValuesForOthersToRead) {
  EXPECT_EQ(defaults.boolean("A"), std::nullopt);
  EXPECT_TRUE(defaults.setBoolean("A", true));
  PropertyListDefaults other(files, "/d");
  EXPECT_EQ(other.boolean("A"), true);
  EXPECT_TRUE(other.setBoolean("A", false));
  EXPECT_EQ(defaults.boolean("A"), false);
  files->reads = 0;
  for (int i = 0; i < 100; ++i) EXPECT_EQ(defaults.boolean("A"), false);
  EXPECT_EQ(files->reads, 0) << "unchanged, yet read again";
}

TEST_F(PropertyListDefaultsTest, neverLosesWhatIsThere) {
  ASSERT_TRUE(defaults.setBoolean("A", true));
  files->failingEnd = ".plist";
  EXPECT_FALSE(defaults.setBoolean("A", false));
  EXPECT_EQ(defaults.boolean("A"), true);
  files->failingEnd = ".damaged";
  files->failsReads = true;
  EXPECT_FALSE(defaults.setBoolean("B", true)) << "a file that cannot be read is not replaced";
  files->failsReads = false;
  const PropertyList::Dictionary others{{"odd", "\x01"}, {"A", "no truth value"}};
  putFile(*writeBinaryPropertyList(others));
  EXPECT_TRUE(defaults.setBoolean("A", true));
  EXPECT_EQ(readPropertyList(*files->read("/d/defaults.plist")),
            PropertyList(PropertyList::Dictionary{{"odd", "\x01"}, {"A", true}}));
  putFile("damaged");
  EXPECT_FALSE(defaults.setBoolean("B", true)) << "damaged bytes that cannot be put aside are not replaced";
  EXPECT_EQ(files->read("/d/defaults.plist"), "damaged");
  files->failingEnd = "none";
  for (const char* damaged : {"", "damaged", "<plist><array/></plist>"}) {
    putFile(damaged);
    EXPECT_EQ(defaults.boolean("A"), std::nullopt);
    EXPECT_TRUE(defaults.setBoolean("A", true));
    EXPECT_EQ(files->read("/d/defaults.plist.damaged"), damaged);
    EXPECT_EQ(defaults.boolean("A"), true);
  }
}

TEST(SystemTimeZoneTest, takesTheFirstSettingThatNamesAZone) {
  const TemporaryFolder link;
  std::filesystem::create_symlink("/usr/share/zoneinfo/Europe/Berlin", link / "localtime");
  put(link, "timezone", "Asia/Tokyo\n");
  const TemporaryFolder named;
  put(named, "timezone", " Asia/Tokyo # comment\n");
  const TemporaryFolder hostile;
  put(hostile, "timezone", "../etc/passwd");
  struct Case {
    std::optional<std::string> variable;
    const TemporaryFolder& folder;
    const char* zone;
  };
  const Case cases[] = {
      {std::nullopt, link, "Europe/Berlin"},
      {std::nullopt, named, "Asia/Tokyo"},
      {std::nullopt, hostile, "UTC"},
      {":America/Denver", link, "America/Denver"},
      {"CET-1CEST,M3.5.0,M10.5.0/3", link, "Europe/Berlin"},
      {"/etc/passwd", link, "Europe/Berlin"},
  };
  for (const auto& one : cases) {
    EXPECT_EQ(SystemTimeZone(one.variable, one.folder.path()).current().name(), one.zone)
        << one.variable.value_or("(unset)");
  }
}

TEST(PrintableLineTest, keepsTextAndDefusesControl) {
  EXPECT_EQ(printableLine("M\xc3\xbcnchen % \\x"), "M\xc3\xbcnchen % \\x");
  EXPECT_EQ(printableLine("a\nb\r\tc\x1b[2J\x7f"), "a\\x0ab\\x0d\\x09c\\x1b[2J\\x7f");
  EXPECT_EQ(printableLine("\xff\xc3"), "\\xff\\xc3");
}

}  // namespace
}  // namespace marlune::testing
