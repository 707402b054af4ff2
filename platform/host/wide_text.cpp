// 16-bit strings and the kernel's printf. On this host wchar_t has 32 bits, so a format with
// conversions of the kernel's own is walked here, and each of the others goes to the C library.
#include "platform/host/wide_text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "platform/host/internal_checks.h"

using zr::host::BugCheck;
using zr::host::RequireIrqlAtMost;
using zr::host::StopSystem;

namespace {

[[noreturn]] void RefuseFormat(const char* routine, const std::string& format) {
  StopSystem(BugCheck::kDriverVerifierDetectedViolation,
             std::string(routine) + ": unknown conversion in the format \"" + format + "\"");
}

// Takes what fits, keeps room for the terminator, and counts what there was.
class TextBuffer {
 public:
  TextBuffer(char* destination, std::size_t size) : destination_(destination), size_(size) {}

  void Append(char character) {
    if (length_ + 1 < size_) destination_[length_] = character;
    ++length_;
  }
  void Append(std::string_view text) {
    for (const char character : text) {
      Append(character);
    }
  }
  void Repeat(char character, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      Append(character);
    }
  }
  // Lets print(destination, size) write straight to the free end; it gives the length that its text
  // has or would have.
  template <typename Print>
  void AppendPrinted(Print print) {
    const std::size_t start = length_ < size_ ? length_ : size_;
    const int printed = print(destination_ + start, size_ - start);
    if (printed > 0) length_ += static_cast<std::size_t>(printed);
  }
  // Ends the text; its length, or -1 if it was cut.
  int Finish() {
    if (size_ == 0) return -1;
    const bool fits = length_ < size_;
    destination_[fits ? length_ : size_ - 1] = '\0';
    return fits ? static_cast<int>(length_) : -1;
  }

 private:
  char* destination_;
  std::size_t size_;
  std::size_t length_ = 0;
};

// A va_list that can be handed on by reference on every system.
struct Arguments {
  va_list list;
};

enum class Length { kNone, kShort, kLong, kLongLong, kPointer };

// %[flags][width][.precision][length]type
struct Conversion {
  std::string_view flags;
  int width = 0;
  int precision = -1;  // none
  Length length = Length::kNone;
  char type = '\0';
  bool isLeftAligned = false;
};

int ParseNumber(const char*& format, Arguments& arguments) {
  if (*format == '*') {
    ++format;
    return va_arg(arguments.list, int);
  }
  int number = 0;
  for (; *format >= '0' && *format <= '9'; ++format) {
    number = number * 10 + (*format - '0');
  }
  return number;
}

Length ParseLength(const char*& format) {
  struct Row {
    std::string_view text;
    Length length;
  };
  static constexpr Row kRows[] = {
      {"I64", Length::kLongLong}, {"I32", Length::kNone},  {"ll", Length::kLongLong},
      {"l", Length::kLong},       {"w", Length::kLong},    {"h", Length::kShort},
      {"I", Length::kPointer},    {"z", Length::kPointer},
  };
  for (const Row& row : kRows) {
    if (std::strncmp(format, row.text.data(), row.text.size()) == 0) {
      format += row.text.size();
      return row.length;
    }
  }
  return Length::kNone;
}

Conversion ParseConversion(const char*& format, Arguments& arguments) {
  Conversion conversion;
  conversion.flags = std::string_view(format, std::strspn(format, "-+ #0"));
  conversion.isLeftAligned = conversion.flags.find('-') != std::string_view::npos;
  format += conversion.flags.size();
  conversion.width = ParseNumber(format, arguments);
  if (conversion.width < 0) {
    conversion.isLeftAligned = true;
    conversion.width = -conversion.width;
  }
  if (*format == '.') {
    ++format;
    conversion.precision = ParseNumber(format, arguments);
  }
  conversion.length = ParseLength(format);
  if (*format != '\0') conversion.type = *format++;
  return conversion;
}

// Hands one argument to the C library, with the length modifier that fits its type here.
template <typename Argument>
void Print(TextBuffer& buffer, const Conversion& conversion, const char* modifier,
           Argument argument) {
  std::array<char, 24> format = {};
  constexpr std::size_t kFlags = 5;
  std::snprintf(format.data(), format.size(), "%%%s%.*s*.*%s%c",
                conversion.isLeftAligned ? "-" : "",
                static_cast<int>(std::min(conversion.flags.size(), kFlags)),
                conversion.flags.data(), modifier, conversion.type);
  buffer.AppendPrinted([&](char* destination, std::size_t size) {
    return std::snprintf(destination, size, format.data(), conversion.width, conversion.precision,
                         argument);
  });
}

void PrintInteger(TextBuffer& buffer, const Conversion& conversion, Arguments& arguments) {
  if (conversion.length == Length::kLongLong) {
    Print(buffer, conversion, "ll", va_arg(arguments.list, long long));
  } else if (conversion.length == Length::kPointer) {
    Print(buffer, conversion, "z", va_arg(arguments.list, SIZE_T));
  } else if (conversion.length == Length::kLong) {
    Print(buffer, conversion, "l", va_arg(arguments.list, long));
  } else {
    Print(buffer, conversion, conversion.length == Length::kShort ? "h" : "",
          va_arg(arguments.list, int));
  }
}

