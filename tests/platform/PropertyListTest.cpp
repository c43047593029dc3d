#include "marlune/platform/PropertyList.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

using namespace std::literals;

namespace marlune {
namespace {

using Array = PropertyList::Array;
using Dictionary = PropertyList::Dictionary;
using Uid = PropertyList::Uid;

std::string be(std::uint64_t value, int size) {
  std::string bytes;
  while (size-- > 0) bytes.push_back(size < 8 ? static_cast<char>(value >> (8 * size)) : '\0');
  return bytes;
}

/// A binary list of these objects (the first is the root), references of one byte.
std::string binary(const std::vector<std::string>& objects, std::uint64_t top = 0, int offsetSize = 1) {
  std::string bytes = "bplist00";
  std::string offsets;
  for (const auto& object : objects) {
    offsets += be(bytes.size(), offsetSize);
    bytes += object;
  }
  const std::size_t table = bytes.size();
  return bytes + offsets + std::string(6, '\0') + be(static_cast<std::uint64_t>(offsetSize), 1) + "\1" +
         be(objects.size(), 8) + be(top, 8) + be(table, 8);
}

std::string xml(std::string_view content) {
  return "<plist version=\"1.0\">" + std::string(content) + "</plist>";
}

struct ReadCase {
  std::string bytes;
  std::optional<PropertyList> expected;
};

void expectRead(const std::vector<ReadCase>& cases) {
  for (std::size_t i = 0; i < cases.size(); ++i) {
    EXPECT_EQ(readPropertyList(cases[i].bytes), cases[i].expected) << "case " << i << ": " << cases[i].bytes;
  }
}

TEST(BinaryPropertyList, ScalarsOfEveryWidth) {
  expectRead({
      {binary({"\x08"}), false},
      {binary({"\x09"}), true},
      {binary({"\x00"s}), std::nullopt},
      {binary({"\x0F"}), std::nullopt},
      // One to four bytes are unsigned, eight are signed, sixteen hold what neither can.
      {binary({"\x10\xFF"}), 255},
      {binary({"\x11\xFF\xFE"}), 65534},
      {binary({"\x12\xFF\xFF\xFF\xFF"}), 4294967295},
      {binary({"\x13" + be(~0ull, 8)}), -1},
      {binary({"\x13" + be(1ull << 63, 8)}), std::numeric_limits<std::int64_t>::min()},
      {binary({"\x14" + be(0, 8) + be(~0ull, 8)}), std::numeric_limits<std::uint64_t>::max()},
      {binary({"\x14" + be(0, 8) + be(7, 8)}), 7},
      {binary({"\x14" + be(~0ull, 8) + be(~0ull, 8)}), -1},
      {binary({"\x14" + be(1, 8) + be(0, 8)}), std::nullopt},
      {binary({"\x14" + be(~0ull, 8) + be(1, 8)}), std::nullopt},
      {binary({"\x15" + std::string(32, '\0')}), std::nullopt},
      {binary({"\x22" + be(0x3FC00000, 4)}), 1.5},
      {binary({"\x23" + be(0xC000000000000000, 8)}), -2.0},
      {binary({"\x21\x3E\x00"s}), std::nullopt},
      {binary({"\x33" + be(0, 8)}), dateFromSeconds(978307200)},
      {binary({"\x32" + be(0, 4)}), std::nullopt},
      {binary({"\x80\x05"}), Uid{5}},
      {binary({"\x82\x01\x02\x03"}), Uid{0x010203}},
      {binary({"\x87" + be(~0ull, 8)}), Uid{~0ull}},
      {binary({"\x88" + be(1, 9)}), std::nullopt},
      {binary({"\x70"}), std::nullopt},
      {binary({"\x90"}), std::nullopt},
      {binary({"\xF0"}), std::nullopt},
  });
}

TEST(BinaryPropertyList, TextsAndData) {
  const std::string hundred(100, 'x');
  expectRead({
      {binary({"\x50"}), ""},
      {binary({"\x53"
               "abc"}),
       "abc"},
      {binary({"\x5F\x10\x64" + hundred}), hundred},
      {binary({"\x5F\x13" + be(100, 8) + hundred}), hundred},
      {binary({"\x5F\x23" + be(100, 8) + hundred}), std::nullopt},  // the count is no integer
      {binary({"\x5F\x14" + be(100, 16) + hundred}), std::nullopt},
      {binary({"\x5F\x13" + be(~0ull, 8) + hundred}), std::nullopt},
      {binary({"\x52\xC3\xA9"}), std::nullopt},  // not ASCII
      {binary({"\x54"
               "abc"}),
       std::nullopt},  // longer than the objects
      {binary({"\x61\x00\xE9"s}), "\u00E9"},
      {binary({"\x62\xD8\x3D\xDE\x00"s}), "\U0001F600"},
      {binary({"\x61\xFF\xFF"}), "\uFFFF"},
      {binary({"\x61\x00\x00"s}), "\0"s},
      {binary({"\x61\xD8\x3D"}), std::nullopt},                         // high surrogate at the end
      {binary({"\x62\xD8\x3D\x00\x41"s}), std::nullopt},                // and before a letter
      {binary({"\x61\xDE\x00"s}), std::nullopt},                        // low surrogate alone
      {binary({"\x6F\x13" + be(1ull << 63, 8) + "ab"}), std::nullopt},  // twice the count is 0
      {binary({"\x43\x00\x01\xFF"s}), PropertyList::ofData("\x00\x01\xFF"s)},
      {binary({"\x44\x00"s}), std::nullopt},
  });
}

TEST(BinaryPropertyList, Containers) {
  const std::string one = "\x10\x01";
  const std::string a =
      "\x51"
      "a";
  const std::string b =
      "\x51"
      "b";
  expectRead({
      {binary({"\xA0"}), Array{}},
      {binary({"\xD0"}), Dictionary{}},
      {binary({"\xA2\x01\x01", one}), Array{1, 1}},
      {binary({"\xB1\x01", one}), Array{1}},
      {binary({"\xC1\x01", one}), Array{1}},
      {binary({"\xAF\x10\x01\x01", one}), Array{1}},
      {binary({"\xD2\x02\x01\x03\x03", a, b, one}), Dictionary{{"b", 1}, {"a", 1}}},
      {binary({"\xD2\x01\x02\x03\x04", a, a, one, b}), Dictionary{{"a", "b"}}},  // the last one counts
      {binary({"\xD1\x01\x01", one}), std::nullopt},                             // a key that is no text
      {binary({"\xA1\x02", one}), std::nullopt},                                 // no such object
      {binary({"\xA3\x01\x01", one}), std::nullopt},                             // runs into the next
      {binary({"\xA1\x00"s}), std::nullopt},                                     // itself
      {binary({"\xA2\x01\x01", "\xA2\x02\x02", "\xA2\x00\x00"s}), std::nullopt},
      {binary({"\xD1\x01\x00"s, a}), std::nullopt},
      {binary({one, "\xA1\x00"s}, 1), Array{1}},  // the root need not come first
  });
}

TEST(BinaryPropertyList, TrailerIsChecked) {
  const std::string good = binary({"\xA1\x01", "\x10\x2A"});
  ASSERT_EQ(readPropertyList(good), PropertyList(Array{42}));
  const auto with = [&](std::size_t fromEnd, std::string_view bytes) {
    std::string changed = good;
    return changed.replace(changed.size() - fromEnd, bytes.size(), bytes);
  };
  const std::vector<std::string> bad = {
      with(26, "\0"sv),    // offsets of no bytes
      with(26, "\2"),      // a table twice as long
      with(26, "\x09"),    // offsets of nine bytes
      with(25, "\0"sv),    // references of no bytes
      with(25, "\x09"),    //
      with(24, be(0, 8)),  // no objects
      with(24, be(3, 8)),  // more than offsets
      with(24, be(1ull << 63, 8)),
      with(16, be(2, 8)),  // no such root
      with(8, be(8, 8)),   // no objects before the table
      with(8, be(~0ull, 8)),
      with(8, be(good.size(), 8)),
      with(34, "\x07"),  // an object in the magic word
      with(34, "\x0C"),  // an object in the table
      good.substr(0, good.size() - 1),
      "x" + good,
      "bplist00",
      "bplist01" + good.substr(8),
      "bplist00" + std::string(32, '\0'),
  };
  for (std::size_t i = 0; i < bad.size(); ++i) EXPECT_FALSE(readPropertyList(bad[i])) << "case " << i;
  for (std::size_t size = 0; size < good.size(); ++size) {
    EXPECT_FALSE(readPropertyList(std::string_view(good).substr(0, size))) << size;
  }
}

TEST(BinaryPropertyList, SharedReferencesCannotExplode) {
  // Arrays that each hold the next one ten times: 10^levels values in a few hundred bytes.
  const auto laughs = [](std::uint64_t levels) {
    std::vector<std::string> arrays;
    for (std::uint64_t i = 1; i <= levels; ++i) {
      arrays.push_back("\xAA");
      for (int k = 0; k < 10; ++k) arrays.back() += be(i, 1);
    }
    arrays.push_back("\xA0");
    return readPropertyList(binary(arrays, 0, 2));
  };
  EXPECT_TRUE(laughs(5));
  EXPECT_FALSE(laughs(6));
  EXPECT_FALSE(laughs(40));

  // One text of a million bytes, held many times.
  const auto copies = [](std::uint64_t count) {
    const auto size = static_cast<std::size_t>(count);
    return readPropertyList(binary({"\x5F\x12" + be(1'000'000, 4) + std::string(1'000'000, 'x'),
                                    "\xAF\x10" + be(count, 1) + std::string(size, '\0')},
                                   1, 3));
  };
  EXPECT_TRUE(copies(60));
  EXPECT_FALSE(copies(250));
}

TEST(BinaryPropertyList, DepthIsBounded) {
  const auto nested = [](std::size_t depth) {
    PropertyList list = Array{};
    for (std::size_t i = 1; i < depth; ++i) list = Array{std::move(list)};
    return list;
  };
  const PropertyList deepest = nested(PropertyList::maximumDepth - 1);
  for (const auto write : {writeBinaryPropertyList, writeXmlPropertyList}) {
    const auto bytes = write(deepest);
    ASSERT_TRUE(bytes);
    EXPECT_EQ(readPropertyList(*bytes), deepest);
    EXPECT_FALSE(write(nested(PropertyList::maximumDepth)));
  }
  std::string open;
  std::string close;
  for (std::size_t i = 0; i < PropertyList::maximumDepth; ++i) {
    open += "<array>";
    close += "</array>";
  }
  EXPECT_FALSE(readPropertyList(xml(open + close)));
}

TEST(XmlPropertyList, Scalars) {
  const double infinity = std::numeric_limits<double>::infinity();
  expectRead({
      {xml("<true/>"), true},
      {xml("<false> </false>"), false},
      {xml("<true>1</true>"), std::nullopt},
      {xml("<integer>-42</integer>"), -42},
      {xml("<integer>+42</integer>"), 42},
      {xml("<integer>\n 7 \t</integer>"), 7},
      {xml("<integer>0x1F</integer>"), 31},
      {xml("<integer>-0XfF</integer>"), -255},
      {xml("<integer>18446744073709551615</integer>"), std::numeric_limits<std::uint64_t>::max()},
      {xml("<integer>18446744073709551616</integer>"), std::nullopt},
      {xml("<integer>-9223372036854775808</integer>"), std::numeric_limits<std::int64_t>::min()},
      {xml("<integer>-9223372036854775809</integer>"), std::nullopt},
      {xml("<integer/>"), std::nullopt},
      {xml("<integer>--1</integer>"), std::nullopt},
      {xml("<integer>1 2</integer>"), std::nullopt},
      {xml("<integer>0x</integer>"), std::nullopt},
      {xml("<integer>1.0</integer>"), std::nullopt},
      {xml("<real>-1.25e2</real>"), -125.0},
      {xml("<real>3</real>"), 3.0},
      {xml("<real>+infinity</real>"), infinity},
      {xml("<real>-inf</real>"), -infinity},
      {xml("<real>1e999</real>"), std::nullopt},
      {xml("<real>1,5</real>"), std::nullopt},
      {xml("<real>+-1</real>"), std::nullopt},
      {xml("<real>nan(1)</real>"), std::nullopt},
      {xml("<real></real>"), std::nullopt},
      {xml("<date>2001-01-01T00:00:01Z</date>"), dateFromSeconds(978307201)},
      {xml("<date>1969-12-31T23:59:59Z</date>"), dateFromSeconds(-1)},
      {xml("<date>2024-02-29T12:00:00Z</date>"), dateFromSeconds(1709208000)},
      {xml("<date>2023-02-29T12:00:00Z</date>"), std::nullopt},
      {xml("<date>2023-02-28T24:00:00Z</date>"), std::nullopt},
      {xml("<date>2023-02-28T12:00:00+0100</date>"), std::nullopt},
      {xml("<date>2023-02-28</date>"), std::nullopt},
      {xml("<data>\n\tAAEC\n\t/w==\n</data>"), PropertyList::ofData("\x00\x01\x02\xFF"s)},
      {xml("<data>AAE=</data>"), PropertyList::ofData("\x00\x01"s)},
      {xml("<data/>"), PropertyList::ofData("")},
      {xml("<data>AAE</data>"), std::nullopt},
      {xml("<data>A</data>"), std::nullopt},
      {xml("<data>A===</data>"), std::nullopt},
      {xml("<data>AAECAw====</data>"), std::nullopt},
      {xml("<data>AA==AA==</data>"), std::nullopt},
      {xml("<data>AA-_</data>"), std::nullopt},
      {xml("<string/>"), ""},
      {xml("<string> a&amp;b&lt;<![CDATA[<c>&]]>&#233;<!-- no -->\n</string>"), " a&b<<c>&\u00E9\n"},
      {xml("<string>a<b/></string>"), std::nullopt},
  });
  const auto nan = readPropertyList(xml("<real>nan</real>"));
  ASSERT_TRUE(nan && nan->real());
  EXPECT_TRUE(std::isnan(*nan->real()));
}

TEST(XmlPropertyList, Structure) {
  expectRead({
      {xml("<array/>"), Array{}},
      {xml("<dict> </dict>"), Dictionary{}},
      {xml("<array><true/>\n<array><integer>1</integer></array></array>"), Array{true, Array{1}}},
      {xml("<dict><key>b</key><true/><key/><string>x</string></dict>"), Dictionary{{"b", true}, {"", "x"}}},
      {xml("<dict><key>a</key><true/><key>a</key><false/></dict>"), Dictionary{{"a", false}}},
      {xml("<dict><key>CF$UID</key><integer>9</integer></dict>"), Uid{9}},
      {xml("<dict><key>CF$UID</key><integer>-9</integer></dict>"), Dictionary{{"CF$UID", -9}}},
      {xml("<dict><key>a</key></dict>"), std::nullopt},
      {xml("<dict><key>a</key><key>b</key></dict>"), std::nullopt},
      {xml("<dict><true/></dict>"), std::nullopt},
      {xml("<dict>a</dict>"), std::nullopt},
      {xml("<array><key>a</key></array>"), std::nullopt},
      {xml("<array><plist><true/></plist></array>"), std::nullopt},
      {xml(""), std::nullopt},
      {xml("<true/><true/>"), std::nullopt},
      {xml("<key>a</key>"), std::nullopt},
      {xml("<null/>"), std::nullopt},
      {xml("<true/>x"), std::nullopt},
      {"<true/>", std::nullopt},
      {"<array/>", std::nullopt},
      {"<html><plist><true/></plist></html>", std::nullopt},
      {xml("<array>").substr(0, 28), std::nullopt},
      {xml("<array></dict>"), std::nullopt},
      {"", std::nullopt},
      {"{ a = b; }", std::nullopt},
      {"<!DOCTYPE plist SYSTEM \"nowhere.dtd\">" + xml("<true/>"), true},
  });
}

TEST(XmlPropertyList, Encodings) {
  const std::string utf8 = xml("<string>\u00E9</string>");
  std::string utf16 = "\xFF\xFE";
  for (const char16_t unit : u"<plist><string>\u00E9</string></plist>"sv) {
    utf16 += {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)};
  }
  expectRead({
      {utf8, "\u00E9"},
      {"\xEF\xBB\xBF" + utf8, "\u00E9"},
      {utf16, "\u00E9"},
      {"<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>" + xml("<string>\xE9</string>"), "\u00E9"},
      {xml("<string>\xE9</string>"), std::nullopt},
  });
}

TEST(XmlPropertyList, EntitiesCannotExplode) {
  std::string document = "<!DOCTYPE plist [<!ENTITY a0 \"aaaaaaaaaa\">";
  for (int i = 1; i < 12; ++i) {
    document += "<!ENTITY a" + std::to_string(i) + " \"";
    for (int k = 0; k < 10; ++k) document += "&a" + std::to_string(i - 1) + ";";
    document += "\">";
  }
  EXPECT_FALSE(readPropertyList(document + "]>" + xml("<string>&a11;</string>")));
}

/// One of everything, at the edges of each width.
PropertyList everything() {
  Array numbers;
  for (const std::int64_t edge : {0x7FLL, 0xFFLL, 0xFFFFLL, 0xFFFFFFFFLL}) {
    for (const std::int64_t number : {edge, edge + 1, -edge, -edge - 1}) numbers.emplace_back(number);
  }
  numbers.emplace_back(std::numeric_limits<std::int64_t>::min());
  numbers.emplace_back(std::numeric_limits<std::int64_t>::max());
  numbers.emplace_back(std::numeric_limits<std::uint64_t>::max());
  for (const double real : {1.0, -0.0, 0.1, 1e300, 5e-324, std::numeric_limits<double>::infinity()}) {
    numbers.emplace_back(real);
  }
  Array texts;
  for (const std::size_t length : {0u, 1u, 14u, 15u, 16u, 255u, 256u, 70000u}) {
    texts.emplace_back(std::string(length, 'a'));
    texts.emplace_back(std::string(length, 'a') + "\u20AC\U0001F600");
    texts.push_back(PropertyList::ofData(std::string(length, '\xA5')));
  }
  Dictionary many;
  for (int i = 0; i < 300; ++i) many.push_back({"key " + std::to_string(299 - i), i});
  return Dictionary{{"numbers", numbers},
                    {"texts", texts},
                    {"", "<&>\t\r\n\"'"},
                    {"many", many},
                    {"truth", Array{true, false, 1, 0}},
                    {"dates", Array{dateFromSeconds(0), dateFromSeconds(978307200),
                                    dateFromSeconds(-62135596800), dateFromSeconds(253402300799)}},
                    {"uids", Array{Uid{0}, Uid{255}, Uid{256}, Uid{1ull << 40}}}};
}

TEST(PropertyList, RoundTripsInBothForms) {
  const PropertyList list = everything();
  for (const auto write : {writeBinaryPropertyList, writeXmlPropertyList}) {
    const auto bytes = write(list);
    ASSERT_TRUE(bytes);
    const auto read = readPropertyList(*bytes);
    ASSERT_TRUE(read);
    EXPECT_TRUE(*read == list);
    EXPECT_EQ(write(*read), bytes);
  }
}

TEST(PropertyList, BinaryFormStoresEqualScalarsOnce) {
  const std::string text(1000, 't');
  EXPECT_LT(writeBinaryPropertyList(Array(100, text))->size(), 1200u);
  // Equal in value but not in kind: all are kept apart.
  const PropertyList kinds = Array{1, 1.0, true, Uid{1}, "1", PropertyList::ofData("1"), 0.0, -0.0};
  const auto read = readPropertyList(*writeBinaryPropertyList(kinds));
  ASSERT_EQ(read, kinds);
  EXPECT_TRUE(std::signbit(*(*read->array())[7].real()));
}

TEST(PropertyList, WritersRefuseWhatCannotBeReadBack) {
  const std::pair<PropertyList, std::pair<bool, bool>> cases[] = {
      // value, is there a binary form, is there an XML form
      {"\xC3", {false, false}},
      {"\xED\xA0\x80", {false, false}},  // a surrogate in UTF-8
      {"\xC0\x80", {false, false}},      // an overlong form
      {"\xF4\x90\x80\x80", {false, false}},
      {Dictionary{{"\xFF", 1}}, {false, false}},
      {"\x01", {true, false}},
      {"\uFFFE", {true, false}},
      {"\x7F", {true, true}},
      {dateFromSeconds(253402300800), {true, false}},
      {dateFromSeconds(-62135596801), {true, false}},
      {dateFromSeconds(std::nan("")), {true, false}},
      {PropertyList::ofData(std::string(20u << 20, 'x')), {true, false}},
      {PropertyList::ofData(std::string(PropertyList::maximumBytes + 1, 'x')), {false, false}},
      {Array(PropertyList::maximumValues, true), {false, false}},
  };
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    const auto& [list, exists] = cases[i];
    const auto asBinary = writeBinaryPropertyList(list);
    const auto asXml = writeXmlPropertyList(list);
    EXPECT_EQ(asBinary.has_value(), exists.first) << "case " << i;
    EXPECT_EQ(asXml.has_value(), exists.second) << "case " << i;
    EXPECT_TRUE(!asBinary || readPropertyList(*asBinary)) << "case " << i;
  }
}

