# `cmake --install` gives the headers, the libraries, the programs and `find_package(Orvane)`.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(DIRECTORY core/include/orvane sdk/c/include/orvane DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
    FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")
install(TARGETS orvane EXPORT OrvaneTargets ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS orvane_client EXPORT OrvaneClientTargets ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS orvane_c orvane_client_c EXPORT OrvaneCTargets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS orvane_cli orvane_host RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

if(NOT ORVANE_PACKAGE)
    set(openvinoHint "HINTS \"${OpenVINO_DIR}\"")
endif()
set(packageFolder ${CMAKE_INSTALL_LIBDIR}/cmake/Orvane)
install(EXPORT OrvaneTargets NAMESPACE Orvane:: DESTINATION ${packageFolder})
install(EXPORT OrvaneClientTargets NAMESPACE Orvane:: DESTINATION ${packageFolder})
install(EXPORT OrvaneCTargets NAMESPACE Orvane:: DESTINATION ${packageFolder})
configure_package_config_file(cmake/OrvaneConfig.cmake.in OrvaneConfig.cmake INSTALL_DESTINATION ${packageFolder})
write_basic_package_version_file(OrvaneConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/OrvaneConfig.cmake ${PROJECT_BINARY_DIR}/OrvaneConfigVersion.cmake
    DESTINATION ${packageFolder})
