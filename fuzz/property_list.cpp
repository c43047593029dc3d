#include "marlune/formats/PropertyList.h"

#include "fuzz/Target.h"

/// What is read can be written in the binary form, and what is written reads back the same.
MARLUNE_FUZZ_TARGET(bytes) {
  const auto list = readPropertyList(bytes);
  if (!list) return;
  const auto binary = writeBinaryPropertyList(*list);
  if (!binary) return;  // only past the bounds, which writing reckons a little tighter
  const auto again = readPropertyList(*binary);
  // As bytes, since a number may be none at all and so differ from itself.
  MARLUNE_FUZZ_REQUIRE(again && writeBinaryPropertyList(*again) == binary);
  if (const auto xml = writeXmlPropertyList(*list)) {
    const auto fromXml = readPropertyList(*xml);
    MARLUNE_FUZZ_REQUIRE(fromXml && writeXmlPropertyList(*fromXml) == xml);
  }
}
