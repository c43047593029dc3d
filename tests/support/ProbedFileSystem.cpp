#include "support/ProbedFileSystem.h"

#include <utility>

namespace marlune::testing {

void ProbedFileSystem::setFault(Fault fault) {
  const std::lock_guard lock(mutex_);
  fault_ = std::move(fault);
}

std::size_t ProbedFileSystem::count(Operation operation) const {
  const std::lock_guard lock(mutex_);
  const auto found = counts_.find(operation);
  return found == counts_.end() ? 0 : found->second;
}

std::size_t ProbedFileSystem::countAll() const {
  const std::lock_guard lock(mutex_);
  std::size_t total = 0;
  for (const auto& [operation, count] : counts_) total += count;
  return total;
}

void ProbedFileSystem::resetCounts() {
  const std::lock_guard lock(mutex_);
  counts_.clear();
}

std::optional<Bytes> ProbedFileSystem::read(const std::string& path) {
  if (fails(Operation::read, path)) return std::nullopt;
  return inner_->read(path);
}

std::optional<FileIdentity> ProbedFileSystem::identity(const std::string& path) {
  if (fails(Operation::identity, path)) return std::nullopt;
  return inner_->identity(path);
}

bool ProbedFileSystem::write(const std::string& folder, const std::string& path, std::string_view bytes,
                             Durability durability) {
  return !fails(Operation::write, path) && inner_->write(folder, path, bytes, durability);
}

bool ProbedFileSystem::remove(const std::string& path) {
  return !fails(Operation::remove, path) && inner_->remove(path);
}

bool ProbedFileSystem::exists(const std::string& path) {
  return !fails(Operation::exists, path) && inner_->exists(path);
}

bool ProbedFileSystem::move(const std::string& from, const std::string& folder, const std::string& to) {
  return !fails(Operation::move, to) && inner_->move(from, folder, to);
}

std::optional<std::vector<std::string>> ProbedFileSystem::list(const std::string& folder) {
  if (fails(Operation::list, folder)) return std::nullopt;
  return inner_->list(folder);
}

bool ProbedFileSystem::fails(Operation operation, const std::string& path) {
  Fault fault;
  {
    const std::lock_guard lock(mutex_);
    ++counts_[operation];
    fault = fault_;
  }
  return fault && fault(operation, path);
}

}  // namespace marlune::testing
