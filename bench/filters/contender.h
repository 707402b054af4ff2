// One contender of a row, for the programs whose contenders keep a state of their own.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace zr::bench {

struct Contender {
  std::function<void()> run;      ///< All elements once, on and on as a stream.
  std::function<bool()> isRight;  ///< Whether it gives the right result. Asked before it is timed.
};

/// make() is called when the row is run, so that contenders that are left out cost nothing.
void RegisterContender(const std::string& row, const std::string& name, int32_t elements,
                       const std::function<Contender()>& make);

}  // namespace zr::bench
