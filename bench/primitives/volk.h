// The kernels of VOLK that do what a primitive does, each called through its dispatcher.
#pragma once

#include <cstdint>
#include <string>

namespace zr::bench {

/// A vector of any element type.
struct AnyVector {
  template <typename Element>
  operator Element*() const {
    return static_cast<Element*>(address);
  }
  void* address;
};

struct VolkOperands {
  AnyVector a;
  AnyVector b;
  AnyVector d;  ///< The vector in place, too.
  AnyVector result;
  AnyVector index;
  uint32_t n;
};

using VolkCall = void (*)(const VolkOperands&);

/// Null where VOLK has no kernel for the operation.
VolkCall VolkCallFor(const std::string& primitive);

}  // namespace zr::bench
