#include "fuzz/Target.h"
#include "marlune/formats/Text.h"
#include "marlune/ocean/nws/NWSGridpoint.h"

using namespace marlune::nws_gridpoint;

/// An address is a text of bounded length, and no address and no location makes a name that leads elsewhere.
MARLUNE_FUZZ_TARGET(bytes) {
  const std::string text(bytes);
  JsonReaders readers;
  if (const auto address = addressOf(text, readers)) {
    MARLUNE_FUZZ_REQUIRE(!address->empty() && address->size() <= 2'000 && isUtf8(*address));
    MARLUNE_FUZZ_REQUIRE(gridKey(*address).find('/') == std::string::npos);
  }
  MARLUNE_FUZZ_REQUIRE(gridKey("https://a/gridpoints/" + text).find_first_of("/,") == std::string::npos);
  const std::string key = locationKey(text);
  MARLUNE_FUZZ_REQUIRE(isUtf8(key) && key.size() <= text.size() && locationKey(key) == key);
  MARLUNE_FUZZ_REQUIRE(key.find_first_of(std::string("/.\0- ", 5)) == std::string::npos);
}
