# Cross-compiles zxUT22.dll and its tests for 64-bit Windows with mingw-w64.
# The -posix compilers are required: the win32 thread model has no std::thread.
# Use: cmake -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64-x86_64.cmake -DZXUT_WIN_DEPS=<prefix>
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(ZXUT_MINGW_TRIPLE x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${ZXUT_MINGW_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${ZXUT_MINGW_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${ZXUT_MINGW_TRIPLE}-windres)
set(CMAKE_AR ${ZXUT_MINGW_TRIPLE}-gcc-ar-posix CACHE FILEPATH "")
set(CMAKE_RANLIB ${ZXUT_MINGW_TRIPLE}-gcc-ranlib-posix CACHE FILEPATH "")

# Libraries and headers come from the MinGW sysroot and the cross-built
# dependency prefix (ZXUT_WIN_DEPS, added by ZxutDependencies.cmake); programs from the host.
set(CMAKE_FIND_ROOT_PATH /usr/${ZXUT_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Prefer static archives (libz.a over libz.dll.a): the DLL and the test programs
# must run without any MinGW runtime DLL beside them (the project links with
# -static; see CMakeLists.txt).
set(ZLIB_USE_STATIC_LIBS ON)
set(CMAKE_FIND_LIBRARY_SUFFIXES .a)

# Programs run under wine through a wrapper that keeps wine's background
# processes off ctest's pipes; CMakeLists.txt points it at a prefix in the build folder.
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/wine-run.sh)
