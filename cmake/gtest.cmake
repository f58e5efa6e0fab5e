# GoogleTest as Debian packages it; for a processor that it isn't packaged for, as the 32-bit build, from the sources
# that libgtest-dev brings.
find_package(GTest CONFIG QUIET)
if(NOT GTest_FOUND)
  find_path(GTEST_SOURCES googletest/CMakeLists.txt PATHS /usr/src REQUIRED PATH_SUFFIXES googletest)
  set(INSTALL_GTEST OFF)
  add_subdirectory(${GTEST_SOURCES}/googletest gtest EXCLUDE_FROM_ALL SYSTEM)
endif()
