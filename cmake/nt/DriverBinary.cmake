# zr_add_driver_binary(NAME RESOURCE file INF file LIBRARIES library...): NAME.sys, which the kernel
# loads at DriverEntry, and its installation file NAME.inf.
function(zr_add_driver_binary name)
  cmake_parse_arguments(ARG "" "RESOURCE;INF" "LIBRARIES" ${ARGN})
  enable_language(RC)
  find_package(Python3 REQUIRED COMPONENTS Interpreter)
  configure_file(${ARG_RESOURCE} ${name}.rc @ONLY)
  add_executable(${name} ${CMAKE_CURRENT_BINARY_DIR}/${name}.rc)
  set_target_properties(${name} PROPERTIES SUFFIX .sys LINKER_LANGUAGE CXX)
  target_link_libraries(${name} PRIVATE ${ARG_LIBRARIES} gcc)
  target_link_options(
    ${name}
    PRIVATE
      -nostdlib
      -Wl,--entry,_DriverEntry@8
      -Wl,--undefined,_DriverEntry@8
      -Wl,--subsystem,native:5.1
      -Wl,--major-os-version,5,--minor-os-version,1
      # Loaded wherever there is room.
      -Wl,--image-base,0x10000
      -Wl,--dynamicbase
      -Wl,--wdmdriver
      # The same sources give the same file.
      -Wl,--no-insert-timestamp)
  add_custom_command(
    TARGET ${name}
    POST_BUILD
    COMMAND Python3::Interpreter ${PROJECT_SOURCE_DIR}/cmake/nt/finish_driver.py
            $<TARGET_FILE:${name}>
    VERBATIM)
  # With the line ends of its system.
  configure_file(${ARG_INF} ${name}.inf @ONLY NEWLINE_STYLE WIN32)
endfunction()
