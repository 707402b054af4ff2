# zr_add_driver_binary(NAME RESOURCE file LIBRARIES library...): NAME.sys, which the kernel loads at
# DriverEntry.
function(zr_add_driver_binary name)
  cmake_parse_arguments(ARG "" "RESOURCE" "LIBRARIES" ${ARGN})
  enable_language(RC)
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
      # The same sources give the same file.
      -Wl,--no-insert-timestamp)
endfunction()
