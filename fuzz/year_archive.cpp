#include <cstdint>
#include <string_view>

#include "fuzz/Require.h"
#include "marlune/providers/TideDataArchiver.h"

using namespace marlune;

/// What comes out of an archive is bounded, and packed again it comes out the same.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const auto document = TideDataArchiver::unarchive(bytes);
  if (!document) return 0;
  MARLUNE_FUZZ_REQUIRE(!document->empty() && document->size() <= TideDataArchiver::maximumSize);
  if (document->size() > 4096) return 0;  // packing well takes its time
  const auto packed = TideDataArchiver::archive(*document);
  MARLUNE_FUZZ_REQUIRE(packed && TideDataArchiver::unarchive(*packed) == document);
  return 0;
}
