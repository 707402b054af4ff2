// What the vector mathematics does about an element without an ordinary result: it raises a flag of
// the floating-point unit, remembers a code, and goes on. The last such element of a call decides
// what the call returns.
#pragma once

#include <cstdint>
#include <limits>

#include "primitives/elementwise.h"
#include "primitives/status.h"

namespace zr::primitives {

/// Raises the flag that belongs to a code by an operation whose result is dropped: no flag is
/// cleared, and none is set that the processor would not set by itself.
inline void RaiseFlagOf(int32_t status) {
  using Double = std::numeric_limits<double>;
  // Operands that the compiler does not know, and a store that it may not leave out: on the x87 it
  // is the store that overflows.
  volatile double operand = 0.0;
  volatile double dropped = 0.0;
  switch (status) {
    case kStatusMathDomain:
      dropped = operand / operand;
      break;
    case kStatusMathSingularity:
      dropped = 1.0 / operand;
      break;
    case kStatusMathOverflow:
      operand = Double::max();
      dropped = operand * operand;
      break;
    case kStatusMathUnderflow:
      operand = Double::min();
      dropped = operand * operand;
      break;
    default:
      break;
  }
  static_cast<void>(dropped);
}

class ExceptionalElements {
 public:
  void Report(int32_t status) {
    last_ = status;
    RaiseFlagOf(status);
  }
  /// The code of the last one, kStatusOk if there was none: the result of the call.
  int32_t LastStatus() const { return last_; }

 private:
  int32_t last_ = kStatusOk;
};

/// d[i] = operation(&exceptional, sources[i]...), for i in [0, n). The checks of the vector
/// mathematics: the length, then the pointers.
template <typename Operation, typename Destination, typename... Sources>
int32_t ForEachElementReporting(Operation operation, Destination* d, int32_t n,
                                const Sources*... sources) {
  if (n < 1) return kStatusSize;
  ExceptionalElements exceptional;
  const auto reporting = [&](Sources... elements) { return operation(&exceptional, elements...); };
  if (const int32_t status = ForEachElement(reporting, d, n, sources...)) return status;
  return exceptional.LastStatus();
}

}  // namespace zr::primitives
