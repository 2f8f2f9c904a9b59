// Feeds the files of a corpus to a fuzz target without a fuzzer.
// Why: what once broke the filter is tried again by every compiler, with the ordinary tests.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// Usage: TARGET FOLDER
int main(int argc, char* argv[]) {
  std::size_t count = 0;
  for (int i = 1; i < argc; ++i) {
    std::vector<std::filesystem::path> paths;
    for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
      paths.push_back(std::filesystem::absolute(entry.path()));
    }
    // A target may change the working directory.
    for (const std::filesystem::path& path : paths) {
      std::ifstream in(path, std::ios::binary);
      const std::vector<char> bytes((std::istreambuf_iterator<char>(in)),
                                    std::istreambuf_iterator<char>());
      std::printf("%s\n", path.filename().c_str());
      std::fflush(stdout);
      LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
      ++count;
    }
  }
  if (count == 0) std::fputs("no files to try\n", stderr);
  return count == 0 ? 1 : 0;
}
