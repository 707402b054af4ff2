#include "primitives/processor/features.h"

#include <cpuid.h>
#include <x86intrin.h>

#include <cstring>

namespace {

struct Registers {
  uint32_t eax;
  uint32_t ebx;
  uint32_t ecx;
  uint32_t edx;
};

Registers Ask(uint32_t leaf) {
  Registers answer = {};
  __cpuid_count(leaf, 0, answer.eax, answer.ebx, answer.ecx, answer.edx);
  return answer;
}

constexpr uint32_t Bit(uint32_t word, int position) {
  return word >> position & 1;
}

uint32_t HyperThreading(const Registers& leaf1) {
  const uint32_t logicalProcessors = leaf1.ebx >> 16 & 0xff;
  return Bit(leaf1.edx, 28) != 0 && logicalProcessors > 1 ? 1 : 0;
}

}  // namespace

uint32_t CpuHasCpuid() {
  constexpr auto kIdentification = decltype(__readeflags()){1} << 21;
  const auto before = __readeflags();
  __writeeflags(before ^ kIdentification);
  const auto toggled = __readeflags();
  __writeeflags(before);
  return ((before ^ toggled) & kIdentification) != 0 ? 1 : 0;
}

uint32_t CpuMaxLeaf() {
  return Ask(0).eax;
}

uint32_t CpuHasTsc() {
  return Bit(Ask(1).edx, 4);
}

uint32_t CpuHasMmx() {
  return Bit(Ask(1).edx, 23);
}

uint32_t CpuHasSse() {
  return Bit(Ask(1).edx, 25);
}

uint32_t CpuHasSse2() {
  return Bit(Ask(1).edx, 26);
}

uint32_t CpuHasHyperThreading() {
  return HyperThreading(Ask(1));
}

uint32_t CpuHasSse3() {
  return Bit(Ask(1).ecx, 0);
}

uint32_t CpuHasLongMode() {
  constexpr uint32_t kHighestExtendedLeaf = 0x80000000;
  constexpr uint32_t kExtendedFeatures = 0x80000001;
  if (Ask(kHighestExtendedLeaf).eax < kExtendedFeatures) return 0;
  return Bit(Ask(kExtendedFeatures).edx, 29);
}

uint32_t CpuVendorIsExpected() {
  const Registers vendor = Ask(0);
  return vendor.ebx == 0x756e6547 && vendor.edx == 0x49656e69 && vendor.ecx == 0x6c65746e ? 1 : 0;
}

uint32_t CpuHasDaz() {
  constexpr std::size_t kMxcsrMask = 28;
  alignas(16) unsigned char area[512] = {};
  asm volatile("fxsave %0" : "+m"(area));
  uint32_t mask = 0;
  std::memcpy(&mask, area + kMxcsrMask, sizeof(mask));
  return Bit(mask, 6);
}

uint64_t CpuReadTimeStamp() {
  uint32_t low = 0;
  uint32_t high = 0;
  asm volatile("rdtsc" : "=a"(low), "=d"(high));
  return uint64_t{high} << 32 | low;
}

void CpuReadInfo(CpuInfoRecord* info) {
  const Registers leaf1 = Ask(1);
  const Registers leaf2 = Ask(2);
  info->family = leaf1.eax >> 8 & 0xf;
  info->stepping = leaf1.eax & 0xf;
  info->model = leaf1.eax >> 4 & 0xf;
  info->zero = 0;
  info->features = leaf1.edx;
  info->leaf2Eax = leaf2.eax;
  info->leaf2Edx = leaf2.edx;
  info->mmx = Bit(leaf1.edx, 23);
  info->sse = Bit(leaf1.edx, 25);
  info->sse2 = Bit(leaf1.edx, 26);
  info->hyperThreading = HyperThreading(leaf1);
  info->sse3 = Bit(leaf1.ecx, 0);
  info->longMode = CpuHasLongMode();
}
