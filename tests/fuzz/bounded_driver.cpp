// Runs a fuzz target over a bounded number of seeded inputs, for compilers without libFuzzer. It
// reads libFuzzer's options -runs=, -seed= and -max_len=, and takes corpus folders: half of the
// inputs are then mutations of their files.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string_view>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size);

namespace {

using Bytes = std::vector<uint8_t>;

std::size_t OptionValue(int argumentCount, char** arguments, std::string_view name,
                        std::size_t fallback) {
  for (int i = 1; i < argumentCount; ++i) {
    const std::string_view argument = arguments[i];
    if (argument.starts_with(name)) return std::strtoul(arguments[i] + name.size(), nullptr, 10);
  }
  return fallback;
}

std::vector<Bytes> ReadCorpus(int argumentCount, char** arguments) {
  std::vector<Bytes> corpus;
  for (int i = 1; i < argumentCount; ++i) {
    if (!std::filesystem::is_directory(arguments[i])) continue;
    for (const auto& entry : std::filesystem::directory_iterator(arguments[i])) {
      std::ifstream file(entry.path(), std::ios::binary);
      corpus.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }
  }
  return corpus;
}

Bytes RandomBytes(std::mt19937& random, std::size_t maxLength) {
  Bytes bytes(random() % (maxLength + 1));
  for (auto& byte : bytes)
    byte = static_cast<uint8_t>(random());
  return bytes;
}

Bytes Mutated(std::mt19937& random, Bytes bytes) {
  if (bytes.empty()) return bytes;
  if (random() % 4 == 0) bytes.resize(random() % bytes.size());
  for (std::size_t i = random() % 8; i > 0 && !bytes.empty(); --i) {
    bytes[random() % bytes.size()] = static_cast<uint8_t>(random());
  }
  return bytes;
}

}  // namespace

int main(int argumentCount, char** arguments) {
  const std::size_t runs = OptionValue(argumentCount, arguments, "-runs=", 1000);
  const std::size_t maxLength = OptionValue(argumentCount, arguments, "-max_len=", 4096);
  std::mt19937 random(static_cast<uint32_t>(OptionValue(argumentCount, arguments, "-seed=", 1)));
  const std::vector<Bytes> corpus = ReadCorpus(argumentCount, arguments);
  for (std::size_t run = 0; run < runs; ++run) {
    const bool isMutation = !corpus.empty() && random() % 2 == 0;
    const Bytes input = isMutation ? Mutated(random, corpus[random() % corpus.size()])
                                   : RandomBytes(random, maxLength);
    LLVMFuzzerTestOneInput(input.data(), input.size());
  }
  std::printf("%zu inputs\n", runs);
  return 0;
}
