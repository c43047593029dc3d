#include <memory>

#include "fuzz/Target.h"
#include "marlune/ocean/SeriesDiskCache.h"
#include "marlune/platform/ManualClock.h"

namespace {

/// One file, whatever its name.
struct OneFile : FileSystem, Folders, ExecutorFactory, Log {
  std::optional<Bytes> read(const std::string&) override { return bytes; }
  std::optional<FileIdentity> identity(const std::string&) override { return FileIdentity{}; }
  bool write(const std::string&, const std::string&, std::string_view written, Durability) override {
    bytes = written;
    return true;
  }
  bool remove(const std::string&) override { return false; }
  bool exists(const std::string&) override { return true; }
  bool move(const std::string&, const std::string&, const std::string&) override { return false; }
  std::optional<std::vector<std::string>> list(const std::string&) override { return std::nullopt; }
  std::optional<std::string> container(std::string_view) const override { return "/container"; }
  std::optional<std::string> documents() const override { return std::nullopt; }
  std::shared_ptr<Executor> makeQueue(std::string_view, std::size_t) override {
    struct Dropping : Executor {
      void post(Job) override {}
    };
    return std::make_shared<Dropping>();
  }
  void line(std::string_view) override { MARLUNE_FUZZ_REQUIRE(false); }

  Bytes bytes;
};

struct Clock0 : ManualClock {
  Clock0() : ManualClock(dateFromSeconds(0)) {}
};

bool isSame(const TimeSeriesData& a, const TimeSeriesData& b) {
  const bool noneBoth = a.attributes && a.attributes->empty() && !b.attributes;  // none is written as absent
  return a.date == b.date && a.value == b.value && a.series == b.series &&
         (noneBoth || a.attributes == b.attributes);
}

}  // namespace

/// What any bytes are read as can be written, and is read the same again.
MARLUNE_FUZZ_TARGET(bytes) {
  const auto file = std::make_shared<OneFile>();
  file->bytes.assign(bytes);
  Host host;
  host.files = file;
  host.folders = file;
  host.executors = file;
  host.log = file;
  host.clock = std::make_shared<Clock0>();
  const SeriesDiskCache cache(host);
  const auto samples = cache.load("a.json", 0);
  if (!samples) return;
  cache.save(*samples, "a.json");
  const auto again = cache.load("a.json", std::nullopt);
  MARLUNE_FUZZ_REQUIRE(again && again->size() == samples->size());
  for (std::size_t i = 0; i < samples->size(); ++i)
    MARLUNE_FUZZ_REQUIRE(isSame(*(*samples)[i], *(*again)[i]));
}
