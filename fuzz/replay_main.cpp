// Runs every file of the given folders (or files) through the fuzz entry point once:
// the seed corpus as a regression test where libFuzzer is not available.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

static void RunFile(const std::filesystem::path& p, int& count) {
  std::ifstream in(p, std::ios::binary);
  std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  ++count;
}

int main(int argc, char** argv) {
  int count = 0;
  for (int i = 1; i < argc; ++i) {
    std::filesystem::path root(argv[i]);
    if (std::filesystem::is_directory(root)) {
      for (const auto& e : std::filesystem::recursive_directory_iterator(root))
        if (e.is_regular_file()) RunFile(e.path(), count);
    } else if (std::filesystem::exists(root)) {
      RunFile(root, count);
    }
  }
  LLVMFuzzerTestOneInput(nullptr, 0);  // the empty input, always
  std::printf("replayed %d inputs\n", count + 1);
  return 0;
}
