# SPDX-License-Identifier: MIT
# Installs the wire layer's headers and a CMake package, so that outside code
# can find_package(Tallywick CONFIG REQUIRED) and link Tallywick::core.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS tallywick_model tallywick_protocol
        EXPORT TallywickTargets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/src/model/include/tallywick
                  ${PROJECT_SOURCE_DIR}/src/protocol/include/tallywick
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development
        FILES_MATCHING PATTERN "*.h")
install(FILES ${PROJECT_BINARY_DIR}/src/model/include/tallywick/model/TallywickVersion.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tallywick/model COMPONENT development)
install(EXPORT TallywickTargets
        NAMESPACE Tallywick::
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Tallywick COMPONENT development)

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/TallywickConfig.cmake.in
  ${PROJECT_BINARY_DIR}/TallywickConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Tallywick)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/TallywickConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/TallywickConfig.cmake
              ${PROJECT_BINARY_DIR}/TallywickConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Tallywick COMPONENT development)
