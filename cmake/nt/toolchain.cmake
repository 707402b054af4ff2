# Debian's cross compiler for 32-bit Windows, as a compiler for its kernel: no start files, no C
# run-time library, nothing of user mode.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_COMPILER i686-w64-mingw32-gcc)
set(CMAKE_CXX_COMPILER i686-w64-mingw32-g++)
set(CMAKE_RC_COMPILER i686-w64-mingw32-windres)
# An executable cannot be linked before there is a DriverEntry.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
set(CMAKE_FIND_ROOT_PATH /usr/i686-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)

# Code of the kernel may use the x87 between a save and a restore of its state, and neither MMX nor
# SSE. Nothing unwinds, nothing asks for a type at run time, nothing is constructed statically, and
# there is no errno for a root of a negative number.
set(CMAKE_CXX_FLAGS_INIT
    "-march=i686 -mfpmath=387 -mno-sse -mno-mmx -fno-exceptions -fno-rtti -fno-threadsafe-statics \
-fno-asynchronous-unwind-tables -fno-stack-protector -fno-math-errno")
foreach(kind C CXX)
  set(CMAKE_${kind}_STANDARD_LIBRARIES "" CACHE STRING "")
endforeach()
