# Cross-builds for 64-bit Windows with Debian's MinGW-w64 (the POSIX-threads compilers, which
# have std::thread and std::mutex). The result is a static .exe that needs no DLL beside it.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(PX_MINGW_PREFIX x86_64-w64-mingw32)

set(CMAKE_C_COMPILER ${PX_MINGW_PREFIX}-gcc-posix)
set(CMAKE_CXX_COMPILER ${PX_MINGW_PREFIX}-g++-posix)
set(CMAKE_RC_COMPILER ${PX_MINGW_PREFIX}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${PX_MINGW_PREFIX})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# zlib as a static archive, not the import library of zlib1.dll.
set(ZLIB_LIBRARY /usr/${PX_MINGW_PREFIX}/lib/libz.a CACHE FILEPATH "")
set(ZLIB_INCLUDE_DIR /usr/${PX_MINGW_PREFIX}/include CACHE PATH "")

set(CMAKE_EXE_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")

# MinGW's GCC 12 reports impossible overlaps inside std::string (GCC bug 105329) and
# uninitialised padding when a struct is copied. The native build keeps both warnings.
set(CMAKE_CXX_FLAGS_INIT "-Wno-restrict -Wno-maybe-uninitialized")
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG" CACHE STRING "")
