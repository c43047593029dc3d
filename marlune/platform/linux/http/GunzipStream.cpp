#include "marlune/platform/linux/http/GunzipStream.h"

#include <zlib.h>

#include <algorithm>
#include <array>

namespace marlune {

struct GunzipStream::Inflater {
  z_stream stream{};
  bool ready = false;
};

GunzipStream::GunzipStream() : inflater_(std::make_unique<Inflater>()) {
  constexpr int gzipOnly = 16;
  inflater_->ready = inflateInit2(&inflater_->stream, MAX_WBITS + gzipOnly) == Z_OK;
}

GunzipStream::~GunzipStream() {
  if (inflater_->ready) inflateEnd(&inflater_->stream);
}

GunzipStream::Outcome GunzipStream::feed(std::string_view input, Bytes& output, std::size_t limit) {
  if (!inflater_->ready) return Outcome::damaged;
  z_stream& stream = inflater_->stream;
  std::array<Bytef, 16384> buffer;  // NOLINT(cppcoreguidelines-pro-type-member-init): filled by inflate
  // zlib never writes through next_in.
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(input.data()));
  stream.avail_in = static_cast<uInt>(input.size());
  do {
    if (complete_ && stream.avail_in > 0) {
      // Members may follow one another; anything else behind the end is damage.
      if (inflateReset(&stream) != Z_OK) return Outcome::damaged;
      complete_ = false;
    }
    stream.next_out = buffer.data();
    stream.avail_out = static_cast<uInt>(buffer.size());
    const int result = inflate(&stream, Z_NO_FLUSH);
    if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR) return Outcome::damaged;
    const std::size_t count = buffer.size() - stream.avail_out;
    if (count > limit - std::min(limit, output.size())) return Outcome::tooLarge;
    output.append(reinterpret_cast<const char*>(buffer.data()), count);
    complete_ = result == Z_STREAM_END;
  } while (stream.avail_in > 0 || (stream.avail_out == 0 && !complete_));
  return Outcome::fine;
}

}  // namespace marlune
