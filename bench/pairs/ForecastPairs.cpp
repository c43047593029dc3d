#include <archive.h>
#include <archive_entry.h>
#include <benchmark/benchmark.h>
#include <expat.h>

#include <memory>
#include <string>
#include <vector>

#include "marlune/providers/BOMTideParser.h"
#include "marlune/providers/TideDataArchiver.h"
#include "pairs/Pairs.h"
#include "support/Measure.h"
#include "support/Subjects.h"

// Australian years: the forecast, and the archive around it.

namespace marlune::bench {

namespace {

void XMLCALL emptyStart(void*, const XML_Char*, const XML_Char**) {}
void XMLCALL emptyEnd(void*, const XML_Char*) {}
void XMLCALL emptyText(void*, const XML_Char*, int) {}

void emptyPass(const Bytes& document) {
  XML_Parser parser = XML_ParserCreate(nullptr);
  XML_SetElementHandler(parser, emptyStart, emptyEnd);
  XML_SetCharacterDataHandler(parser, emptyText);
  const auto status = XML_Parse(parser, document.data(), static_cast<int>(document.size()), XML_TRUE);
  benchmark::DoNotOptimize(status);
  XML_ParserFree(parser);
}

void addForecast() {
  BOMTideParser parser;
  parser.getTideEventsFromData(forecastDocument());
  require(parser.events.size() == yearEvents().size(), "events of the forecast");
  for (std::size_t i = 0; i < parser.events.size(); ++i) {
    require(parser.events[i].timestamp == yearEvents()[i].timestamp, "an event of the forecast");
  }
  addPair({.name = "forecast parsed",
           .library = {.run =
                           [] {
                             BOMTideParser one;
                             benchmark::DoNotOptimize(one.getTideEventsFromData(forecastDocument()).data());
                           }},
           .reference = {.run = [] { emptyPass(forecastDocument()); }},
           .ratioAtMost = 1.3,
           .bytes = forecastDocument().size()});
}

/// The archive library's own reading into room that is there already, through one filter.
std::size_t bareRead(const Bytes& bytes, Bytes& room) {
  ::archive* const reader = archive_read_new();
  archive_read_support_filter_zstd(reader);
  archive_read_support_format_raw(reader);
  archive_entry* entry = nullptr;
  la_ssize_t size = 0;
  if (archive_read_open_memory(reader, bytes.data(), bytes.size()) == ARCHIVE_OK &&
      archive_read_next_header(reader, &entry) == ARCHIVE_OK) {
    size = archive_read_data(reader, room.data(), room.size());
  }
  archive_read_free(reader);
  return static_cast<std::size_t>(size);
}

void addArchive() {
  const auto packed = std::make_shared<Bytes>(TideDataArchiver::archive(forecastDocument()).value_or(""));
  require(TideDataArchiver::unarchive(*packed) == forecastDocument(), "the archive gives the document back");
  const auto room = std::make_shared<Bytes>(forecastDocument().size() + 1, '\0');
  require(bareRead(*packed, *room) == forecastDocument().size(), "the bare read reads all");
  addPair({.name = "archive opened",
           .library = {.run =
                           [packed] {
                             auto document = TideDataArchiver::unarchive(*packed);
                             benchmark::DoNotOptimize(document);
                           }},
           .reference = {.run = [packed, room] { benchmark::DoNotOptimize(bareRead(*packed, *room)); }},
           .ratioAtMost = 1.2,
           .bytes = forecastDocument().size()});
}

}  // namespace

void addForecastPairs() {
  addForecast();
  addArchive();
}

}  // namespace marlune::bench
