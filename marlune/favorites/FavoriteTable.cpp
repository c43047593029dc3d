#include "marlune/favorites/FavoriteTable.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "marlune/formats/Text.h"

namespace marlune {

void FavoriteTable::add(const StationPtr& station) {
  const std::lock_guard lock(mutex_);
  favorites_.insert_or_assign(*station->stationId, station);
  changes_[*station->stationId] = ++now_;
}

void FavoriteTable::remove(const std::string& stationId) {
  const std::lock_guard lock(mutex_);
  favorites_.erase(stationId);
  changes_[stationId] = ++now_;
}

bool FavoriteTable::contains(const std::string& stationId) const {
  const std::lock_guard lock(mutex_);
  return favorites_.contains(stationId);
}

std::vector<FavoriteTable::StationPtr> FavoriteTable::stations() const {
  const std::lock_guard lock(mutex_);
  std::vector<StationPtr> all;
  all.reserve(favorites_.size());
  for (const auto& [id, station] : favorites_) all.push_back(station);
  return all;
}

bool FavoriteTable::isDirty() const {
  const std::lock_guard lock(mutex_);
  return now_ != clean_;
}

FavoriteTable::Moment FavoriteTable::now() const {
  const std::lock_guard lock(mutex_);
  return now_;
}

bool FavoriteTable::changedAfter(const std::string& stationId, Moment moment) const {
  const auto found = changes_.find(stationId);
  return found != changes_.end() && found->second > moment;
}

void FavoriteTable::addLoaded(const Found& found, Moment since, bool isCatalogueWhole) {
  const std::lock_guard lock(mutex_);
  for (const auto& [id, station] : found) {
    if (changedAfter(id, since)) continue;
    if (station) {
      const bool isNew = favorites_.insert_or_assign(id, station).second;
      if (isNew) changes_.erase(id);
    }
    if (station || isCatalogueWhole) seen_.insert(id);
  }
}

FavoriteTable::Merge FavoriteTable::merge(const InFile& file) const {
  const std::lock_guard lock(mutex_);
  Merge merge;
  merge.moment = now_;
  const std::set<std::string_view> inFile(file.ids.begin(), file.ids.end());
  for (const auto& [id, station] : favorites_) {
    const bool isOwn = changedAfter(id, written_);
    if (!isOwn && file.isWhole && seen_.contains(id) && !inFile.contains(id)) {
      merge.gone.push_back(id);
    } else if (isUtf8(
                   id)) {  // no file can hold another, and one such must not keep the rest from being saved
      merge.ids.push_back(id);
      if (station->isGlobal) merge.globals.emplace(id, station);
    }
  }
  for (const auto& id : file.ids) {
    if (favorites_.contains(id) || changedAfter(id, written_)) continue;
    if (file.isWhole && seen_.contains(id)) continue;  // no station had that id when it was loaded
    if (merge.others.insert(id).second) merge.ids.push_back(id);
  }
  std::sort(merge.ids.begin(), merge.ids.end());
  const auto isKept = [&](const std::string& id) {
    return std::binary_search(merge.ids.begin(), merge.ids.end(), id);
  };
  merge.obsolete = seen_;
  merge.obsolete.insert(archived_.begin(), archived_.end());
  for (const auto& [id, moment] : changes_) {
    if (moment > written_) merge.obsolete.insert(id);
  }
  std::erase_if(merge.obsolete, isKept);
  return merge;
}

bool FavoriteTable::saved(const Merge& merge) {
  const std::lock_guard lock(mutex_);
  bool isChanged = false;
  for (const auto& id : merge.gone) {
    if (!changedAfter(id, merge.moment) && favorites_.erase(id) != 0) isChanged = true;
  }
  // Step by step, as a load may have added what it saw since the merge.
  for (const auto& id : merge.obsolete) {
    if (!favorites_.contains(id)) seen_.erase(id);
  }
  // Those of others stay unseen until a station is found for them: the next save keeps them again.
  for (const auto& id : merge.ids) {
    if (!merge.others.contains(id)) seen_.insert(id);
  }
  written_ = merge.moment;
  clean_ = merge.moment;
  return isChanged;
}

void FavoriteTable::notSaved(const Merge& merge) {
  const std::lock_guard lock(mutex_);
  clean_ = merge.moment;
}

void FavoriteTable::sawArchive(std::set<std::string> ids) {
  const std::lock_guard lock(mutex_);
  archived_ = std::move(ids);
}

bool FavoriteTable::addOthers(const Found& found, const Merge& merge) {
  const std::lock_guard lock(mutex_);
  bool isChanged = false;
  for (const auto& [id, station] : found) {
    if (!station || changedAfter(id, merge.moment)) continue;
    if (favorites_.try_emplace(id, station).second) isChanged = true;
    seen_.insert(id);
  }
  return isChanged;
}

}  // namespace marlune
