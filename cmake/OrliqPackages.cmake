# SPDX-License-Identifier: Apache-2.0
# Three Debian packages, one of each component: cmake --preset package, then cpack in its build folder.
set(ORLIQ_PACKAGE_CONTACT "libmulti_driver maintainers <maintainers@example.org>"
    CACHE STRING "Who answers for the packages")
set(runtime_package libmulti-driver${ORLIQ_ABI})
set(development_package libmulti-driver-dev)
set(tools_package orliq)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME libmulti-driver)  # the source of all three
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each has its own
set(CPACK_PACKAGE_CONTACT "${ORLIQ_PACKAGE_CONTACT}")
set(CPACK_COMPONENTS_ALL runtime development tools)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
    GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SOURCE ${CPACK_PACKAGE_NAME})
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(version "${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/cmake/debian/triggers")
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "LiDAR driver library for robots
Turns a sensor's UDP packets, live or from a capture file, into complete,
calibrated point-cloud frames; several sensors become one cloud.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${development_package})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${runtime_package} (= ${version}), libpcap-dev")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "LiDAR driver library for robots - development files
Headers, the static library, and what CMake and pkg-config need to find
the driver library.")
set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME ${tools_package})
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "simulates, receives, records and plays LiDAR sensors
A program for the command line with a synthetic sensor of each model, a
live decoder, and a doctor for what is wrong between sensor and robot.")

# Copyright and changelog, which each package holds in a folder of its own.
set(made "${PROJECT_BINARY_DIR}/debian")
configure_file("${PROJECT_SOURCE_DIR}/cmake/debian/changelog.in" "${made}/changelog.Debian" @ONLY)
configure_file("${PROJECT_SOURCE_DIR}/CHANGELOG.md" "${made}/changelog" COPYONLY)
execute_process(COMMAND gzip -9nf changelog.Debian changelog WORKING_DIRECTORY "${made}"
                COMMAND_ERROR_IS_FATAL ANY)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  install(FILES "${made}/changelog.Debian.gz" "${made}/changelog.gz"
          "${PROJECT_SOURCE_DIR}/cmake/debian/copyright"
          DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/${${component}_package}"
          COMPONENT ${component})
endforeach()

include(CPack)
