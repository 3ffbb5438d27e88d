# Headers, both libraries, the CMake package and the pkg-config file.
include(CMakePackageConfigHelpers)

install(DIRECTORY include/configstore DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")

# One export each: a client of the shared library needs nothing of SQLite.
set(package_directory ${CMAKE_INSTALL_LIBDIR}/cmake/configstore)
install(TARGETS configstore EXPORT configstoreTargets)
install(TARGETS configstore_static EXPORT configstoreStaticTargets)
foreach(export configstoreTargets configstoreStaticTargets)
  install(EXPORT ${export} NAMESPACE configstore:: DESTINATION ${package_directory})
endforeach()

configure_package_config_file(cmake/configstoreConfig.cmake.in configstoreConfig.cmake
                              INSTALL_DESTINATION ${package_directory})
write_basic_package_version_file(configstoreConfigVersion.cmake COMPATIBILITY SameMajorVersion)

# The file finds the prefix from where it lies, so that an installed tree can move.
file(RELATIVE_PATH prefix_from_pkgconfig /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/configstore.pc.in configstore.pc @ONLY)

install(FILES ${PROJECT_BINARY_DIR}/configstoreConfig.cmake ${PROJECT_BINARY_DIR}/configstoreConfigVersion.cmake
        DESTINATION ${package_directory})
install(FILES ${PROJECT_BINARY_DIR}/configstore.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
