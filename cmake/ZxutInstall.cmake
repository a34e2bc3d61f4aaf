# What `cmake --install` puts where, and the packages CPack makes of it:
#
#   bin/zxut (zxut.exe, zxUT22.dll)       the tool (and on Windows the library)
#   lib/libzxUT22.so.22.5 + .so.22 + .so   the library, its SONAME libzxUT22.so.22
#   lib/libzxUT22.dll.a, lib/zxUT22.def    Windows: the import library and the export list
#   include/zxUT22.h, include/zxut22/*.h   the public headers
#   lib/cmake/zxUT22/                      find_package(zxUT22 CONFIG): zxUT22::zxUT22
#   lib/pkgconfig/zxUT22.pc                pkg-config zxUT22
#
# (folders from GNUInstallDirs). The layers, tests, benchmarks and fuzzers are not
# installed. `cpack` makes zxut22_<version>_amd64.deb on Linux and the Windows kit
# zxUT22-<version>-win64.zip.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(_cmakedir ${CMAKE_INSTALL_LIBDIR}/cmake/zxUT22)

if(NOT WIN32)
  set_target_properties(zxUT22 PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
  # The installed tool finds the library of its own prefix, wherever that is.
  set_target_properties(zxut PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
endif()

install(TARGETS zxUT22 EXPORT zxUT22Targets
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS zxut RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${CMAKE_SOURCE_DIR}/include/zxUT22.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${CMAKE_SOURCE_DIR}/include/zxut22 DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILES_MATCHING PATTERN "*.h")
if(WIN32)
  install(FILES ${ZXUT_DEF_FILE} DESTINATION ${CMAKE_INSTALL_LIBDIR})
endif()

install(EXPORT zxUT22Targets NAMESPACE zxUT22:: DESTINATION ${_cmakedir})
configure_package_config_file(${CMAKE_SOURCE_DIR}/cmake/zxUT22Config.cmake.in
                              ${CMAKE_BINARY_DIR}/zxUT22Config.cmake INSTALL_DESTINATION ${_cmakedir})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/zxUT22ConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/zxUT22Config.cmake ${CMAKE_BINARY_DIR}/zxUT22ConfigVersion.cmake
        DESTINATION ${_cmakedir})

# The .pc file names its prefix relative to its own folder, so that an installed
# tree (or the unpacked Windows kit) may move.
file(RELATIVE_PATH ZXUT_PC_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" ZXUT_PC_PREFIX "${ZXUT_PC_PREFIX}")
configure_file(${CMAKE_SOURCE_DIR}/cmake/zxUT22.pc.in ${CMAKE_BINARY_DIR}/zxUT22.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/zxUT22.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# ---- packages
set(CPACK_PACKAGE_NAME zxut22)
set(CPACK_PACKAGE_VENDOR zarnik)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
    "zxUT22 utility library: profile store (Prof*) and shared utilities (Util*), headers and the zxut tool")
set(CPACK_PACKAGE_CONTACT "zxUT22 developers <zxut22@zarnik.invalid>")
set(CPACK_STRIP_FILES ON)
if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME zxUT22-${PROJECT_VERSION}-win64)
  set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY ON)
else()
  set(CPACK_GENERATOR DEB)
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE amd64)
  set(CPACK_DEBIAN_PACKAGE_SECTION libs)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  # A shlibs file for packages that link the library; CPack adds the ldconfig calls.
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
endif()
include(CPack)
