// Statuses and results over random and special elements, many lengths, constants and scale factors.
#include "tests/primitives/digest.h"
#include "tests/primitives/family_digests.h"
#include "tests/primitives/primitive_call.h"

namespace zr::test {

void PrintPlainDigests() {
  constexpr int kRunsOfALength = 8;
  for (const auto& call : PlainCalls()) {
    Digest digest;
    uint64_t seed = 1;
    const auto run = [&](int32_t length) {
      const CallOutcome outcome =
          call->Run({.length = length, .seed = seed, .withSpecials = seed % 2 == 0});
      digest.Add(outcome.status);
      digest.AddBytes(outcome.outputs.data(), outcome.outputs.size());
      ++seed;
    };
    for (int32_t length = 1; length <= 70; ++length)
      for (int i = 0; i < kRunsOfALength; ++i)
        run(length);
    for (const int32_t length : {65535, 65536, 65537}) {
      run(length);
      run(length);
    }
    digest.Print(call->Name().c_str());
  }
}

}  // namespace zr::test
