// What the library tells of itself, px build.
#include "primitives/dispatch/px_entries.h"
#include "primitives/version_records.h"

namespace zr::primitives::px {

const LibraryVersionRecord* ippsGetLibVersion() {
  return &kVersionOfPx;
}

const char* ippsGetStatusString(int32_t status) {
  switch (status) {
#define STATUS_TEXT(code, text) \
  case code:                    \
    return text;
#include "primitives/status_text.def"
#undef STATUS_TEXT
    default:
      return "Unknown Status Code";
  }
}

}  // namespace zr::primitives::px
