#include "fuzz/Target.h"
#include "marlune/formats/JsonReaders.h"
#include "marlune/ocean/noaa/CurrentPredictions.h"

using namespace marlune::current_predictions;

/// The file of a day is the list of an answer: what reads as one reads as the other, and never as both.
MARLUNE_FUZZ_TARGET(text) {
  JsonReaders readers;
  CurrentPredictions rows;
  if (addFile(text, readers, rows)) {
    MARLUNE_FUZZ_REQUIRE(rows.empty());
    return;
  }
  MARLUNE_FUZZ_REQUIRE(readAnswer(text, readers).error.has_value());
  const std::string list(text.substr(text.find('[')));  // without a byte-order mark
  const Reading answer = readAnswer("{\"current_predictions\":{\"cp\":" + list + "}}", readers);
  // Longer ones may nest as deep as a document can.
  MARLUNE_FUZZ_REQUIRE(text.size() > 1000 || (!answer.error && answer.rows == rows));
  const std::string file = fileOf(rows.data(), rows.data() + rows.size());
  CurrentPredictions twice = rows;
  MARLUNE_FUZZ_REQUIRE(!addFile(file, readers, twice) && twice.size() == 2 * rows.size());
  MARLUNE_FUZZ_REQUIRE(fileOf(twice.data() + rows.size(), twice.data() + twice.size()) == file);
}
