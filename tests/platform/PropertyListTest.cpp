#include "marlune/platform/PropertyList.h"

#include <fmt/format.h>
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

void expectRead(const std::vector<std::pair<std::string, PropertyList>>& cases) {
  for (const auto& [bytes, expected] : cases) EXPECT_EQ(readPropertyList(bytes), expected) << bytes;
}

void expectRefused(const std::vector<std::string>& cases) {
  for (const auto& bytes : cases) EXPECT_FALSE(readPropertyList(bytes)) << bytes;
}

// What Python's own module writes is read by interop.property_lists; here is what it does not write.

TEST(BinaryPropertyList, OtherFormsOfValuesAreRead) {
  const std::string hundred(100, 'x');
  const std::string one = "\x10\x01";
  expectRead({
      {binary({"\x12\xFF\xFF\xFF\xFF"}), 4294967295},  // up to four bytes are unsigned
      {binary({"\x13" + be(~0ull, 8)}), -1},
      {binary({"\x14" + be(0, 8) + be(7, 8)}), 7},
      {binary({"\x14" + be(~0ull, 8) + be(~0ull, 8)}), -1},
      {binary({"\x22" + be(0x3FC00000, 4)}), 1.5},
      {binary({"\x82\x01\x02\x03"}), Uid{0x010203}},
      {binary({"\x5F\x13" + be(100, 8) + hundred}), hundred},
      {binary({"\x61\xFF\xFF"}), "\uFFFF"},
      {binary({"\x61\x00\x00"s}), "\0"s},
      {binary({"\xB1\x01", one}), Array{1}},
      {binary({"\xC1\x01", one}), Array{1}},
      {binary({"\xD2\x01\x01\x02\x03", "\x51z", one, "\x10\x02"}), Dictionary{{"z", 2}}},  // the last counts
      {binary({one, "\xA1\x00"s}, 1), Array{1}},  // the root need not come first
  });
}

TEST(BinaryPropertyList, BrokenValuesAreRefused) {
  const std::string hundred(100, 'x');
  const std::string one = "\x10\x01";
  expectRefused({
      binary({"\x00"s}),
      binary({"\x0F"}),
      binary({"\x14" + be(1, 8) + be(0, 8)}),
      binary({"\x88" + be(1, 9)}),
      binary({"\xF0"}),
      binary({"\x5F\x23" + be(100, 8) + hundred}),  // the count is no integer
      binary({"\x5F\x14" + be(100, 16) + hundred}),
      binary({"\x5F\x13" + be(~0ull, 8) + hundred}),
      binary({"\x52\xC3\xA9"}),                         // not ASCII
      binary({"\x54zzz"}),                              // longer than the objects
      binary({"\x61\xD8\x3D"}),                         // high surrogate at the end
      binary({"\x62\xD8\x3D\x00\x41"s}),                // and before a letter
      binary({"\x61\xDE\x00"s}),                        // low surrogate alone
      binary({"\x6F\x13" + be(1ull << 63, 8) + "ab"}),  // twice the count is 0
      binary({"\x44\x00"s}),
      binary({"\xD1\x01\x01", one}),  // a key that is no text
      binary({"\xA1\x02", one}),      // no such object
      binary({"\xA3\x01\x01", one}),  // runs into the next
      binary({"\xA1\x00"s}),          // itself
      binary({"\xA2\x01\x01", "\xA2\x02\x02", "\xA2\x00\x00"s}),
      binary({"\xD1\x01\x00"s, "\x51z"}),
  });
}

TEST(BinaryPropertyList, TrailerIsChecked) {
  const std::string good = binary({"\xA1\x01", "\x10\x2A"});
  ASSERT_TRUE(readPropertyList(good));
  const auto with = [&](std::size_t fromEnd, std::string_view bytes) {
    std::string changed = good;
    return changed.replace(changed.size() - fromEnd, bytes.size(), bytes);
  };
  const std::vector<std::string> bad = {
      with(26, "\0"sv),    // offsets of no bytes
      with(26, "\2"),      // a table twice as long
      with(26, "\x09"),    // offsets of nine bytes
      with(25, "\0"sv),    // references of no bytes
      with(24, be(0, 8)),  // no objects
      with(24, be(3, 8)),  // more than offsets
      with(16, be(2, 8)),  // no such root
      with(8, be(8, 8)),   // no objects before the table
      with(8, be(good.size(), 8)),
      with(34, "\x07"),  // an object in the magic word
      with(34, "\x0C"),  // an object in the table
      "x" + good,
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
  std::string arrays;
  for (std::size_t i = 0; i < PropertyList::maximumDepth; ++i)
    arrays = fmt::format("<array>{}</array>", arrays);
  EXPECT_FALSE(readPropertyList(xml(arrays)));
}

TEST(XmlPropertyList, OtherFormsOfValuesAreRead) {
  std::string utf16 = "\xFF\xFE";
  for (const char16_t unit : u"<plist><string>\u00E9</string></plist>"sv) {
    utf16 += {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)};
  }
  expectRead({
      {xml("<false> </false>"), false},
      {xml("<integer>\n +7 \t</integer>"), 7},
      {xml("<integer>-0XfF</integer>"), -255},
      {xml("<real>-1.25e2</real>"), -125.0},
      {xml("<real>+infinity</real>"), std::numeric_limits<double>::infinity()},
      {xml("<date>1969-12-31T23:59:59Z</date>"), dateFromSeconds(-1)},
      {xml("<date>2024-02-29T12:00:00Z</date>"), dateFromSeconds(1709208000)},
      {xml("<data>\n\tAAEC\n\t/w==\n</data>"), PropertyList::ofData("\x00\x01\x02\xFF"s)},
      {xml("<data/>"), PropertyList::ofData("")},
      {xml("<string/>"), ""},
      {xml("<string> a&amp;b&lt;<![CDATA[<c>&]]>&#233;<!-- no -->\n</string>"), " a&b<<c>&\u00E9\n"},
      {xml("<dict><key>a</key><true/><key>a</key><false/></dict>"), Dictionary{{"a", false}}},
      {xml("<dict><key>CF$UID</key><integer>-9</integer></dict>"), Dictionary{{"CF$UID", -9}}},
      {"<!DOCTYPE plist SYSTEM \"nowhere.dtd\">" + xml("<true/>"), true},
      {"\xEF\xBB\xBF" + xml("<string>\u00E9</string>"), "\u00E9"},
      {utf16, "\u00E9"},
      {"<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>" + xml("<string>\xE9</string>"), "\u00E9"},
  });
  const auto nan = readPropertyList(xml("<real>nan</real>"));
  ASSERT_TRUE(nan && nan->real());
  EXPECT_TRUE(std::isnan(*nan->real()));
}

