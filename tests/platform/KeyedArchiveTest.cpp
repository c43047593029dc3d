#include "marlune/formats/KeyedArchive.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace marlune {
namespace {

using Array = PropertyList::Array;
using Dictionary = PropertyList::Dictionary;
using Uid = PropertyList::Uid;

Dictionary description(const std::string& name, Array chain) {
  return {{"$classname", name}, {"$classes", std::move(chain)}};
}

PropertyList archiveOf(Array objects, Uid root = Uid{1}) {
  return Dictionary{{"$version", 100000},
                    {"$archiver", "NSKeyedArchiver"},
                    {"$top", Dictionary{{"root", root}}},
                    {"$objects", std::move(objects)}};
}

std::optional<KeyedUnarchiver> open(const PropertyList& list) {
  return KeyedUnarchiver::open(*writeBinaryPropertyList(list));
}

TEST(KeyedUnarchiver, FieldsOfOtherKindsCountAsAbsentOrConvert) {
  const auto archive =
      open(archiveOf({"$null",
                      Dictionary{{"inline", "text"},
                                 {"reference", Uid{2}},
                                 {"string", Uid{3}},
                                 {"indirect", Uid{5}},
                                 {"nowhere", Uid{99}},
                                 {"self", Uid{1}},
                                 {"minus", -2.75},
                                 {"large", std::int64_t{1} << 31},
                                 {"nan", std::nan("")},
                                 {"object", Uid{6}}},
                      "two", Dictionary{{"NS.string", "three"}, {"$class", Uid{7}}},
                      Dictionary{{"NS.string", "four"}, {"$class", Uid{8}}},
                      Dictionary{{"NS.string", Uid{2}}, {"$class", Uid{7}}},
                      Dictionary{{"NS.string", "no text"}}, description("NSString", {"NSString", "NSObject"}),
                      description("NSMutableString", {"NSMutableString", "NSString", "NSObject"})}));
  ASSERT_TRUE(archive);
  const auto object = archive->rootObject();
  ASSERT_TRUE(object);
  EXPECT_EQ(object->className(), "");

  const std::pair<const char*, std::optional<std::string>> texts[] = {
      {"reference", "two"},      {"string", "three"},    {"indirect", "two"},      {"inline", std::nullopt},
      {"nowhere", std::nullopt}, {"self", std::nullopt}, {"object", std::nullopt},
  };
  for (const auto& [key, text] : texts) EXPECT_EQ(object->decodeText(key), text) << key;

  const std::tuple<const char*, std::int32_t, double, bool> numbers[] = {
      {"minus", -2, -2.75, true},
      {"large", 0, 2147483648.0, true},
      {"reference", 0, 0, false},
  };
  for (const auto& [key, integer, real, boolean] : numbers) {
    EXPECT_EQ(object->decodeInt32(key), integer) << key;
    EXPECT_EQ(object->decodeDouble(key), real) << key;
    EXPECT_EQ(object->decodeBool(key), boolean) << key;
  }
  EXPECT_EQ(object->decodeInt32("nan"), 0);
}

TEST(KeyedUnarchiver, ListsAndSubclasses) {
  const auto elements = [](const std::string& listClass) {
    const auto archive = open(archiveOf(
        {"$null",
         Dictionary{{"NS.objects", Array{Uid{3}, Uid{0}, Uid{99}, Uid{4}, "inline", Uid{1}, Uid{3}}},
                    {"$class", Uid{2}}},
         description(listClass, {listClass, "NSObject"}), Dictionary{{"n", 3}, {"$class", Uid{5}}}, "text",
         description("BigBuoy", {"BigBuoy", "Buoy", "NSObject"})}));
    return archive ? archive->rootList() : std::nullopt;
  };
  for (const char* name : {"NSArray", "NSMutableSet"}) {
    const auto list = elements(name);
    ASSERT_TRUE(list && list->size() == 4) << name;
    EXPECT_TRUE((*list)[0].isKindOf("Buoy"));
    EXPECT_FALSE((*list)[1].decodeText("n")) << "a text has no fields";
    EXPECT_EQ((*list)[2].className(), name) << "the list in itself";
    EXPECT_EQ((*list)[3].decodeInt32("n"), 3);
  }
  EXPECT_FALSE(elements("NSDictionary"));
}

TEST(KeyedUnarchiver, WhatIsNoArchive) {
  const Array objects{"$null", Dictionary{{"$class", Uid{1}}}};
  ASSERT_TRUE(open(archiveOf(objects)));
  EXPECT_FALSE(open(archiveOf(objects))->rootObject()->isKindOf("NSObject"));  // its own class
  const auto with = [&](std::string_view key, PropertyList value) {
    PropertyList list = archiveOf(objects);
    list.set(key, std::move(value));
    return list;
  };
  const PropertyList bad[] = {
      with("$archiver", "NSArchiver"),
      with("$top", Dictionary{{"root", Uid{2}}}),
      with("$top", Dictionary{{"root", Uid{~0ull}}}),
  };
  for (std::size_t i = 0; i < std::size(bad); ++i) EXPECT_FALSE(open(bad[i])) << "case " << i;
}

}  // namespace
}  // namespace marlune
