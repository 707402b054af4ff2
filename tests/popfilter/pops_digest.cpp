// Prints one line for each file of raw 16-bit samples and each setting: a digest of the filter's
// output. The presets must print the same lines.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "popfilter/pops.h"
#include "tests/primitives/digest.h"

namespace {

struct Setting {
  const char* name;
  uint32_t id;
  uint32_t value;
};

constexpr Setting kSettings[] = {{"defaults", POPS_ID_MODE, 3},
                                 {"level test alone", POPS_ID_MODE, 0},
                                 {"slope of one", POPS_ID_SLOPE, 1000},
                                 {"low floor", POPS_ID_FLOOR, 10},
                                 {"order 32", POPS_ID_ORDER, 32}};

bool PrintDigest(const std::filesystem::path& path, const Setting& setting) {
  std::ifstream file(path, std::ios::binary);
  std::vector<int16_t> samples(static_cast<std::size_t>(std::filesystem::file_size(path)) /
                               sizeof(int16_t));
  file.read(reinterpret_cast<char*>(samples.data()),
            static_cast<std::streamsize>(samples.size() * sizeof(int16_t)));
  POPSState* state = nullptr;
  const bool isReady = file && !samples.empty() && POPSCreate(&state) == POPS_OK &&
                       POPSSetParameter(state, setting.id, setting.value) == POPS_OK;
  if (isReady) {
    POPSProcess(state, static_cast<int32_t>(samples.size()), samples.data());
    zr::test::Digest digest;
    digest.Add(samples);
    digest.Print((path.filename().string() + ", " + setting.name).c_str());
  }
  POPSDestroy(state);
  return isReady;
}

}  // namespace

int main(int argumentCount, char** arguments) {
  if (argumentCount < 2) {
    std::fprintf(stderr, "pops_digest: name files of raw 16-bit samples\n");
    return 2;
  }
  for (int i = 1; i < argumentCount; ++i) {
    for (const auto& setting : kSettings) {
      if (!PrintDigest(arguments[i], setting)) {
        std::fprintf(stderr, "pops_digest: cannot filter %s\n", arguments[i]);
        return 1;
      }
    }
  }
  return 0;
}
