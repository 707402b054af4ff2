// What the library tells of itself: its version, and the meaning of its status codes.
#pragma once

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct LibraryVersionRecord {
  int32_t major;
  int32_t minor;
  int32_t majorBuild;
  int32_t build;
  char targetCpu[4];  ///< The build's identifier, "px", padded with zeros.
  const char* Name;
  const char* Version;
  const char* BuildDate;
} LibraryVersionRecord;

/// The record of the build in force, constant and never freed.
const LibraryVersionRecord* ippsGetLibVersion(void);

/// The message of a status code, constant and never freed; "Unknown Status Code" for a code that
/// was never given out. Negative: refused, nothing was written. 0: done. Positive: done over all
/// elements, with a warning.
const char* ippsGetStatusString(int32_t status);

#ifdef __cplusplus
}
#endif
