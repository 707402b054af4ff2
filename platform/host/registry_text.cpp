// Reads the registry from a text file. The whole text is understood before anything is set, so that
// a fault in it leaves the registry as it was.
#include <algorithm>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/host/control/registry_control.h"
#include "platform/host/internal_registry.h"

namespace zr::host {
namespace {

struct Setting {
  std::u16string name;
  ULONG type;
  std::string data;
};

struct KeySettings {
  std::u16string path;
  std::vector<Setting> settings;
};

bool IsSpace(char c) {
  return c == ' ' || c == '\t' || c == '\r';
}

std::optional<ULONG> HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return std::nullopt;
}

// One line, read from left to right.
class LineReader {
 public:
  LineReader(std::string_view line, std::size_t number) : rest_(line), number_(number) {}

  [[noreturn]] void Fail(const std::string& what) const {
    throw std::runtime_error("registry text, line " + std::to_string(number_) + ": " + what);
  }

  void SkipSpace() {
    while (!rest_.empty() && IsSpace(rest_.front()))
      rest_.remove_prefix(1);
  }

  bool IsAtEnd() {
    SkipSpace();
    return rest_.empty() || rest_.front() == '#';
  }

  bool Take(std::string_view text) {
    SkipSpace();
    if (rest_.substr(0, text.size()) != text) return false;
    rest_.remove_prefix(text.size());
    return true;
  }

  void Require(std::string_view text, const std::string& what) {
    if (!Take(text)) Fail(what);
  }

  std::u16string TakeKeyPath() {
    const std::size_t end = rest_.find(']');
    if (end == std::string_view::npos) Fail("a ] is missing");
    std::u16string path = Widen(rest_.substr(0, end));
    rest_.remove_prefix(end + 1);
    if (!IsKeyPath(path)) Fail("a key is written [\\Registry\\Machine\\...]");
    return path;
  }

  // Up to the closing quote; a backslash stands before a quote or a backslash of the text.
  std::u16string TakeQuotedRest() {
    std::string text;
    for (;;) {
      if (rest_.empty()) Fail("a closing quote is missing");
      char c = rest_.front();
      rest_.remove_prefix(1);
      if (c == '"') return Widen(text);
      if (c == '\\') {
        const bool isEscape = !rest_.empty() && (rest_.front() == '"' || rest_.front() == '\\');
        if (!isEscape) Fail("a backslash in quotes is written \\\\");
        c = rest_.front();
        rest_.remove_prefix(1);
      }
      text.push_back(c);
    }
  }

  ULONG TakeHexNumber(std::size_t mostDigits) {
    SkipSpace();
    ULONG number = 0;
    std::size_t digits = 0;
    for (; !rest_.empty(); ++digits, rest_.remove_prefix(1)) {
      const std::optional<ULONG> digit = HexDigit(rest_.front());
      if (!digit) break;
      if (digits == mostDigits) Fail("a number has too many digits");
      number = number * 16 + *digit;
    }
    if (digits == 0) Fail("a hexadecimal number is missing");
    return number;
  }

 private:
  // From UTF-8, which must be well formed.
  std::u16string Widen(std::string_view text) const {
    std::u16string wide;
    for (std::size_t at = 0; at < text.size();) {
      const auto lead = static_cast<unsigned char>(text[at++]);
      const std::size_t more = lead < 0x80 ? 0 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
      if ((lead >= 0x80 && lead < 0xC2) || lead > 0xF4) Fail("the text is not UTF-8");
      char32_t point = more == 0 ? lead : lead & (0x3FU >> more);
      for (std::size_t i = 0; i < more; ++i) {
        const unsigned char next = at < text.size() ? static_cast<unsigned char>(text[at++]) : 0U;
        if ((next & 0xC0U) != 0x80) Fail("the text is not UTF-8");
        point = (point << 6U) | (next & 0x3FU);
      }
      const bool isTooLong = (more == 2 && point < 0x800) || (more == 3 && point < 0x10000);
      if (isTooLong || point > 0x10FFFF || (point >= 0xD800 && point < 0xE000)) {
        Fail("the text is not UTF-8");
      }
      if (point < 0x10000) {
        wide.push_back(static_cast<char16_t>(point));
      } else {
        wide.push_back(static_cast<char16_t>(0xD7C0 + (point >> 10U)));
        wide.push_back(static_cast<char16_t>(0xDC00 + (point & 0x3FFU)));
      }
    }
    return wide;
  }

  std::string_view rest_;
  std::size_t number_;
};

// The bytes of a number and of a string as the registry holds them: little-endian, terminated.
std::string DwordData(ULONG number) {
  std::string data;
  for (unsigned shift = 0; shift < 32; shift += 8)
    data.push_back(static_cast<char>(number >> shift));
  return data;
}

std::string StringData(const std::u16string& text) {
  std::string data;
  for (const char16_t unit : text + u'\0') {
    data.push_back(static_cast<char>(unit & 0xFFU));
    data.push_back(static_cast<char>(unit >> 8U));
  }
  return data;
}

std::string ReadBytes(LineReader& line) {
  std::string data;
  if (line.IsAtEnd()) return data;
  do {
    data.push_back(static_cast<char>(line.TakeHexNumber(2)));
  } while (line.Take(","));
  return data;
}

Setting ReadSetting(LineReader& line) {
  line.Require("\"", "a line is a [key], a \"name\" = value or a # comment");
  Setting setting = {line.TakeQuotedRest(), REG_NONE, {}};
  line.Require("=", "a = is missing behind the name");
  if (line.Take("dword:")) {
    setting.type = REG_DWORD;
    setting.data = DwordData(line.TakeHexNumber(8));
  } else if (line.Take("hex:")) {
    setting.type = REG_BINARY;
    setting.data = ReadBytes(line);
  } else if (line.Take("\"")) {
    setting.type = REG_SZ;
    setting.data = StringData(line.TakeQuotedRest());
  } else {
    line.Fail("a value is dword:00000003, \"text\" or hex:01,02,ff");
  }
  return setting;
}

std::vector<KeySettings> ReadText(std::string_view text) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  if (text.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
    text.remove_prefix(kByteOrderMark.size());
  }
  std::vector<KeySettings> keys;
  for (std::size_t number = 1; !text.empty(); ++number) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    LineReader line(text.substr(0, end), number);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.IsAtEnd()) continue;
    if (line.Take("[")) {
      keys.push_back({line.TakeKeyPath(), {}});
    } else {
      if (keys.empty()) line.Fail("a [key] must come before the first value");
      keys.back().settings.push_back(ReadSetting(line));
    }
    if (!line.IsAtEnd()) line.Fail("something is left behind the value or key");
  }
  return keys;
}

}  // namespace

void LoadRegistryText(std::string_view text) {
  for (const KeySettings& key : ReadText(text)) {
    CreateRegistryKey(key.path);
    for (const Setting& setting : key.settings) {
      SetRegistryValue(key.path, setting.name, setting.type, setting.data);
    }
  }
}

}  // namespace zr::host
