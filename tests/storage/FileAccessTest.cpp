#include "marlune/platform/FileAccess.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "marlune/platform/linux/files/FolderLayout.h"
#include "marlune/platform/linux/files/LinuxFileSystem.h"
#include "support/TemporaryFolder.h"

namespace marlune {
namespace {

class FileAccessTest : public ::testing::Test {
 protected:
  static constexpr std::string_view group = kGroupContainerName;
  const testing::TemporaryFolder folder;
  FileAccess files{std::make_shared<FolderLayout>(folder.path()), std::make_shared<LinuxFileSystem>()};
};

TEST_F(FileAccessTest, KeepsFilesInBothPlaces) {
  EXPECT_EQ(files.loadFileInContainer(group, "a"), nullptr);
  EXPECT_TRUE(files.saveFileInContainer(group, "a", ""));
  EXPECT_EQ(*files.loadFileInContainer(group, "a"), "") << "an empty file is not a missing one";
  EXPECT_TRUE(files.saveFileInContainer(group, "a", "new"));
  EXPECT_EQ(*files.loadFileInContainer(group, "a"), "new");
  EXPECT_FALSE(files.fileExists("a"));
  EXPECT_TRUE(files.removeFileInContainer(group, "a"));
  EXPECT_FALSE(files.fileExistsInContainer(group, "a"));

  EXPECT_TRUE(files.saveFile("b", "text", FileSystem::Durability::userData));
  EXPECT_EQ(*files.loadFile("b"), "text");
}

TEST_F(FileAccessTest, RefusesNamesThatLeadOut) {
  ASSERT_TRUE(files.saveFile("inside", "x"));
  for (const char* name : {"", "/etc/passwd", "..", "../documents/inside", "a/../../b", "a/.."}) {
    EXPECT_FALSE(files.saveFileInContainer(group, name, "x")) << name;
    EXPECT_EQ(files.loadFileInContainer(group, name), nullptr) << name;
    EXPECT_FALSE(files.fileExistsInContainer(group, name)) << name;
    EXPECT_FALSE(files.removeFileInContainer(group, name)) << name;
    EXPECT_FALSE(files.urlForFileInContainer(group, name)) << name;
    EXPECT_FALSE(files.moveFileToSharedContainer(group, name)) << name;
  }
  EXPECT_FALSE(files.saveFileInContainer(group, std::string_view("a\0b", 3), "x"));
  EXPECT_TRUE(files.saveFileInContainer(group, "..a..", "x")) << "dots alone lead nowhere";
  EXPECT_FALSE(files.saveFileInContainer("", "a", "x")) << "a group that is not configured";
}

TEST_F(FileAccessTest, MovesOverWhatIsThereAndOnlyWhenThereIsSomething) {
  ASSERT_TRUE(files.saveFileInContainer(group, "f", "old"));
  EXPECT_FALSE(files.moveFileToSharedContainer(group, "f"));
  EXPECT_EQ(*files.loadFileInContainer(group, "f"), "old");
  ASSERT_TRUE(files.saveFile("f", "new"));
  EXPECT_TRUE(files.moveFileToSharedContainer(group, "f"));
  EXPECT_EQ(*files.loadFileInContainer(group, "f"), "new");
  EXPECT_FALSE(files.fileExists("f"));

  ASSERT_TRUE(files.saveFileInContainer(group, "bl ank%.xml", "moved"));
  const auto url = files.urlForFileInContainer(group, "bl ank%.xml");
  EXPECT_TRUE(url && url->starts_with("file:///") && url->ends_with("bl%20ank%25.xml")) << url.value_or("");
  EXPECT_TRUE(files.moveFileUrlToDocumentsFolder(*url));
  EXPECT_EQ(*files.loadFile("bl ank%.xml"), "moved");
  EXPECT_FALSE(files.moveFileUrlToDocumentsFolder(*url)) << "it is gone";
  for (const char* escaped : {"%c3%a9", "%C3%A9"}) {  // as others write addresses
    ASSERT_TRUE(files.saveFileInContainer(group, "\u00E9", "x"));
    std::string foreign = files.urlForFileInContainer(group, "\u00E9").value();
    foreign.replace(foreign.rfind('/') + 1, std::string::npos, escaped);
    foreign.insert(foreign.find("//") + 2, "localhost");
    EXPECT_TRUE(files.moveFileUrlToDocumentsFolder(foreign)) << foreign;
    EXPECT_TRUE(files.removeFile("\u00E9"));
  }
  EXPECT_FALSE(files.moveFileUrlToDocumentsFolder("http://a/b"));
  EXPECT_TRUE(files.urlForFileInContainer(group, "missing"));
}

TEST_F(FileAccessTest, MovesOverAFolderWithAllThatIsInIt) {
  const auto makeFolder = [&](const std::string& path) {
    std::filesystem::create_directories(path + "/f/g");
  };
  makeFolder(*files.pathInContainer(group, "x"));
  ASSERT_TRUE(files.saveFile("x", "moved"));
  ASSERT_TRUE(files.moveFileToSharedContainer(group, "x"));
  EXPECT_EQ(*files.loadFileInContainer(group, "x"), "moved");

  makeFolder(*files.folders()->documents() + "/x");
  ASSERT_TRUE(files.moveFileUrlToDocumentsFolder(*files.urlForFileInContainer(group, "x")));
  EXPECT_EQ(*files.loadFile("x"), "moved");
}

}  // namespace
}  // namespace marlune
