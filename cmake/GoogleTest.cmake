# GoogleTest from the sources that Debian's googletest package installs, built with the flags of the
# preset: that serves 32 bits and the sanitizers alike.

set(ZR_GOOGLETEST_DIR /usr/src/googletest CACHE PATH "Source tree of GoogleTest")
set(INSTALL_GTEST OFF CACHE INTERNAL "")
set(BUILD_GMOCK ON CACHE INTERNAL "")
add_subdirectory(${ZR_GOOGLETEST_DIR} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
include(GoogleTest)

# zr_add_test(NAME source... LIBRARIES library...): one GoogleTest program, its cases run by CTest.
function(zr_add_test name)
  cmake_parse_arguments(ARG "" "" "LIBRARIES" ${ARGN})
  add_executable(${name} ${ARG_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PRIVATE zr_options ${ARG_LIBRARIES} gmock_main)
  gtest_discover_tests(${name} TEST_PREFIX "${name}." DISCOVERY_TIMEOUT 60)
endfunction()
