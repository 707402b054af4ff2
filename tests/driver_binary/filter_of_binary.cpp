// The filter's entries, each of which calls the function in the driver binary that the environment
// variable ZR_DRIVER_BINARY names. What links it instead of the filter runs the code that the
// kernel would run.
#include <cstdlib>
#include <cstring>

#include "popfilter/pops.h"
#include "tests/driver_binary/driver_image.h"

namespace {

// The binary keeps its stack at multiples of 4, this process at multiples of 16.
#define CALLED_BY_THE_BINARY __attribute__((force_align_arg_pointer))

CALLED_BY_THE_BINARY void* Allocate(std::size_t byteCount) {
  return std::malloc(byteCount);
}
CALLED_BY_THE_BINARY void Free(void* block) {
  std::free(block);
}
CALLED_BY_THE_BINARY void* Move(void* to, const void* from, std::size_t byteCount) {
  return std::memmove(to, from, byteCount);
}

template <typename Function>
std::uintptr_t AddressOf(Function* function) {
  return reinterpret_cast<std::uintptr_t>(function);
}

zr::tests::DriverImage& Binary() {
  static zr::tests::DriverImage binary = [] {
    const char* const path = std::getenv("ZR_DRIVER_BINARY");
    zr::tests::DriverImage image(path != nullptr ? path : "", {{"memmove", AddressOf(&Move)}});
    image.Redirect("__ZN2zr10primitives17AllocateRawMemoryEj", AddressOf(&Allocate));
    image.Redirect("__ZN2zr10primitives13FreeRawMemoryEPv", AddressOf(&Free));
    return image;
  }();
  return binary;
}

// The function with this one's type.
template <typename Function>
Function* InBinary(Function* /*ours*/, const char* symbol) {
  return reinterpret_cast<Function*>(Binary().AddressOf(symbol));
}

}  // namespace

int32_t POPSCreate(POPSState** state) {
  return InBinary(&POPSCreate, "__Z10POPSCreatePP9POPSState")(state);
}
int32_t POPSDestroy(POPSState* state) {
  return InBinary(&POPSDestroy, "__Z11POPSDestroyP9POPSState")(state);
}
int32_t POPSSetParameter(POPSState* state, uint32_t id, uint32_t value) {
  return InBinary(&POPSSetParameter, "__Z16POPSSetParameterP9POPSStatejj")(state, id, value);
}
void POPSProcess(POPSState* state, int32_t count, int16_t* samples) {
  InBinary(&POPSProcess, "__Z11POPSProcessP9POPSStateiPs")(state, count, samples);
}
