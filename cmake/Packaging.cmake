# Debian packages with CPack, one per install component (configure with
# -DCMAKE_INSTALL_PREFIX=/usr, then `cpack -G DEB` in the build folder; tools/build-packages does
# both):
#   runtime       libtangor-common0        the shared library (its SONAME's major version)
#   dev           libtangor-common-dev     headers, CMake package, pkg-config file
#   tools         tangor-tools             tangor-index, tangor-mkdic, make-sample-library, man pages
#   dictionaries  tangor-dictionaries-zh   the Chinese dictionaries at their fixed paths, when the
#                                          build installs any
# Each package carries its copyright file and changelog, as Debian asks of every package.

set(tangor_package_components runtime dev)
if(TANGOR_BUILD_TOOLS)
  list(APPEND tangor_package_components tools)
endif()
get_cmake_property(tangor_install_components COMPONENTS)
if(dictionaries IN_LIST tangor_install_components)
  list(APPEND tangor_package_components dictionaries)
endif()
foreach(component IN LISTS tangor_install_components)
  if(NOT component IN_LIST tangor_package_components)
    message(WARNING "install component '${component}' is in no Debian package")
  endif()
endforeach()

set(CPACK_PACKAGE_NAME tangor-common)
set(CPACK_PACKAGE_VENDOR "tangor-common developers")
# The project has no public address yet: the contact field is required, this one reaches nobody.
set(CPACK_PACKAGE_CONTACT "tangor-common maintainers <maintainers@tangor.invalid>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL ${tangor_package_components})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE tangor-common)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_STRIP_FILES ON)
# Dependencies: dpkg-shlibdeps for the libraries the programs link (ours found in the build folder),
# and each component's own (ENABLE_COMPONENT_DEPENDS) at the same version.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
# Other programs built against this version accept any later one with the same SONAME.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(tangor_runtime_package libtangor-common${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${tangor_runtime_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
# The dynamic loader's cache is refreshed by dpkg's trigger (CPack's own ldconfig calls in postinst
# and postrm stay: lintian warns of them, harmlessly).
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/triggers)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
  "media databases, track records and phonetic readings (library)
The shared library of a media indexer for embedded head units: one SQLite
media database per removable device, normalised track records with stable
identifiers, and phonetic readings for the Chinese and Japanese markets.
Its log records go to DLT when a DLT daemon runs.")

# The .pc file's Requires.private must resolve for pkg-config --cflags: its -dev packages come
# along.
set(tangor_dev_depends "libsqlite3-dev, libglib2.0-dev, libutf8proc-dev")
if(TANGOR_WITH_DLT)
  string(APPEND tangor_dev_depends ", libdlt-dev")
endif()
set(CPACK_DEBIAN_DEV_PACKAGE_NAME libtangor-common-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS ${tangor_dev_depends})
set(CPACK_COMPONENT_DEV_DEPENDS runtime)
set(CPACK_COMPONENT_DEV_DESCRIPTION
  "media databases, track records and phonetic readings (development files)
Headers, the CMake package (find_package(tangor-common), target
tangor::common) and the pkg-config file (tangor-common) of libtangor-common.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME tangor-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_COMPONENT_TOOLS_DEPENDS runtime)
set(CPACK_COMPONENT_TOOLS_DESCRIPTION
  "reference media indexer and its helper programs
tangor-index keeps a device's media database up to date with the audio files
and playlists of its partitions; tangor-mkdic builds the dictionary pair of
the built-in conversion engine from a word list; make-sample-library writes a
small music library of silent, tagged audio files.")

set(CPACK_DEBIAN_DICTIONARIES_PACKAGE_NAME tangor-dictionaries-zh)
set(CPACK_DEBIAN_DICTIONARIES_PACKAGE_SECTION misc)
set(CPACK_DEBIAN_DICTIONARIES_PACKAGE_ARCHITECTURE all)
set(CPACK_COMPONENT_DICTIONARIES_DESCRIPTION
  "Chinese phonetic dictionaries of libtangor-common
The pinyin (mainland China) and bopomofo (Taiwan) dictionary pairs that
libtangor-common reads at its fixed paths below /opt/hmi/data/ro/FEP/dic.")

# The copyright file and the changelog of each package, in the package's own documentation folder.
# Only a component install (as CPack makes) writes them; a plain `cmake --install` leaves them out.
# The dictionaries, made from open data, have a copyright file of their own that names its
# licences.
string(TIMESTAMP tangor_changelog_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(${PROJECT_SOURCE_DIR}/packaging/changelog.in ${PROJECT_BINARY_DIR}/packaging/changelog
               @ONLY)
find_program(TANGOR_GZIP gzip REQUIRED)
add_custom_command(OUTPUT ${PROJECT_BINARY_DIR}/packaging/changelog.gz
  COMMAND ${TANGOR_GZIP} -9 -n -k -f ${PROJECT_BINARY_DIR}/packaging/changelog
  DEPENDS ${PROJECT_BINARY_DIR}/packaging/changelog
  VERBATIM)
add_custom_target(tangor-changelog ALL DEPENDS ${PROJECT_BINARY_DIR}/packaging/changelog.gz)
foreach(component IN LISTS tangor_package_components)
  string(TOUPPER ${component} upper)
  set(copyright ${PROJECT_SOURCE_DIR}/packaging/copyright)
  if(component STREQUAL "dictionaries")
    set(copyright ${PROJECT_SOURCE_DIR}/packaging/dictionaries.copyright)
  endif()
  install(FILES ${PROJECT_BINARY_DIR}/packaging/changelog.gz
    DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME}
    COMPONENT ${component} EXCLUDE_FROM_ALL)
  install(FILES ${copyright} RENAME copyright
    DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME}
    COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()
# Debian keeps data in /usr/share, not /opt; the head unit's fixed paths are the point of the
# dictionaries package.
if(dictionaries IN_LIST tangor_package_components)
  install(FILES ${PROJECT_SOURCE_DIR}/packaging/tangor-dictionaries-zh.lintian-overrides
    DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME tangor-dictionaries-zh
    COMPONENT dictionaries EXCLUDE_FROM_ALL)
endif()

include(CPack)
