# What an installed copy holds, so that find_package(kvtfile CONFIG) and pkg-config find the library and its headers.
include(CMakePackageConfigHelpers)

install(TARGETS kvtfile EXPORT kvtfile-targets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/kvtfile DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
# The stand-in types are part of the interface; types.h finds them beside itself.
install(DIRECTORY platform/mfc DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kvtfile/platform
    FILES_MATCHING PATTERN "*.h" PATTERN "*.inc")
install(FILES platform/companion/zqolecad.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kvtfile/platform/companion)
if(NOT WIN32)
    install(DIRECTORY platform/win32 DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kvtfile/platform
        FILES_MATCHING PATTERN "win*.h")
endif()

install(EXPORT kvtfile-targets NAMESPACE kvtfile:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/kvtfile)
configure_package_config_file(cmake/kvtfile-config.cmake.in ${PROJECT_BINARY_DIR}/kvtfile-config.cmake
    INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/kvtfile)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/kvtfile-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/kvtfile-config.cmake ${PROJECT_BINARY_DIR}/kvtfile-config-version.cmake
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/kvtfile)
# The prefix is told from where the file lies, so that it holds after "cmake --install --prefix" and after a move.
string(REGEX REPLACE "[^/]+" ".." kvtfile_prefix_from_pc "/${CMAKE_INSTALL_LIBDIR}/pkgconfig")
configure_file(cmake/kvtfile.pc.in ${PROJECT_BINARY_DIR}/kvtfile.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kvtfile.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
