# GoogleTest from its sources: the archive that Debian installs is for the processor that builds.
include(FetchContent)
set(INSTALL_GTEST OFF)
set(BUILD_GMOCK OFF)
FetchContent_Declare(GTest SOURCE_DIR /usr/src/googletest OVERRIDE_FIND_PACKAGE)
