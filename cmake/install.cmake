include(CMakePackageConfigHelpers)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/zqcore27)
set(ZQCORE27_ZSH_DIR ${CMAKE_INSTALL_DATADIR}/zsh/site-functions CACHE STRING "Where the completion for zsh is installed")

install(TARGETS zqcore27 EXPORT zqcore27Targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(EXPORT zqcore27Targets NAMESPACE zqcore27:: DESTINATION ${package_dir} COMPONENT development)

configure_package_config_file(cmake/zqcore27Config.cmake.in zqcore27Config.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(zqcore27ConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zqcore27Config.cmake ${CMAKE_CURRENT_BINARY_DIR}/zqcore27ConfigVersion.cmake
  DESTINATION ${package_dir} COMPONENT development)

# Relative, so that an installed copy may be moved.
file(RELATIVE_PATH prefix_from_pc /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/zqcore27.pc.in zqcore27.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zqcore27.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT development)

# gdb loads a library's printers from its auto-load directory, under the library's own absolute path. The destination
# depends on the prefix, which is known when the installation runs.
install(CODE "
  set(library_dir \"${CMAKE_INSTALL_LIBDIR}\")
  cmake_path(ABSOLUTE_PATH library_dir BASE_DIRECTORY \"\${CMAKE_INSTALL_PREFIX}\")
  set(data_dir \"${CMAKE_INSTALL_DATADIR}\")
  cmake_path(ABSOLUTE_PATH data_dir BASE_DIRECTORY \"\${CMAKE_INSTALL_PREFIX}\")
  file(INSTALL DESTINATION \"\${data_dir}/gdb/auto-load\${library_dir}\" TYPE FILE
    FILES \"${PROJECT_SOURCE_DIR}/share/gdb/zqcore27-gdb.py\" RENAME \"libzqcore27.so.${PROJECT_VERSION}-gdb.py\")" COMPONENT runtime)

if(ZQCORE27_TOOLS)
  install(FILES docs/man/zqtool.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
  install(FILES docs/man/zqcore27-armour.5 docs/man/zqcore27-catalogue.5 docs/man/zqcore27-config.5
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man5 COMPONENT tools)
  install(FILES share/completions/zqtool.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
    RENAME zqtool COMPONENT tools)
  install(FILES share/completions/_zqtool DESTINATION ${ZQCORE27_ZSH_DIR} COMPONENT tools)
  install(FILES share/vim/syntax/zqcore27.vim DESTINATION ${CMAKE_INSTALL_DATADIR}/vim/vimfiles/syntax COMPONENT tools)
  install(FILES share/textmate/zqcore27.tmLanguage.json DESTINATION ${CMAKE_INSTALL_DATADIR}/zqcore27 COMPONENT tools)
endif()
