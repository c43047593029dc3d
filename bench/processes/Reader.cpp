#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <vector>

/// Reads the files that it is given, whole, and says how many bytes that were. It is linked from the same
/// libraries as the command, whole, so that the system has as much to load.
int main(int count, char** arguments) {
  std::size_t total = 0;
  for (int i = 1; i < count; ++i) {
    const int file = ::open(arguments[i], O_RDONLY | O_CLOEXEC);
    struct stat status {};
    if (file < 0 || ::fstat(file, &status) != 0) return 1;
    std::vector<char> bytes(static_cast<std::size_t>(status.st_size));
    const auto have = ::read(file, bytes.data(), bytes.size());
    if (have != status.st_size) return 1;
    ::close(file);
    total += bytes.size();
  }
  std::printf("%zu\n", total);
  // As the command ends, without destructors.
  std::fflush(stdout);
  ::_exit(0);
}
