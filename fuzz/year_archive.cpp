#include "fuzz/Target.h"
#include "marlune/providers/TideDataArchiver.h"

/// What comes out of an archive is bounded, and packed again it comes out the same.
MARLUNE_FUZZ_TARGET(bytes) {
  const auto document = TideDataArchiver::unarchive(bytes);
  if (!document) return;
  MARLUNE_FUZZ_REQUIRE(!document->empty() && document->size() <= TideDataArchiver::maximumSize);
  if (document->size() > 4096) return;  // packing well takes its time
  const auto packed = TideDataArchiver::archive(*document);
  MARLUNE_FUZZ_REQUIRE(packed && TideDataArchiver::unarchive(*packed) == document);
}
