#include "marlune/platform/PropertyList.h"

#include <cstdint>
#include <string_view>

#include "fuzz/Require.h"

using namespace marlune;

/// What is read can be written in the binary form, and what is written reads back the same.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto list = readPropertyList({reinterpret_cast<const char*>(data), size});
  if (!list) return 0;
  const auto binary = writeBinaryPropertyList(*list);
  if (!binary) return 0;  // only past the bounds, which writing reckons a little tighter
  const auto again = readPropertyList(*binary);
  // As bytes, since a number may be none at all and so differ from itself.
  MARLUNE_FUZZ_REQUIRE(again && writeBinaryPropertyList(*again) == binary);
  if (const auto xml = writeXmlPropertyList(*list)) {
    const auto fromXml = readPropertyList(*xml);
    MARLUNE_FUZZ_REQUIRE(fromXml && writeXmlPropertyList(*fromXml) == xml);
  }
  return 0;
}
