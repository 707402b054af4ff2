#include "bench/primitives/operands.h"

#include <sstream>
#include <stdexcept>
#include <unordered_map>

namespace zr::bench {

std::vector<std::string> ParameterNames(const std::string& parameters) {
  std::vector<std::string> names;
  std::istringstream list(parameters.substr(1, parameters.size() - 2));
  for (std::string parameter; std::getline(list, parameter, ',');) {
    names.push_back(parameter.substr(parameter.rfind(' ') + 1));
  }
  return names;
}

double ConstantFor(const std::string& name) {
  // Reals in the vectors are from 64 to 128, of either sign.
  static const std::unordered_map<std::string, double> constants = {
      {"c", -1},         {"cr", 0.6},   {"ci", 0.8},       {"value", 1},      {"re", 1},
      {"im", -1},        {"level", 96}, {"levelLow", -96}, {"valueLow", -96}, {"levelHigh", 96},
      {"valueHigh", 96}, {"low", -1},   {"high", 1},       {"hint", 0},       {"scaleFactor", -8},
      {"roundMode", 1},  {"shift", 3},
  };
  const auto constant = constants.find(name);
  if (constant == constants.end()) throw std::logic_error("No constant for " + name);
  return constant->second;
}

Operands& Operands::Shared() {
  static Operands operands;
  return operands;
}

// A page more than the longest vector, for the alignment and the shift.
Operands::Operands() {
  for (auto& block : blocks_) {
    block = std::make_unique_for_overwrite<uint8_t[]>(kMostBytes + 8192);
  }
}

void* Operands::AddressOf(const std::string& name) {
  if (name == "result" || name == "minimum" || name == "seed") return results_.data();
  if (name == "index" || name == "maximum") return &results_[1];
  const std::size_t place = name == "a" || name == "re" ? 0 : IsSource(name) ? 1 : 2;
  // Each on a cache line, and no two at the same place of a page: a store must not look like the
  // source of the next load.
  constexpr std::uintptr_t kPage = 4096;
  constexpr std::uintptr_t kShift = 17 * 64;
  const auto address = reinterpret_cast<std::uintptr_t>(blocks_.at(place).get());
  return reinterpret_cast<void*>((address + kPage - 1) / kPage * kPage + place * kShift);
}

std::vector<uint8_t> Operands::Outcome(std::size_t byteCount) {
  std::vector<uint8_t> bytes(byteCount + sizeof(results_));
  std::memcpy(bytes.data(), AddressOf("d"), byteCount);
  std::memcpy(bytes.data() + byteCount, results_.data(), sizeof(results_));
  return bytes;
}

}  // namespace zr::bench
