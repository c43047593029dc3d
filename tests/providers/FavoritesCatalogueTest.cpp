#include <algorithm>

#include "marlune/favorites/FavoriteListManager.h"
#include "marlune/formats/PropertyList.h"
#include "marlune/providers/TideDataProviderAus.h"
#include "marlune/providers/TideDataProviderUK.h"
#include "providers/ProviderTest.h"

namespace marlune::testing {
namespace {

constexpr const char* listName = "favorites.plist";
constexpr const char* english = "stations_uk.json";
constexpr const char* australian = "stations_australia.json";
constexpr const char* american = "stations_master_usa2.txt";

/// The provider of a region and the favourites, each over the other.
class FavoritesCatalogueTest : public ProviderTest {
 protected:
  FavoritesCatalogueTest() {
    auto& resources = fake.resources->files;
    resources.insert_or_assign(english,
                               R"({"features":[{"type":"Feature","geometry":{"coordinates":[-0.1,50.8]},
            "properties":{"Id":"0082","Name":"Brighton","Country":"England"}}]})");
    resources.insert_or_assign(
        australian,
        R"({"features":[{"type":"Feature","properties":{"AAC":"SYD","PORT_NAME":"Sydney",
            "LAT":-33.9,"LON":151.2,"STATE_NAME":"New South Wales","TIME_ZONE":"UTC"}}]})");
    whole = resources;
  }

  template <class Provider>
  void open() {
    provider = nullptr;
    manager = std::make_unique<FavoriteListManager>(
        files, fake.notifications,
        FavoriteStations{[this](const std::string& id) { return provider->getTideStationById(id); }, nullptr,
                         nullptr, [this] { return provider->isCatalogueWhole(); }});
    provider = std::make_unique<Provider>(
        fake.host(), files, months, nullptr,
        FavoriteHooks{[this] { manager->LoadFromDisk(); }, [this] { manager->SaveToDisk(); }});
    provider->loadStationData();
  }
  void openBuild(const std::string& region) {
    if (region == "aus") return open<TideDataProviderAus>();
    if (region == "worldwide") return open<TideDataProviderUK>();
    open<TideDataProvider>();
  }

  void store(const Names& ids) {
    ASSERT_TRUE(files->saveFileInContainer(
        kGroupContainerName, listName,
        writeXmlPropertyList(PropertyList::Array(ids.begin(), ids.end())).value()));
  }
  std::string stored() {
    const auto bytes = files->loadFileInContainer(kGroupContainerName, listName);
    const auto list = bytes ? readPropertyList(*bytes) : std::nullopt;
    std::string ids;
    for (const auto& id : *list.value().array()) ids += *id.text() + " ";
    return ids;
  }
  /// Changes the favourites by a station that no catalogue knows, and saves.
  void addAndSave() {
    manager->AddToFavorites(stationOf("added"));
    manager->SaveToDisk();
  }
  static std::shared_ptr<TideStation> stationOf(const char* id) {
    auto made = std::make_shared<TideStation>();
    made->stationId = id;
    return made;
  }

  std::map<std::string, Bytes, std::less<>> whole;
  std::unique_ptr<FavoriteListManager> manager;
};

TEST_F(FavoritesCatalogueTest, AnUnreadableListOfTheCatalogueLosesNone) {
  expectLog("Json file error. ");
  const struct {
    const char *region, *resource, *found;
  } rows[] = {
      {"", american, ""},
      {"aus", australian, ""},
      {"worldwide", english, "7 SYD "},
      {"worldwide", australian, "0082 7 "},
      {"worldwide", american, "0082 SYD "},
  };
  for (const auto& row : rows) {
    const Bytes& good = whole.at(row.resource);
    Bytes oneBadByte = good;
    oneBadByte[good.size() / 2] = '\xFF';
    for (const auto& content : {std::optional<Bytes>(), std::optional(oneBadByte), std::optional<Bytes>(""),
                                std::optional<Bytes>("[1, 2]")}) {
      SCOPED_TRACE(fmt::format("{} {}: {}", row.region, row.resource, content.value_or("missing")));
      fake.resources->files = whole;
      fake.resources->files.erase(row.resource);
      if (content) fake.resources->files.insert_or_assign(row.resource, *content);
      store({"0082", "7", "SYD"});
      openBuild(row.region);
      EXPECT_EQ(idsOf(manager->getFavorites()), row.found);
      for (int save = 0; save < 2; ++save) {
        addAndSave();
        EXPECT_EQ(stored(), "0082 7 SYD added ");
        manager->LoadFromDisk();  // by the application, without a catalogue's load around it
      }
      manager->RemoveFromFavorites(stationOf("SYD"));
      manager->SaveToDisk();
      EXPECT_EQ(stored(), "0082 7 added ") << "what is removed here goes, whether or not it was found";
    }
  }
}

TEST_F(FavoritesCatalogueTest, AWholeCatalogueDropsWhatItDoesNotKnow) {
  for (const char* region : {"", "aus", "worldwide"}) {
    store({"7", "SYD", "gone"});
    openBuild(region);
    EXPECT_TRUE(provider->isCatalogueWhole());
    addAndSave();
    EXPECT_EQ(stored().find("gone"), std::string::npos) << stored();
  }
}

TEST_F(FavoritesCatalogueTest, ABadLineLosesThatLineOnly) {
  fake.resources->files.insert_or_assign(american, "1~a~0~1~2~One~S~UTC\n2~b~0~1\n3~c~0~1~2~Three~S~UTC\n");
  store({"1", "2", "3"});
  openBuild("");
  EXPECT_EQ(idsOf(manager->getFavorites()), "1 3 ");
}

}  // namespace
}  // namespace marlune::testing
