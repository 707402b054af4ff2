// What the walk makes of configuration descriptors, whole and broken.
#include <cstring>
#include <vector>

#include "tests/usbaudio/intercepted_device.h"

using namespace zr::test;

namespace {

using Bytes = std::vector<UCHAR>;

struct FormatRow {
  const char* what;
  Bytes descriptor;
  AltSetFormat expected;
};

// What the row holds before each descriptor.
const AltSetFormat kUntouched = {1, 8, 4, 12345};

const FormatRow kFormatRows[] = {
    {"one rate", {0x0B, 0x24, 2, 1, 1, 2, 16, 1, 0x80, 0x3E, 0}, {1, 16, 1, 16000}},
    {"the first of two rates",
     {0x0E, 0x24, 2, 1, 1, 2, 16, 2, 0x40, 0x1F, 0, 0x80, 0x3E, 0},
     {1, 16, 1, 8000}},
    {"a continuous range",
     {0x0E, 0x24, 2, 1, 1, 2, 16, 0, 0x40, 0x1F, 0, 0x80, 0xBB, 0},
     {0, 16, 1, 0}},
    {"no channels", {0x0B, 0x24, 2, 1, 0, 2, 16, 1, 0x80, 0x3E, 0}, {0, 16, 0, 16000}},
    {"type III, 24-bit rate", {0x0B, 0x24, 2, 3, 2, 3, 24, 1, 0, 0x77, 1}, {1, 24, 2, 96000}},
    {"type II, a rate alone", {0x0C, 0x24, 2, 2, 0, 1, 0, 4, 1, 0x80, 0x3E, 0}, {1, 8, 4, 16000}},
    {"type II, a range", {0x0C, 0x24, 2, 2, 0, 1, 0, 4, 0, 0x40, 0x1F, 0}, kUntouched},
    {"an unknown type", {0x04, 0x24, 2, 9}, kUntouched},
    {"too short for a type", {0x03, 0x24, 2}, kUntouched},
    {"type I without its last fixed field", {0x07, 0x24, 2, 1, 1, 2, 16}, kUntouched},
    {"type II without its last fixed field", {0x08, 0x24, 2, 2, 0, 1, 0, 4}, kUntouched},
    {"rates that do not fit", {0x0A, 0x24, 2, 1, 1, 2, 16, 3, 0x40, 0x1F}, {0, 16, 1, 0}},
    {"a list up to the last whole rate",
     {0x0C, 0x24, 2, 1, 1, 2, 16, 200, 0x80, 0x3E, 0, 9},
     {1, 16, 1, 16000}},
    {"another subtype", {0x0B, 0x24, 1, 1, 1, 2, 16, 1, 0x80, 0x3E, 0}, kUntouched},
    {"an endpoint's descriptor", {0x0B, 0x25, 2, 1, 1, 2, 16, 1, 0x80, 0x3E, 0}, kUntouched},
    {"a descriptor of two bytes", {0x02, 0x24}, kUntouched},
    {"no length: the walk ends", {0x00, 0x24, 2, 1, 1, 2, 16, 0}, kUntouched},
};

bool operator==(const AltSetFormat& a, const AltSetFormat& b) {
  return a.Valid == b.Valid && a.BitsPerSample == b.BitsPerSample && a.Channel == b.Channel &&
         a.SamplesPerSecond == b.SamplesPerSecond;
}

class Descriptors : public testing::Test {
 protected:
  LoadedServices services_;
  InterceptedDevice device_;

  const AltSetFormat& Row(ULONG setting) { return device_.Interception().FormatOf(setting); }
};

TEST_F(Descriptors, FormatTypesFillTheirRow) {
  for (const auto& row : kFormatRows) {
    device_.SelectConfiguration(ConfigurationOf({TypeOneFormat(8, 4, {12345})}));
    device_.SelectConfiguration(ConfigurationOf({row.descriptor}));
    EXPECT_TRUE(Row(1) == row.expected) << row.what;
  }
}

TEST_F(Descriptors, RowsLastUntilADescriptorTouchesThem) {
  const Bytes typeTwo = {0x0C, 0x24, 2, 2, 0, 1, 0, 4, 1, 0x80, 0x3E, 0};
  device_.SelectConfiguration(ConfigurationOf({typeTwo, TypeOneFormat(16, 1, {48000})}));
  EXPECT_TRUE((Row(1) == AltSetFormat{0, 0, 0, 16000})) << "type II over an empty row";
  device_.answer = [](PIRP irp) { return Complete(irp, STATUS_UNSUCCESSFUL); };
  device_.SelectConfiguration(ConfigurationOf({TypeOneFormat(16, 1, {8000})}));
  EXPECT_EQ(Row(1).SamplesPerSecond, 8000U) << "a failed selection counts like any other";
  device_.SelectConfiguration({});
  EXPECT_EQ(Row(1).SamplesPerSecond, 8000U) << "no descriptor";
  EXPECT_EQ(Row(2).SamplesPerSecond, 48000U) << "a row that is not described";
}

// A format behind two interface descriptors: the first is an audio stream of setting 1.
TEST_F(Descriptors, OnlyAudioStreamingInterfacesCount) {
  constexpr ULONG kNone = MAX_ALT_SETS_SUPPORTED;
  const struct {
    UCHAR length;
    UCHAR setting;
    UCHAR interfaceClass;
    UCHAR subClass;
    ULONG described;
  } rows[] = {{9, 19, 1, 2, 19},    {9, 20, 1, 2, kNone}, {9, 3, 1, 1, kNone},
              {9, 3, 14, 2, kNone}, {11, 3, 1, 2, 3},     {10, 3, 14, 2, 1}};
  for (const auto& row : rows) {
    InterceptedDevice device;
    Bytes bytes = {row.length, 4, 1, row.setting, 1, row.interfaceClass, row.subClass};
    bytes.resize(row.length);
    const Bytes format = TypeOneFormat(16, 1, {8000});
    bytes.insert(bytes.end(), format.begin(), format.end());
    device.SelectConfiguration(ConfigurationOf({bytes}));
    for (ULONG i = 0; i < MAX_ALT_SETS_SUPPORTED; ++i) {
      EXPECT_EQ(device.Interception().FormatOf(i).Valid, i == row.described ? 1U : 0U)
          << "length " << int{row.length} << " setting " << int{row.setting} << " row " << i;
    }
  }
}

// Every length that the header may claim, over a block of just that length.
TEST_F(Descriptors, AFormatCountsOnceItIsWhole) {
  const Bytes whole = ConfigurationOf({TypeOneFormat(16, 1, {8000, 16000})});
  for (std::size_t length = 0; length <= whole.size(); ++length) {
    Bytes bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
    bytes.resize(std::max<std::size_t>(length, 4));
    bytes[2] = static_cast<UCHAR>(length);
    bytes[3] = 0;
    device_.SelectConfiguration(bytes);
    EXPECT_EQ(Row(1).Valid, length >= 9 + 9 + 14 ? 1U : 0U) << length;
  }
}

}  // namespace
