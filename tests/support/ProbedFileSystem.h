#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "marlune/platform/FileSystem.h"

namespace marlune::testing {

/// Counts the calls to another file system and makes those fail that the test names. Safe from any thread.
class ProbedFileSystem : public FileSystem {
 public:
  enum class Operation { read, identity, write, remove, exists, move, list };
  using Fault = std::function<bool(Operation, const std::string& path)>;

  explicit ProbedFileSystem(std::shared_ptr<FileSystem> inner) : inner_(std::move(inner)) {}

  /// From now on a call fails, without reaching the inner file system, when `fault` answers true.
  void setFault(Fault fault);

  /// How often `operation` was called since the last reset, failures included.
  std::size_t count(Operation operation) const;
  /// How often any operation was.
  std::size_t countAll() const;
  void resetCounts();

  std::optional<Bytes> read(const std::string& path) override;
  std::optional<FileIdentity> identity(const std::string& path) override;
  bool write(const std::string& folder, const std::string& path, std::string_view bytes,
             Durability durability) override;
  bool remove(const std::string& path) override;
  bool exists(const std::string& path) override;
  bool move(const std::string& from, const std::string& folder, const std::string& to) override;
  std::optional<std::vector<std::string>> list(const std::string& folder) override;

 private:
  bool fails(Operation operation, const std::string& path);

  const std::shared_ptr<FileSystem> inner_;
  mutable std::mutex mutex_;
  // Guarded by the mutex.
  std::map<Operation, std::size_t> counts_;
  Fault fault_;
};

}  // namespace marlune::testing
