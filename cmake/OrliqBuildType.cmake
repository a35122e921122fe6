# SPDX-License-Identifier: Apache-2.0
# Whoever names no build type gets the library optimised: without, it is six times slower. A build
# type, a generator of several, or an optimisation level in the flags is a choice and is left alone.
get_directory_property(inherited_options COMPILE_OPTIONS)
if(CMAKE_BUILD_TYPE OR CMAKE_CONFIGURATION_TYPES OR
   "${CMAKE_CXX_FLAGS};${inherited_options}" MATCHES "(^|[ \t;])-O")
  set(ORLIQ_UNNAMED_BUILD_OPTIONS "")
elseif(PROJECT_SOURCE_DIR STREQUAL CMAKE_SOURCE_DIR)
  message(STATUS "multi_driver: no build type is named, so it is Release")
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Release, Debug, RelWithDebInfo, MinSizeRel or None" FORCE)
else()
  # The build type belongs to the project that embeds this one: only this one's targets are optimised.
  message(STATUS "multi_driver: no build type is named, so its targets are built as in Release")
  separate_arguments(ORLIQ_UNNAMED_BUILD_OPTIONS NATIVE_COMMAND "${CMAKE_CXX_FLAGS_RELEASE}")
  set(ORLIQ_UNNAMED_BUILD_OPTIONS "$<$<STREQUAL:$<CONFIG>,>:${ORLIQ_UNNAMED_BUILD_OPTIONS}>")
endif()
