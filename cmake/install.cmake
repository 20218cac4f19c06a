# Headers, library, pkg-config file and CMake package, all found relative to where they lie, so that
# an installed tree can be moved.
include(CMakePackageConfigHelpers)

install(TARGETS qvds EXPORT qvds-targets)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/qvds TYPE INCLUDE)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/qvds)
install(EXPORT qvds-targets NAMESPACE qvds:: FILE qvds-config.cmake DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qvds-config-version.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qvds-config-version.cmake DESTINATION ${package_dir})

file(RELATIVE_PATH pc_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" pc_prefix "${pc_prefix}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/qvds.pc.in ${PROJECT_BINARY_DIR}/qvds.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qvds.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
