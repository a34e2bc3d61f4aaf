# Installed dependencies. On Linux they come from Debian's -dev packages; for the
# Windows build scripts/build-win-deps.sh cross-compiles them (static) into the
# prefix given as ZXUT_WIN_DEPS. Every subsystem links ZXUT_PLATFORM_LIBS, so a
# new user of zlib, PCRE2, minizip, expat, libdw or curl needs no CMake edit.
find_package(Threads REQUIRED)
set(ZXUT_PLATFORM_LIBS Threads::Threads)

# zxut_pcre2: the 16-bit PCRE2 API on both targets.
add_library(zxut_pcre2 INTERFACE)
target_compile_definitions(zxut_pcre2 INTERFACE PCRE2_CODE_UNIT_WIDTH=16)

if(WIN32)
  if(NOT ZXUT_WIN_DEPS)
    message(FATAL_ERROR "The Windows build needs -DZXUT_WIN_DEPS=<prefix>, "
                        "the folder that scripts/build-win-deps.sh prints.")
  endif()
  list(PREPEND CMAKE_PREFIX_PATH ${ZXUT_WIN_DEPS})
  list(PREPEND CMAKE_FIND_ROOT_PATH ${ZXUT_WIN_DEPS})

  set(ZLIB_USE_STATIC_LIBS ON)
  find_package(ZLIB REQUIRED)

  find_library(PCRE2_16_LIBRARY NAMES libpcre2-16.a pcre2-16 REQUIRED)
  find_path(PCRE2_INCLUDE_DIR pcre2.h REQUIRED)
  target_link_libraries(zxut_pcre2 INTERFACE ${PCRE2_16_LIBRARY})
  target_include_directories(zxut_pcre2 INTERFACE ${PCRE2_INCLUDE_DIR})
  target_compile_definitions(zxut_pcre2 INTERFACE PCRE2_STATIC)

  # minizip: <minizip/unzip.h> and <unzip.h> both work, as with Debian's package.
  find_library(MINIZIP_LIBRARY NAMES libminizip.a minizip REQUIRED)
  find_path(MINIZIP_INCLUDE_DIR minizip/unzip.h REQUIRED)
  add_library(zxut_minizip INTERFACE)
  target_link_libraries(zxut_minizip INTERFACE ${MINIZIP_LIBRARY} ZLIB::ZLIB)
  target_include_directories(zxut_minizip INTERFACE ${MINIZIP_INCLUDE_DIR}
                                                    ${MINIZIP_INCLUDE_DIR}/minizip)

  find_package(expat CONFIG REQUIRED)  # expat::expat, static, with XML_STATIC
  add_library(zxut_expat INTERFACE)
  target_link_libraries(zxut_expat INTERFACE expat::expat)

  # Static archives: minizip before the zlib it calls (a library appears once).
  list(APPEND ZXUT_PLATFORM_LIBS zxut_minizip ZLIB::ZLIB zxut_pcre2 zxut_expat
       advapi32 user32 gdi32 shell32 ole32 oleaut32 uuid ws2_32 dbghelp version psapi
       urlmon wininet userenv netapi32 mpr secur32 credui shlwapi propsys)
  if(ZXUT_TESTS)
    find_package(GTest CONFIG REQUIRED)
  endif()
else()
  find_package(PkgConfig REQUIRED)
  find_package(ZLIB REQUIRED)
  pkg_check_modules(PCRE2 REQUIRED IMPORTED_TARGET libpcre2-16)
  target_link_libraries(zxut_pcre2 INTERFACE PkgConfig::PCRE2)
  pkg_check_modules(MINIZIP REQUIRED IMPORTED_TARGET minizip)
  find_package(EXPAT REQUIRED)
  pkg_check_modules(LIBDW REQUIRED IMPORTED_TARGET libdw)
  find_package(CURL REQUIRED)
  find_package(ICU REQUIRED COMPONENTS uc i18n data)
  add_library(zxut_minizip INTERFACE)
  target_link_libraries(zxut_minizip INTERFACE PkgConfig::MINIZIP)
  # Debian's minizip.pc names /usr/include/minizip: <minizip/unzip.h> works as well.
  add_library(zxut_expat INTERFACE)
  target_link_libraries(zxut_expat INTERFACE EXPAT::EXPAT)
  list(APPEND ZXUT_PLATFORM_LIBS ZLIB::ZLIB zxut_pcre2 zxut_minizip zxut_expat
       PkgConfig::LIBDW CURL::libcurl ICU::i18n ICU::uc ICU::data ${CMAKE_DL_LIBS} rt)
  if(ZXUT_TESTS)
    find_package(GTest REQUIRED)
  endif()
endif()
