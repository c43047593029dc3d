#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "marlune/base/Export.h"

namespace marlune {

class JsonReader;

/// Readers of JSON, to be used again. Calls are safe from any thread.
///
///     const auto reader = readers.take();
///     if (const auto root = reader->read(bytes)) ...  // see JsonReader.h
class MARLUNE_API JsonReaders {
 public:
  struct GiveBack {
    JsonReaders* readers;
    void operator()(JsonReader* reader) const;
  };
  /// Given back at its end, which requires that the readers still exist.
  using Lease = std::unique_ptr<JsonReader, GiveBack>;

  JsonReaders();
  ~JsonReaders();
  JsonReaders(const JsonReaders&) = delete;
  JsonReaders& operator=(const JsonReaders&) = delete;

  Lease take();

 private:
  std::mutex mutex_;
  std::vector<std::unique_ptr<JsonReader>> idle_;  // guarded by the mutex
};

}  // namespace marlune
