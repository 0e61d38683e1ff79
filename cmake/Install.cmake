# Installs the headers, the library, a pkg-config file and a CMake package (find_package(tangor-common)
# gives the target tangor::common).
include(CMakePackageConfigHelpers)

set(tangor_cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/tangor-common)

install(TARGETS tangor-common EXPORT tangor-common-targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
)
install(DIRECTORY include/tangor DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT tangor-common-targets
  NAMESPACE tangor::
  FILE tangor-common-targets.cmake
  DESTINATION ${tangor_cmake_dir}
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
)

# Relocatable: the prefix is found from where the .pc file itself lies.
set(tangor_pc_requires_private "sqlite3 glib-2.0 libutf8proc")
if(TANGOR_WITH_DLT)
  string(APPEND tangor_pc_requires_private " automotive-dlt")
endif()
file(RELATIVE_PATH tangor_pc_to_prefix "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file(cmake/tangor-common.pc.in ${PROJECT_BINARY_DIR}/tangor-common.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/tangor-common.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
