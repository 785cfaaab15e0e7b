// Replays a folder of inputs through one fuzz target, without the fuzzing engine.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

std::vector<std::uint8_t> read_file(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  file.exceptions(std::ios::badbit);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

int replay(const std::filesystem::path& folder) {
  int inputs = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (!entry.is_regular_file()) continue;
    const std::vector<std::uint8_t> input = read_file(entry.path());
    LLVMFuzzerTestOneInput(input.data(), input.size());
    ++inputs;
  }
  std::printf("%d inputs\n", inputs);
  return inputs > 0 ? 0 : 1;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) {
    std::fprintf(stderr, "usage: %s CORPUS-FOLDER\n", arguments[0]);
    return 2;
  }
  try {
    return replay(arguments[1]);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
