#include "bench/filters/contender.h"

#include "bench/rows.h"

namespace zr::bench {

void RegisterContender(const std::string& row, const std::string& name, int32_t elements,
                       const std::function<Contender()>& make) {
  Register(row, name.c_str(), [elements, make](benchmark::State& state) {
    const Contender contender = make();
    if (!contender.isRight()) return state.SkipWithError("Not the right result");
    Measure(state, elements, 0, contender.run);
  });
}

}  // namespace zr::bench
