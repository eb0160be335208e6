# `cmake --install` installs the headers, the libraries, the programs and `find_package(Orvane)`.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(DIRECTORY include/orvane DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
    FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")
install(TARGETS orvane EXPORT OrvaneTargets ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS orvane_client EXPORT OrvaneClientTargets ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS orvane_c orvane_client_c EXPORT OrvaneCTargets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS orvane_cli orvane_host RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
if(WIN32)  # a program finds only libraries beside it
    install(PROGRAMS ${orvaneRuntimeFiles} DESTINATION ${CMAKE_INSTALL_BINDIR})
elseif(ORVANE_PACKAGE)
    install(PROGRAMS ${orvaneRuntimeFiles} DESTINATION ${CMAKE_INSTALL_LIBDIR})
endif()
if(NOT WIN32)
    install(FILES ${PROJECT_BINARY_DIR}/orvane.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
    install(FILES ${PROJECT_BINARY_DIR}/orvane.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
        RENAME orvane)
    install(FILES ${PROJECT_BINARY_DIR}/_orvane DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
    install(FILES ${PROJECT_BINARY_DIR}/orvane.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
endif()

if(ORVANE_PACKAGE)
    # To link, a program needs only the libraries of the unpacked folder.
    get_target_property(runtimeLibrary ${openvinoTarget} LOCATION)
    cmake_path(GET runtimeLibrary FILENAME runtimeName)
    set(runtimePlace "IMPORTED_LOCATION \${PACKAGE_PREFIX_DIR}/lib/${runtimeName}")
    if(WIN32)
        set(runtimePlace "IMPORTED_LOCATION \${PACKAGE_PREFIX_DIR}/bin/${runtimeName} \
        IMPORTED_IMPLIB \${PACKAGE_PREFIX_DIR}/lib/openvino_c.lib")
    endif()
    set(findOpenvino "if(NOT TARGET ${openvinoTarget})
        add_library(${openvinoTarget} SHARED IMPORTED)
        set_target_properties(${openvinoTarget} PROPERTIES ${runtimePlace})
    endif()")
else()
    # The consumer's -DOpenVINO_DIR=... has priority.
    set(findOpenvino "find_dependency(OpenVINO ${OpenVINO_VERSION} COMPONENTS Runtime HINTS \"${OpenVINO_DIR}\")")
endif()
set(packageFolder ${CMAKE_INSTALL_LIBDIR}/cmake/Orvane)
install(EXPORT OrvaneTargets NAMESPACE Orvane:: DESTINATION ${packageFolder})
install(EXPORT OrvaneClientTargets NAMESPACE Orvane:: DESTINATION ${packageFolder})
install(EXPORT OrvaneCTargets NAMESPACE Orvane:: DESTINATION ${packageFolder})
configure_package_config_file(cmake/OrvaneConfig.cmake.in OrvaneConfig.cmake INSTALL_DESTINATION ${packageFolder})
write_basic_package_version_file(OrvaneConfigVersion.cmake COMPATIBILITY SameMinorVersion)
configure_file(cmake/orvane.pc.in orvane.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/orvane.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
install(FILES ${PROJECT_BINARY_DIR}/OrvaneConfig.cmake ${PROJECT_BINARY_DIR}/OrvaneConfigVersion.cmake
    DESTINATION ${packageFolder})
