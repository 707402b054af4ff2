// A vector at an odd address with guard zones around it. Primitives that tests run on these alone
// are seen to take any address and to stay inside their vectors.
#pragma once

#include <gtest/gtest.h>

#include "tests/primitives/guarded_buffer.h"

namespace zr::test {

template <typename Element>
class MisplacedVector {
 public:
  explicit MisplacedVector(const std::vector<Element>& elements) : bytes_(Misplaced(elements, 1)) {}

  Element* Data() { return reinterpret_cast<Element*>(bytes_.Data()); }

  std::vector<Element> Content() {
    EXPECT_TRUE(bytes_.IsGuardIntact());
    std::vector<Element> elements(bytes_.Size() / sizeof(Element));
    std::memcpy(elements.data(), bytes_.Data(), bytes_.Size());
    return elements;
  }

 private:
  GuardedBuffer bytes_;
};

}  // namespace zr::test
