# Debian packages, by cpack in a build of the preset `package`; scripts/package builds, checks and compares them.
set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL runtime development tools)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_DEBIAN_DEBUGINFO_PACKAGE ON)  # strips, and keeps what was stripped in packages of their own
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
# The place of gdb's printers depends on the prefix, so it must be the one on the user's machine.
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})

set(CPACK_PACKAGE_NAME zqcore27)
# Debian wants an address; there is none yet, and this one can belong to nobody.
set(CPACK_PACKAGE_CONTACT "zqcore27 maintainers <maintainers@zqcore27.example>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_CURRENT_BINARY_DIR}/zqcore27)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(version "${PROJECT_VERSION}-1")
set(runtime libzqcore27-${PROJECT_VERSION_MAJOR})

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS zqtool)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "common base of servers and tools, run-time library
Text, errors that are worded late in the language of their reader, paths and
files, a configuration reader, locks and threads, and a block store with a
tree.

This package holds the shared library, and what shows its objects in gdb. The
words of its errors come with zqtool.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libzqcore27-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${runtime} (= ${version})")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_RECOMMENDS zqtool)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "common base of servers and tools, development files
Text, errors that are worded late in the language of their reader, paths and
files, a configuration reader, locks and threads, and a block store with a
tree.

This package holds the headers, and what CMake and pkg-config need to find
the library.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME zqtool)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${runtime} (= ${version})")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "checks configuration files and explains errors of zqcore27 programs
For people who run programs that are built on the zqcore27 library. zqtool
finds the errors of configuration files, tells what the code of an error
means, and makes and checks catalogues of texts.

This package also holds the texts of the library in English, French, German
and Japanese, and syntax files for editors.")

# The control files that cpack doesn't write by itself, and what Debian wants of documents.
configure_file(packaging/prepare.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/packaging/prepare.cmake @ONLY)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_BINARY_DIR}/packaging/prepare.cmake)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
  ${CMAKE_CURRENT_BINARY_DIR}/packaging/shlibs ${CMAKE_CURRENT_BINARY_DIR}/packaging/symbols
  ${CMAKE_CURRENT_BINARY_DIR}/packaging/triggers)
include(CPack)
