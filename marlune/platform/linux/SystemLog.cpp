#include "marlune/platform/linux/SystemLog.h"

#include <fmt/format.h>
#include <syslog.h>
#include <unistd.h>

#include <iterator>

#include "marlune/formats/Text.h"
#include "marlune/platform/linux/files/WholeFile.h"

namespace marlune {

SystemLog::SystemLog() : terminal_(::isatty(STDERR_FILENO) == 1) {}

void SystemLog::line(std::string_view text) {
  const std::string printable = printableLine(text);
  ::syslog(LOG_USER | LOG_NOTICE, "%s", printable.c_str());  // NOLINT(concurrency-mt-unsafe): safe on Linux
  if (!terminal_) return;
  // In one call, so that lines of several threads do not mix; a terminal that is gone is no fault of ours.
  const std::string whole = printable + '\n';
  static_cast<void>(uninterrupted([&] { return ::write(STDERR_FILENO, whole.data(), whole.size()); }));
}

std::string printableLine(std::string_view text) {
  const bool utf8 = isUtf8(text);
  std::string line;
  line.reserve(text.size());
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    if (byte < 0x20 || byte == 0x7f || (byte >= 0x80 && !utf8)) {
      fmt::format_to(std::back_inserter(line), "\\x{:02x}", byte);
    } else {
      line += character;
    }
  }
  return line;
}

}  // namespace marlune
