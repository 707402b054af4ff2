// Debug output and the text routines of the host kernel: formats, bounds and wide strings.
#include <string>

#include "platform/host/debug.h"
#include "platform/host/wide_text.h"
#include "tests/platform/bug_checks.h"

using namespace zr::host;
using namespace zr::test;
using enum BugCheck;

namespace {

// Collects what goes to the sink.
class Debug : public testing::Test {
 protected:
  Debug() {
    SetDebugSink([this](std::string_view text) { lines_.emplace_back(text); });
  }
  ~Debug() override { SetDebugSink(nullptr); }

  std::vector<std::string> lines_;
};

TEST_F(Debug, LinesAndBreakPointsGoToTheSink) {
  const std::size_t before = BreakPointCount();
  DbgPrint("%s-%d\n", "line", 7);
  DbgPrint("%s", std::string(600, 'x').c_str());
  DbgBreakPoint();
  ASSERT_EQ(lines_.size(), 3u);
  EXPECT_EQ(lines_[0], "line-7\n");
  EXPECT_EQ(lines_[1], std::string(511, 'x')) << "the kernel passes on 512 bytes";
  EXPECT_EQ(BreakPointCount(), before + 1);
}

TEST_F(Debug, TheSinkHearsOneThreadAtATime) {
  OnThreads(40, [](int) {
    for (int i = 0; i < 50; ++i)
      DbgPrint("x");
  });
  EXPECT_EQ(lines_.size(), 40u * 50);
}

template <typename... Values>
std::string Printed(const char* format, Values... values) {
  char text[64];
  return _snprintf(text, sizeof(text), format, values...) < 0 ? "cut" : text;
}

TEST(KernelText, FormatsTakeTheKernelsArguments) {
  constexpr bool kIs32Bit = sizeof(PVOID) == 4;
  const WCHAR* const wide = u"USB\\VID_1\u20AC";
  const std::pair<std::string, const char*> rows[] = {
      {Printed("%d %i %u", -1, 2, 3u), "-1 2 3"},
      {Printed("%lx|%lu|%ld", 0xFFFFFFFFul, 0xFFFFFFFFul, -1L), "ffffffff|4294967295|-1"},
      {Printed("%lx", ~ULONG_PTR{0}), kIs32Bit ? "ffffffff" : "ffffffffffffffff"},
      {Printed("%hx %hd", 0x12345, 0x1FFFF), "2345 -1"},
      {Printed("%I64x %lld %I32d", 0x123456789ABCLL, -5LL, -7), "123456789abc -5 -7"},
      {Printed("0x%08lX|%-6d|%+d|%#x|%05d", 0xABL, 12, 5, 16, -42),
       "0x000000AB|12    |+5|0x10|-0042"},
      {Printed("%*d|%-*d|%*d|%.3d", 4, 1, 4, 2, -4, 3, 7), "   1|2   |3   |007"},
      {Printed("%S|%ls|%ws|%.3S|%12S|%-4S|", wide, u"a", u"b", wide, wide, u"c"),
       "USB\\VID_1?|a|b|USB|  USB\\VID_1?|c   |"},
      {Printed("%s|%5s|%-5s|%.2s|%hs", "a", "b", "c", "defg", "h"), "a|    b|c    |de|h"},
      {Printed("%s %S", static_cast<const char*>(nullptr), static_cast<const WCHAR*>(nullptr)),
       "(null) (null)"},
      {Printed("%c%3c%%", 'x', 'y'), "x  y%"},
      {Printed("%.2f %g", 1.25, 0.5), "1.25 0.5"},
      {Printed("%p", reinterpret_cast<PVOID>(0xABCD)), kIs32Bit ? "0000ABCD" : "000000000000ABCD"},
      {Printed("%d %s %lx %S %d %u %c %lx", 1, "2", 3L, u"4", 5, 6, '7', 8L), "1 2 3 4 5 6 7 8"},
  };
  for (const auto& [printed, expected] : rows)
    EXPECT_EQ(printed, expected);
}

TEST(KernelText, NothingIsWrittenBeyondTheBuffer) {
  // Plain text, a conversion of the C library and a wide string each meet the end of the buffer.
  const std::string whole = "ab1234cde";
  for (std::size_t size = 0; size <= whole.size() + 2; ++size) {
    std::string text(16, '#');
    const int length = _snprintf(text.data(), size, "ab%d%S", 1234, u"cde");
    EXPECT_EQ(length, size > whole.size() ? static_cast<int>(whole.size()) : -1) << size;
    std::string expected = whole.substr(0, size == 0 ? 0 : size - 1);
    if (size > 0) expected += '\0';
    EXPECT_EQ(text, expected + std::string(16 - expected.size(), '#'));
  }
}

TEST(KernelText, MisusesStopTheSystem) {
  WCHAR text[8];
  ExpectBugChecks({
      {"an unknown conversion", kViolation, "a%qb", [] { Printed("a%qb", 1); }},
      {"a format that ends in a conversion", kViolation, "50%", [] { Printed("50%"); }},
      {"a wide string at dispatch level", kIrqlNotLessOrEqual, "%S", [] { Printed("%S", u"x"); },
       DISPATCH_LEVEL},
      {"an unknown conversion in wide text", kViolation, "%d", [&] { swprintf(text, u"%d", 1); }},
  });
}

TEST(KernelText, WideStrings) {
  WCHAR text[32] = u"";
  EXPECT_EQ(swprintf(text, u"A\\%s\\%s%%", u"bc", u""), 6);
  EXPECT_EQ(std::u16string(text), u"A\\bc\\%");
  EXPECT_EQ(wcscat(wcscpy(text, u"rev_"), u"8\u00E4z"), text);
  EXPECT_EQ(wcslen(text), 7u);
  EXPECT_EQ(std::u16string(_wcsupr(text)), u"REV_8\u00E4Z") << "letters a to z alone";
  EXPECT_EQ(wcsstr(text, u"V_8"), text + 2);
  EXPECT_EQ(wcsstr(text, u""), text);
  EXPECT_EQ(wcsstr(text, u"V_9"), nullptr);
}

}  // namespace
