// Runs a fuzz target over every file of the folders given: the ordinary test of it. Fails when there is none.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
  std::vector<std::filesystem::path> files;
  for (int i = 1; i < argc; ++i) {
    for (const auto& entry : std::filesystem::directory_iterator(argv[i])) files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  for (const auto& file : files) {
    std::ifstream stream(file, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    if (!stream) return 1;
    // A block of its own size, so that the sanitizers see a read past its end.
    const std::unique_ptr<std::uint8_t[]> exact(new std::uint8_t[bytes.size()]);
    std::copy(bytes.begin(), bytes.end(), exact.get());
    std::printf("%s\n", file.filename().c_str());
    std::fflush(stdout);
    LLVMFuzzerTestOneInput(exact.get(), bytes.size());
  }
  return files.empty() ? 1 : 0;
}
