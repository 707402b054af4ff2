// The floating-point bracket of the host kernel: a real save and restore of the processor's state.
#include <cstring>

#include "platform/host/control/execution_control.h"
#include "tests/platform/bug_checks.h"

using namespace zr::host;
using namespace zr::test;
using enum BugCheck;

namespace {

struct SavedImage {
  alignas(16) unsigned char bytes[512];
};

// The control words of the x87 and of SSE; the latter is 0 where the build has no SSE.
struct ControlWords {
  uint16_t x87;
  uint32_t mxcsr;
};

ControlWords CurrentWords() {
  SavedImage image;
  asm volatile("fxsave %0" : "=m"(image));
  ControlWords words = {};
  std::memcpy(&words.x87, image.bytes, sizeof(words.x87));
  std::memcpy(&words.mxcsr, image.bytes + 24, sizeof(words.mxcsr));
  return words;
}

void SetWords(const ControlWords& words) {
  SavedImage image;
  asm volatile("fxsave %0" : "=m"(image));
  std::memcpy(image.bytes, &words.x87, sizeof(words.x87));
  std::memcpy(image.bytes + 24, &words.mxcsr, sizeof(words.mxcsr));
  asm volatile("fxrstor %0" : : "m"(image));
}

void ExpectWords(const ControlWords& expected) {
  const ControlWords words = CurrentWords();
  EXPECT_EQ(words.x87, expected.x87);
  EXPECT_EQ(words.mxcsr & 0xFFC0u, expected.mxcsr);
}

class FloatingPoint : public testing::Test {
 protected:
  ~FloatingPoint() override {
    SetWords(before_);
    EXPECT_EQ(FloatingPointDepth(), 0u);
  }
  const ControlWords before_ = CurrentWords();
  KFLOATING_SAVE outer_ = {};
  KFLOATING_SAVE inner_ = {};
};

TEST_F(FloatingPoint, BracketsSaveAndRestoreTheState) {
  // Round up, double and single precision; flush to zero.
  const ControlWords user = {0xA7F, 0xDF80};
  const ControlWords inside = {0x07F, 0x5F80};
  const ControlWords kernel = {0x27F, 0x1F80};
  SetWords(user);
  ASSERT_EQ(KeSaveFloatingPointState(&outer_), STATUS_SUCCESS);
  ExpectWords(kernel);
  SetWords(inside);
  ASSERT_EQ(KeSaveFloatingPointState(&inner_), STATUS_SUCCESS);
  ExpectWords(kernel);
  EXPECT_EQ(FloatingPointDepth(), 2u);
  OnAnotherThread([] { EXPECT_EQ(FloatingPointDepth(), 0u); });
  EXPECT_EQ(KeRestoreFloatingPointState(&inner_), STATUS_SUCCESS);
  ExpectWords(inside);
  EXPECT_EQ(KeRestoreFloatingPointState(&outer_), STATUS_SUCCESS);
  ExpectWords(user);
}

TEST_F(FloatingPoint, RegistersComeBackAndTheStackIsEmptyInBetween) {
  // One number on the register stack across the bracket. Nothing between the statements computes.
  SavedImage image;
  asm volatile("fldpi");
  KeSaveFloatingPointState(&outer_);
  asm volatile("fxsave %0" : "=m"(image));
  KeRestoreFloatingPointState(&outer_);
  long double restored = 0;
  asm volatile("fstpt %0" : "=m"(restored));
  EXPECT_EQ(image.bytes[4], 0) << "registers in use";
  EXPECT_EQ(restored, 3.141592653589793238462643383279502884L);
}

TEST_F(FloatingPoint, MisusesStopTheSystem) {
  const auto save = [this] { KeSaveFloatingPointState(&outer_); };
  const auto restore = [this] { KeRestoreFloatingPointState(&outer_); };
  const auto restoreTwice = [&] {
    save();
    restore();
    restore();
  };
  const auto restoreAfterFailure = [&] {
    save();
    const FailFloatingPointSave failing;
    EXPECT_FALSE(NT_SUCCESS(KeSaveFloatingPointState(&outer_)));
    EXPECT_EQ(FloatingPointDepth(), 1u);
    restore();
  };
  const auto restoreInOrder = [&] {
    save();
    KeSaveFloatingPointState(&inner_);
    restore();
  };
  const auto restoreForAnother = [&] {
    OnAnotherThread(save);
    restore();
  };
  const auto restoreAbove = [&] {
    save();
    KfRaiseIrql(DISPATCH_LEVEL);
    restore();
  };
  constexpr BugCheck kInvalid = kInvalidFloatingPointState;
  ExpectBugChecks({
      {"never saved", kInvalid, "nothing is saved", restore},
      {"twice", kInvalid, "restored already", restoreTwice},
      {"a failed save over another", kInvalid, "nothing is saved", restoreAfterFailure},
      {"in the order of saving", kInvalid, "brackets nest", restoreInOrder},
      {"another thread's", kInvalid, "another thread", restoreForAnother},
      {"at another IRQL", kInvalid, "another IRQL", restoreAbove},
      {"above dispatch level", kIrqlNotLessOrEqual, "KeSaveFloatingPointState", save, HIGH_LEVEL},
  });
}

}  // namespace
