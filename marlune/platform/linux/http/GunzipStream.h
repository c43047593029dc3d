#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

#include "marlune/base/Data.h"

namespace marlune {

/// Undoes gzip piece by piece. The HTTP library could do it too, but takes a stream that stops half-way for
/// a whole one. For one thread at a time.
class GunzipStream {
 public:
  enum class Outcome { fine, damaged, tooLarge };

  GunzipStream();
  ~GunzipStream();
  GunzipStream(const GunzipStream&) = delete;
  GunzipStream& operator=(const GunzipStream&) = delete;

  /// Appends what `input` decodes to; `output` does not grow beyond `limit` bytes.
  Outcome feed(std::string_view input, Bytes& output, std::size_t limit);

  /// Has the last member come to its end?
  bool complete() const { return complete_; }

 private:
  struct Inflater;
  std::unique_ptr<Inflater> inflater_;
  bool complete_ = false;
};

}  // namespace marlune
