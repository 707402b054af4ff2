# find_package(ZRPrimitives): the targets ZRPrimitives::shared and ZRPrimitives::static.
include(${CMAKE_CURRENT_LIST_DIR}/ZRPrimitivesTargets.cmake)

# A project of C alone is linked by the C compiler, which does not bring what C++ objects need.
get_property(ZRPrimitives_languages GLOBAL PROPERTY ENABLED_LANGUAGES)
if(NOT CXX IN_LIST ZRPrimitives_languages)
  set_property(TARGET ZRPrimitives::static APPEND PROPERTY INTERFACE_LINK_LIBRARIES stdc++ m)
endif()
