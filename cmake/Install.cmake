# Installs the headers, the library, a pkg-config file and a CMake package (find_package(tangor-common)
# gives the target tangor::common), and the programs' manual pages. Each rule names its component,
# which becomes one Debian package (cmake/Packaging.cmake): runtime, dev, tools (when built).
include(CMakePackageConfigHelpers)

set(tangor_cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/tangor-common)

install(TARGETS tangor-common EXPORT tangor-common-targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
)
install(DIRECTORY include/tangor DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)
install(EXPORT tangor-common-targets
  NAMESPACE tangor::
  FILE tangor-common-targets.cmake
  DESTINATION ${tangor_cmake_dir}
  COMPONENT dev
)

configure_package_config_file(cmake/tangor-common-config.cmake.in
  ${PROJECT_BINARY_DIR}/tangor-common-config.cmake
  INSTALL_DESTINATION ${tangor_cmake_dir}
)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/tangor-common-config-version.cmake
  COMPATIBILITY SameMajorVersion
)
install(FILES
  ${PROJECT_BINARY_DIR}/tangor-common-config.cmake
  ${PROJECT_BINARY_DIR}/tangor-common-config-version.cmake
  DESTINATION ${tangor_cmake_dir}
  COMPONENT dev
)

# Relocatable: the prefix is found from where the .pc file itself lies.
set(tangor_pc_requires_private "sqlite3 glib-2.0 libutf8proc")
if(TANGOR_WITH_DLT)
  string(APPEND tangor_pc_requires_private " automotive-dlt")
endif()
file(RELATIVE_PATH tangor_pc_to_prefix "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file(cmake/tangor-common.pc.in ${PROJECT_BINARY_DIR}/tangor-common.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/tangor-common.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT dev)

# Manual pages, compressed as Debian installs them.
if(TANGOR_BUILD_TOOLS)
  find_program(TANGOR_GZIP gzip REQUIRED)
  set(tangor_man_pages tangor-index.1 tangor-mkdic.1 make-sample-library.1)
  set(tangor_compressed_man_pages)
  foreach(page IN LISTS tangor_man_pages)
    set(compressed ${PROJECT_BINARY_DIR}/man/${page}.gz)
    add_custom_command(OUTPUT ${compressed}
      COMMAND ${CMAKE_COMMAND} -E copy ${PROJECT_SOURCE_DIR}/docs/man/${page}
              ${PROJECT_BINARY_DIR}/man/${page}
      COMMAND ${TANGOR_GZIP} -9 -n -f ${PROJECT_BINARY_DIR}/man/${page}
      DEPENDS ${PROJECT_SOURCE_DIR}/docs/man/${page}
      VERBATIM)
    list(APPEND tangor_compressed_man_pages ${compressed})
  endforeach()
  add_custom_target(tangor-man-pages ALL DEPENDS ${tangor_compressed_man_pages})
  install(FILES ${tangor_compressed_man_pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
          COMPONENT tools)
endif()
