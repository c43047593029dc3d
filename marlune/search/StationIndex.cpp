#include "marlune/search/StationIndex.h"

#include <limits>
#include <string>

#include "marlune/search/SearchText.h"

namespace marlune {

namespace {

constexpr std::size_t ahead = 8;
constexpr std::uint32_t noId = std::numeric_limits<std::uint32_t>::max();

}  // namespace

std::uint32_t StationTable::add(const StationPtr& station) {
  const auto number = static_cast<std::uint32_t>(stations_->size());
  const std::uint32_t name = names_.numberOf(lowerCased(station->stationName.value_or(std::string())));
  duplicates_.insert(station->coordinate.latitude, station->coordinate.longitude, name, station->isGlobal);
  stations_->push_back(station);
  return number;
}

void StationTable::dedupe(std::vector<std::uint32_t>& stations) {
  duplicates_.removeFrom(stations);
}

StationTable::Stations StationTable::stations(const std::vector<std::uint32_t>& numbers) const {
  Stations chosen;
  chosen.reserve(numbers.size());
  const Stations& all = *stations_;
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    // The counting of references below keeps the processor from reading ahead by itself.
    if (i + ahead < numbers.size()) __builtin_prefetch(&all[numbers[i + ahead]]);
    chosen.emplace_back(stations_, all[numbers[i]].get());
  }
  return chosen;
}

void StationIndex::insert(std::string_view text, std::uint32_t station) {
  const FoldedText folded(text, folder_);
  prefixTrie.insertWithWord(folded, station);
  indexTrie.insertWithText(folded, station);
}

void StationIndex::addStation(const StationPtr& station) {
  if (!station) return;
  const std::uint32_t number = table_.add(station);
  idOf_.push_back(station->stationId ? ids_.numberOf(*station->stationId) : noId);
  const auto& name = station->stationName;
  const auto& state = station->stateId;
  if (name) insert(*name, number);
  if (state && !state->empty() && state != name) insert(*state, number);
}

void StationIndex::prepare() {
  prefixTrie.prepare();
  indexTrie.prepare();
}

void StationIndex::append(Numbers& matches, const Numbers& inner) {
  if (++question_ == 0) {
    seen_.clear();
    question_ = 1;
  }
  seen_.resize(ids_.size());
  for (const std::uint32_t station : matches) {
    if (idOf_[station] != noId) seen_[idOf_[station]] = question_;
  }
  matches.reserve(matches.size() + inner.size());
  for (const std::uint32_t station : inner) {
    const std::uint32_t id = idOf_[station];
    if (id != noId) {
      if (seen_[id] == question_) continue;
      seen_[id] = question_;
    }
    matches.push_back(station);
  }
}

std::optional<StationIndex::Stations> StationIndex::findMatches(std::string_view query) {
  auto matches = prefixTrie.matchPrefixWith(query);
  auto inner = indexTrie.searchWith(query);
  if (matches && inner) {
    append(*matches, *inner);
  } else if (inner) {
    matches = std::move(inner);
  }
  if (!matches) return std::nullopt;
  table_.dedupe(*matches);
  return table_.stations(*matches);
}

}  // namespace marlune
