// Any primitive, called with random arguments of the right kinds. What each parameter is for, its
// type and its name in the list of primitives tell, so that every primitive is in every test.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/primitives/guarded_buffer.h"
#include "tests/primitives/random_elements.h"

namespace zr::test {

struct CallSettings {
  int32_t length = 1;
  uint64_t seed = 1;
  bool withSpecials = true;
  std::size_t misalignment = 0;
  bool isInPlace = false;              ///< The destination is the first source.
  std::size_t nullPointer = SIZE_MAX;  ///< The parameter that is null.
};

struct CallOutcome {
  int32_t status = 0;
  bool areGuardsIntact = true;
  bool isUntouched = true;       ///< No buffer has changed.
  std::vector<uint8_t> outputs;  ///< NaNs of floats are all one, as their payload is not told.
};

class PrimitiveCall {
 public:
  PrimitiveCall(std::string family, std::string name, std::vector<std::string> parameters)
      : family_(std::move(family)), name_(std::move(name)), parameters_(std::move(parameters)) {}
  virtual ~PrimitiveCall() = default;
  PrimitiveCall(const PrimitiveCall&) = delete;
  PrimitiveCall& operator=(const PrimitiveCall&) = delete;

  virtual CallOutcome Run(const CallSettings& settings) const = 0;
  /// Whether the parameter is a pointer.
  virtual bool IsPointer(std::size_t parameter) const = 0;
  /// Whether a destination and a first source of the same type are there.
  virtual bool HasInPlaceForm() const = 0;

  const std::string& Family() const { return family_; }
  const std::string& Name() const { return name_; }
  const std::vector<std::string>& ParameterNames() const { return parameters_; }

 private:
  std::string family_;
  std::string name_;
  std::vector<std::string> parameters_;
};

/// The primitives of the families that work on plain vectors, allocators aside.
const std::vector<std::unique_ptr<PrimitiveCall>>& PlainCalls();

}  // namespace zr::test
