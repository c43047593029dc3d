#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "marlune/platform/linux/http/CurlTransfer.h"

namespace marlune {

/// Who waits for a connection: one line for each host, first come, first served. As many transfers run at a
/// time as there may be connections, to a host and in all. The host with the fewest under way is next, so
/// that a silent one holds up nobody but those who want the same. A transfer that is redirected keeps the
/// place of the host that it was sent to. Used by one thread.
class TransferLines {
 public:
  using Transfer = std::shared_ptr<CurlTransfer>;

  static constexpr std::size_t atOnceOfOneHost = 6;
  static constexpr std::size_t atOnce = 48;

  void add(Transfer transfer);

  /// Is there one that may start?
  bool isReady() const { return nextLine() != lines_.end(); }

  /// The next that may start, which from then on counts as under way; empty when there is none.
  Transfer next();

  /// One that next() gave is over.
  void ended(const Transfer& transfer);

  /// Takes out those that were cancelled as they waited.
  std::vector<Transfer> takeCancelled();

  /// Takes out all that wait.
  std::vector<Transfer> takeAll();

 private:
  struct Line {
    std::deque<std::pair<std::uint64_t, Transfer>> waiting;  // with the order of coming
    std::size_t underWay = 0;
  };
  using Lines = std::map<std::string, Line>;  // by scheme, host and port; none is empty and idle

  Lines::const_iterator nextLine() const;

  Lines lines_;
  std::size_t underWay_ = 0;
  std::uint64_t lastNumber_ = 0;
};

}  // namespace marlune