// Characters beyond ASCII have no place in the kernel's 8-bit text.
template <typename Character>
void PrintText(TextBuffer& buffer, const Conversion& conversion, const Character* text) {
  static constexpr Character kNull[] = {'(', 'n', 'u', 'l', 'l', ')', '\0'};
  if (text == nullptr) text = kNull;
  std::size_t length = 0;
  while ((conversion.precision < 0 || length < static_cast<std::size_t>(conversion.precision)) &&
         text[length] != '\0') {
    ++length;
  }
  const auto width = static_cast<std::size_t>(conversion.width);
  const std::size_t padding = width > length ? width - length : 0;
  if (!conversion.isLeftAligned) buffer.Repeat(' ', padding);
  for (std::size_t i = 0; i < length; ++i) {
    const bool isForeign = sizeof(Character) > 1 && text[i] > Character{0x7f};
    buffer.Append(isForeign ? '?' : static_cast<char>(text[i]));
  }
  if (conversion.isLeftAligned) buffer.Repeat(' ', padding);
}

void PrintWideText(TextBuffer& buffer, const Conversion& conversion, Arguments& arguments) {
  // The kernel converts with tables that lie in paged memory.
  RequireIrqlAtMost(PASSIVE_LEVEL, "A format with %S");
  PrintText(buffer, conversion, va_arg(arguments.list, const WCHAR*));
}

void PrintConversion(TextBuffer& buffer, const Conversion& conversion, Arguments& arguments,
                     const char* format) {
  switch (conversion.type) {
    case '%':
      buffer.Append('%');
      return;
    case 'd':
    case 'i':
    case 'o':
    case 'u':
    case 'x':
    case 'X':
      PrintInteger(buffer, conversion, arguments);
      return;
    case 'c': {
      const char text[] = {static_cast<char>(va_arg(arguments.list, int)), '\0'};
      PrintText(buffer, conversion, text);
      return;
    }
    case 'e':
    case 'E':
    case 'f':
    case 'g':
    case 'G':
      Print(buffer, conversion, "", va_arg(arguments.list, double));
      return;
    case 'p': {
      // All digits of the address, in capitals, without a prefix.
      const auto address = reinterpret_cast<SIZE_T>(va_arg(arguments.list, PVOID));
      buffer.AppendPrinted([address](char* destination, std::size_t size) {
        constexpr int kDigits = 2 * sizeof(PVOID);
        return std::snprintf(destination, size, "%0*zX", kDigits, address);
      });
      return;
    }
    case 's':
      if (conversion.length == Length::kLong) {
        PrintWideText(buffer, conversion, arguments);
      } else {
        PrintText(buffer, conversion, va_arg(arguments.list, const char*));
      }
      return;
    case 'S':
      PrintWideText(buffer, conversion, arguments);
      return;
    default:
      RefuseFormat("_vsnprintf", format);
  }
}

// Whether the C library formats it to the same text: then it does so at one go, as most log lines
// are of this kind and formatted even when nobody listens.
bool IsPlainFormat(const char* format) {
  for (const char* at = std::strchr(format, '%'); at != nullptr; at = std::strchr(at, '%')) {
    ++at;
    at += std::strspn(at, "-+ #0123456789.*");
    if (*at == 'l') ++at;
    // A null pointer for %s gives "(null)" in both.
    if (*at == '\0' || std::strchr("diouxXs%", *at) == nullptr) return false;
    if (*at == 's' && at[-1] == 'l') return false;
    ++at;
  }
  return true;
}

template <typename Character>
Character* Find(Character* text, const WCHAR* wanted) {
  const std::u16string_view all(text);
  const std::size_t position = all.find(wanted);
  return position == std::u16string_view::npos ? nullptr : text + position;
}

}  // namespace

WCHAR* wcscpy(WCHAR* destination, const WCHAR* source) {
  WCHAR* end = destination;
  while ((*end++ = *source++) != 0) {
  }
  return destination;
}

WCHAR* wcscat(WCHAR* destination, const WCHAR* source) {
  wcscpy(destination + wcslen(destination), source);
  return destination;
}

SIZE_T wcslen(const WCHAR* text) {
  return std::char_traits<WCHAR>::length(text);
}

WCHAR* wcsstr(WCHAR* text, const WCHAR* wanted) {
  return Find(text, wanted);
}

const WCHAR* wcsstr(const WCHAR* text, const WCHAR* wanted) {
  return Find(text, wanted);
}

WCHAR* _wcsupr(WCHAR* text) {
  for (WCHAR* character = text; *character != 0; ++character) {
    if (*character >= u'a' && *character <= u'z') {
      *character = static_cast<WCHAR>(*character - u'a' + u'A');
    }
  }
  return text;
}

int swprintf(WCHAR* destination, const WCHAR* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  WCHAR* end = destination;
  for (const WCHAR* next = format; *next != 0; ++next) {
    if (*next != u'%') {
      *end++ = *next;
    } else if (*++next == u's') {
      const auto* const text = va_arg(arguments, const WCHAR*);
      end = wcscpy(end, text) + wcslen(text);
    } else if (*next == u'%') {
      *end++ = u'%';
    } else {
      va_end(arguments);
      RefuseFormat("swprintf", std::string(format, format + wcslen(format)));
    }
  }
  va_end(arguments);
  *end = 0;
  return static_cast<int>(end - destination);
}

int _vsnprintf(char* destination, SIZE_T size, const char* format, va_list arguments) {
  if (IsPlainFormat(format)) {
    const int length = std::vsnprintf(destination, size, format, arguments);
    return static_cast<SIZE_T>(length) < size ? length : -1;
  }
  TextBuffer buffer(destination, size);
  Arguments own;
  va_copy(own.list, arguments);
  for (const char* next = format; *next != '\0';) {
    if (*next != '%') {
      buffer.Append(*next++);
      continue;
    }
    ++next;
    PrintConversion(buffer, ParseConversion(next, own), own, format);
  }
  va_end(own.list);
  return buffer.Finish();
}

int _snprintf(char* destination, SIZE_T size, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int length = _vsnprintf(destination, size, format, arguments);
  va_end(arguments);
  return length;
}