TEST(PropertyList, KindsDoNotStandInForEachOther) {
  EXPECT_FALSE(PropertyList(true).integer());
  EXPECT_FALSE(PropertyList(1).boolean());
  EXPECT_FALSE(PropertyList(1).real());
  EXPECT_FALSE(PropertyList(-1).unsignedInteger());
  EXPECT_EQ(PropertyList(std::uint64_t{5}), PropertyList(5));
  EXPECT_EQ(PropertyList(5).unsignedInteger(), 5u);
  EXPECT_FALSE(PropertyList(~0ull).integer());
  EXPECT_NE(PropertyList("a"), PropertyList::ofData("a"));
  EXPECT_EQ(PropertyList("a").find("a"), nullptr);
  PropertyList list;
  list.set("a", 1);
  list.set("b", 2);
  list.set("a", 3);
  EXPECT_EQ(list, PropertyList(Dictionary{{"a", 3}, {"b", 2}}));
}

TEST(PropertyList, DamagedInputIsHarmless) {
  PropertyList list = everything();
  list.set("texts", Array{"short", "\u20AC", PropertyList::ofData("bytes")});
  list.set("many", Dictionary{{"k", 1}, {"l", Array{Uid{3}, Dictionary{}}}});
  std::uint64_t state = 20010101;
  const auto random = [&state](std::uint64_t below) {
    state = state * 6364136223846793005u + 1442695040888963407u;
    return (state >> 33) % below;
  };
  for (const auto write : {writeBinaryPropertyList, writeXmlPropertyList}) {
    const std::string good = *write(list);
    int stillRead = 0;
    for (int round = 0; round < 20'000; ++round) {
      std::string bytes = good;
      for (std::uint64_t changes = 1 + random(4); changes > 0; --changes) {
        const auto at = static_cast<std::size_t>(random(bytes.size()));
        switch (random(4)) {
          case 0:
            bytes[at] = static_cast<char>(random(256));
            break;
          case 1:
            bytes[at] = static_cast<char>(bytes[at] ^ (1 << random(8)));
            break;
          case 2:
            bytes.erase(at, 1 + static_cast<std::size_t>(random(3)));
            break;
          default:
            bytes.insert(at, 1, bytes[static_cast<std::size_t>(random(bytes.size()))]);
        }
      }
      // A block of its own size, so that the sanitizers see a read past its end.
      const std::unique_ptr<char[]> exact(new char[bytes.size()]);
      bytes.copy(exact.get(), bytes.size());
      if (const auto read = readPropertyList({exact.get(), bytes.size()})) {
        ++stillRead;
        const auto again = writeBinaryPropertyList(*read);
        ASSERT_TRUE(again) << "round " << round;
        // Compared as bytes, since a damaged number may be none at all.
        EXPECT_EQ(writeBinaryPropertyList(*readPropertyList(*again)), again) << "round " << round;
      }
    }
    EXPECT_GT(stillRead, 100);  // else the damage is too coarse to reach the depth of the reader
  }
}

}  // namespace
}  // namespace marlune