TEST(XmlPropertyList, BrokenValuesAreRefused) {
  const std::pair<const char*, std::vector<const char*>> contents[] = {
      {"integer", {"18446744073709551616", "-9223372036854775809", "", "--1", "1 2", "0x", "1.0"}},
      {"real", {"1e999", "1,5", "+-1", "nan(1)", ""}},
      {"date", {"2023-02-29T12:00:00Z", "2023-02-28T24:00:00Z", "2023-02-28T12:00:00+0100", "2023-02-28"}},
      {"data", {"AAE", "A", "A===", "AAECAw====", "AA==AA==", "AA-_"}},
      {"string", {"a<b/>", "\xE9"}},
      {"true", {"1"}},
      {"dict", {"<key>a</key>", "<key>a</key><key>b</key>", "<true/>", "a"}},
      {"array", {"<key>a</key>", "<plist><true/></plist>"}},
  };
  for (const auto& [tag, texts] : contents) {
    for (const char* text : texts) expectRefused({xml(fmt::format("<{0}>{1}</{0}>", tag, text))});
  }
  expectRefused({xml(""), xml("<true/><true/>"), xml("<key>a</key>"), xml("<null/>"), xml("<true/>x"),
                 xml("<array></dict>"), xml("<array>").substr(0, 28), "<true/>", "", "{ a = b; }",
                 "<html><plist><true/></plist></html>"});
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

TEST(PropertyList, FarDatesAndReferencesRoundTrip) {
  // What Python's module cannot hold: equal values of different kinds side by side, and references in XML.
  const PropertyList list =
      Dictionary{{"dates", Array{dateFromSeconds(-62135596800), dateFromSeconds(253402300799)}},
                 {"zeros", Array{0.0, -0.0, 0, false, Uid{0}, "", PropertyList::ofData("")}},
                 {"uids", Array{Uid{255}, Uid{256}, Uid{1ull << 40}}}};
  for (const auto write : {writeBinaryPropertyList, writeXmlPropertyList}) {
    const auto bytes = write(list);
    ASSERT_TRUE(bytes);
    const auto read = readPropertyList(*bytes);
    ASSERT_EQ(read, list);
    EXPECT_EQ(write(*read), bytes) << "which tells the zeros apart";
  }
}

TEST(PropertyList, WritersRefuseWhatCannotBeReadBack) {
  const std::pair<PropertyList, std::pair<bool, bool>> cases[] = {
      // value, is there a binary form, is there an XML form
      {"\xC3", {false, false}},
      {"\xED\xA0\x80", {false, false}},  // a surrogate in UTF-8
      {Dictionary{{"\xFF", 1}}, {false, false}},
      {"\x01", {true, false}},
      {"\uFFFE", {true, false}},
      {dateFromSeconds(253402300800), {true, false}},
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

TEST(PropertyList, DamagedInputIsHarmless) {
  const PropertyList list =
      Dictionary{{"texts", Array{"short", "\u20AC", "<&>\t\"'", PropertyList::ofData("bytes")}},
                 {"numbers", Array{1, -1, 65536, ~0ull, 0.1, -1e300, true, dateFromSeconds(978307200)}},
                 {"many", Dictionary{{"k", 1}, {"l", Array{Uid{3}, Uid{1ull << 40}, Dictionary{}}}}}};
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
        const auto kind = random(4);
        if (kind == 0) bytes[at] = static_cast<char>(random(256));
        if (kind == 1) bytes[at] = static_cast<char>(bytes[at] ^ (1 << random(8)));
        if (kind == 2) bytes.erase(at, 1 + static_cast<std::size_t>(random(3)));
        if (kind == 3) bytes.insert(at, 1, bytes[static_cast<std::size_t>(random(bytes.size()))]);
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
