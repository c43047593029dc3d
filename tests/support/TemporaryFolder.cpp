#include "support/TemporaryFolder.h"

#include <stdlib.h>

#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace marlune::testing {

TemporaryFolder::TemporaryFolder()
    : path_((std::filesystem::temp_directory_path() / "marlune-test-XXXXXX").string()) {
  if (::mkdtemp(path_.data()) == nullptr) throw std::runtime_error("no temporary folder: " + path_);
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace marlune::testing
