# What every target of this project is compiled with.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)

add_library(zr_options INTERFACE)
target_include_directories(zr_options INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(
  zr_options
  INTERFACE -Wall -Wextra -Wconversion -Werror
            # clang counts sign conversions to -Wconversion, gcc does not.
            -Wno-sign-conversion
            # A fused multiply-add would skip a rounding that belongs to the result.
            -ffp-contract=off)
