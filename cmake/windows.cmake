# 64-bit Windows, cross-compiled with the standard-thread flavour of MinGW-w64, tested under Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64)

set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

find_program(NUV_WINE NAMES wine64 wine wine64-stable wine-stable PATHS /usr/lib/wine)
if(NUV_WINE)
  set(CMAKE_CROSSCOMPILING_EMULATOR
    env WINEPREFIX=${CMAKE_BINARY_DIR}/wine WINEDEBUG=-all WINEDLLOVERRIDES=mscoree,mshtml= ${NUV_WINE})
endif()
