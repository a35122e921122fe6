# SPDX-License-Identifier: Apache-2.0
# What an installation holds, in three components: runtime, development and tools. All of it may be
# moved elsewhere afterwards.
include(CMakePackageConfigHelpers)
set(cmake_folder "${CMAKE_INSTALL_LIBDIR}/cmake/multi_driver")
set(templates "${PROJECT_SOURCE_DIR}/cmake/install")
set(made "${PROJECT_BINARY_DIR}/install")

install(TARGETS multi_driver multi_driver_static EXPORT multi_driverTargets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT development)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/include/" "${PROJECT_BINARY_DIR}/include/"
  DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT development FILES_MATCHING PATTERN "*.h")

install(EXPORT multi_driverTargets NAMESPACE multi_driver:: DESTINATION "${cmake_folder}"
  COMPONENT development)
configure_package_config_file("${templates}/multi_driverConfig.cmake.in"
  "${made}/multi_driverConfig.cmake" INSTALL_DESTINATION "${cmake_folder}"
  NO_SET_AND_CHECK_MACRO)
# Before 1.0 any release with a new second number may change the interface.
write_basic_package_version_file("${made}/multi_driverConfigVersion.cmake"
  COMPATIBILITY SameMinorVersion)
install(FILES "${made}/multi_driverConfig.cmake" "${made}/multi_driverConfigVersion.cmake"
  "${PROJECT_SOURCE_DIR}/cmake/FindPCAP.cmake"
  DESTINATION "${cmake_folder}" COMPONENT development)

file(RELATIVE_PATH ORLIQ_PREFIX_FROM_PC
  "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
string(REGEX REPLACE "/$" "" ORLIQ_PREFIX_FROM_PC "${ORLIQ_PREFIX_FROM_PC}")
foreach(folder IN ITEMS LIBDIR INCLUDEDIR)  # packagers give absolute ones, too
  file(RELATIVE_PATH ORLIQ_${folder}_FROM_PREFIX
    "${CMAKE_INSTALL_PREFIX}" "${CMAKE_INSTALL_FULL_${folder}}")
endforeach()
configure_file("${templates}/multi_driver.pc.in" "${made}/multi_driver.pc" @ONLY)
install(FILES "${made}/multi_driver.pc"
  DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)

if(TARGET orliq)
  install(TARGETS orliq RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT tools)
endif()
