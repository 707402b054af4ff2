# zr_add_fuzz_target(NAME source... RUNS n LIBRARIES library...): a program around one
# LLVMFuzzerTestOneInput. libFuzzer drives it where the compiler brings it; elsewhere the bounded
# driver of this project feeds it seeded random inputs. CTest runs n inputs either way.
function(zr_add_fuzz_target name)
  cmake_parse_arguments(ARG "" "RUNS" "LIBRARIES" ${ARGN})
  add_executable(${name} ${ARG_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PRIVATE zr_options ${ARG_LIBRARIES})
  if(ZR_LIBFUZZER)
    target_compile_options(${name} PRIVATE -fsanitize=fuzzer)
    target_link_options(${name} PRIVATE -fsanitize=fuzzer)
  else()
    target_sources(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests/fuzz/bounded_driver.cpp)
  endif()
  add_test(NAME ${name} COMMAND ${name} -runs=${ARG_RUNS} -seed=1 -max_len=4096
                                        -len_control=0)
endfunction()
