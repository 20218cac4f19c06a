# Headers, libraries, pkg-config file and CMake package, all found relative to where they lie, so that
# an installed tree can be moved. `cmake --install DIR --component NAME` installs a part alone:
#   runtime      what a program needs to run
#   development  what it takes to build one
#   doc          what there is to read
# An install() that names none would be left out of all three.
include(CMakePackageConfigHelpers)

install(TARGETS qvds_static EXPORT qvds-targets ARCHIVE COMPONENT development)
if(BUILD_SHARED_LIBS)
  install(TARGETS qvds EXPORT qvds-targets
          LIBRARY COMPONENT runtime NAMELINK_COMPONENT development)
endif()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/qvds TYPE INCLUDE COMPONENT development)

# A project that holds a copy of the library may have left these out.
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md TYPE DOC
        COMPONENT doc OPTIONAL)
foreach(folder docs examples)
  file(GLOB readable ${PROJECT_SOURCE_DIR}/${folder}/*.md ${PROJECT_SOURCE_DIR}/${folder}/*.svg
       ${PROJECT_SOURCE_DIR}/${folder}/*.[ch] ${PROJECT_SOURCE_DIR}/${folder}/*.[ch]pp)
  list(FILTER readable EXCLUDE REGEX "/docs/(index|qvds|examples)\\.md$") # made for the site
  install(FILES ${readable} DESTINATION ${CMAKE_INSTALL_DOCDIR}/${folder} COMPONENT doc)
endforeach()

set(man_pages ${PROJECT_SOURCE_DIR}/build/docs/man)
install(DIRECTORY ${man_pages}/ DESTINATION ${CMAKE_INSTALL_MANDIR} COMPONENT doc OPTIONAL)
install(CODE "if(NOT EXISTS [[${man_pages}]])
    message(STATUS \"The man pages are left out: ./dev docs makes them\")
  endif()" COMPONENT doc)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/qvds)
install(EXPORT qvds-targets NAMESPACE qvds:: DESTINATION ${package_dir} COMPONENT development)
configure_file(cmake/qvds-config-version.cmake.in qvds-config-version.cmake @ONLY)
install(FILES cmake/qvds-config.cmake ${PROJECT_BINARY_DIR}/qvds-config-version.cmake
        DESTINATION ${package_dir} COMPONENT development)

# pkg-config leaves out the flags that name the compiler's own folders, but only where it sees them
# in their plain form: under /usr the prefix is spelt out.
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH pc_prefix /${pkgconfig_dir} /)
string(REGEX REPLACE "/$" "" pc_prefix "\${pcfiledir}/${pc_prefix}")
configure_file(cmake/qvds.pc.in qvds.pc @ONLY)
set(pc_prefix /usr)
configure_file(cmake/qvds.pc.in usr/qvds.pc @ONLY)
install(CODE "set(pkgconfig_dir [[${pkgconfig_dir}]])\nset(pc_dir [[${PROJECT_BINARY_DIR}]])"
        COMPONENT development)
install(CODE [[
  if(CMAKE_INSTALL_PREFIX STREQUAL "/usr" AND NOT IS_ABSOLUTE ${pkgconfig_dir})
    string(APPEND pc_dir /usr)
  endif()
  cmake_path(ABSOLUTE_PATH pkgconfig_dir BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX})
  file(INSTALL ${pc_dir}/qvds.pc DESTINATION ${pkgconfig_dir})
]] COMPONENT development)
