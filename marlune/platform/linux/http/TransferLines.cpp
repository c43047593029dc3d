#include "marlune/platform/linux/http/TransferLines.h"

#include <tuple>

namespace marlune {

void TransferLines::add(Transfer transfer) {
  Line& line = lines_[transfer->host()];
  line.waiting.emplace_back(++lastNumber_, std::move(transfer));
}

TransferLines::Lines::const_iterator TransferLines::nextLine() const {
  auto best = lines_.end();
  if (underWay_ >= atOnce) return best;
  const auto rank = [](const Line& line) { return std::tuple(line.underWay, line.waiting.front().first); };
  for (auto at = lines_.begin(); at != lines_.end(); ++at) {
    const Line& line = at->second;
    if (line.waiting.empty() || line.underWay >= atOnceOfOneHost) continue;
    if (best == lines_.end() || rank(line) < rank(best->second)) best = at;
  }
  return best;
}

TransferLines::Transfer TransferLines::next() {
  const auto found = nextLine();
  if (found == lines_.end()) return nullptr;
  Line& line = lines_.find(found->first)->second;
  Transfer transfer = std::move(line.waiting.front().second);
  line.waiting.pop_front();
  ++line.underWay;
  ++underWay_;
  return transfer;
}

void TransferLines::ended(const Transfer& transfer) {
  const auto found = lines_.find(transfer->host());
  --underWay_;
  if (--found->second.underWay == 0 && found->second.waiting.empty()) lines_.erase(found);
}

std::vector<TransferLines::Transfer> TransferLines::takeCancelled() {
  std::vector<Transfer> taken;
  for (auto& [host, line] : lines_) {
    std::erase_if(line.waiting, [&taken](auto& entry) {
      if (!entry.second->isCancelled()) return false;
      taken.push_back(std::move(entry.second));
      return true;
    });
  }
  std::erase_if(lines_,
                [](const auto& entry) { return entry.second.waiting.empty() && entry.second.underWay == 0; });
  return taken;
}

std::vector<TransferLines::Transfer> TransferLines::takeAll() {
  std::vector<Transfer> taken;
  for (auto& [host, line] : lines_) {
    for (auto& [number, transfer] : line.waiting) taken.push_back(std::move(transfer));
    line.waiting.clear();
  }
  std::erase_if(lines_, [](const auto& entry) { return entry.second.underWay == 0; });
  return taken;
}

}  // namespace marlune
