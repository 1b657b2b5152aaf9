# Like windows.cmake, but clang compiles. It uses GCC's headers and libraries, which clang 14 does not find by itself.
include(${CMAKE_CURRENT_LIST_DIR}/windows.cmake)

set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET x86_64-w64-mingw32)
set(CMAKE_CXX_COMPILER_TARGET x86_64-w64-mingw32)

file(GLOB gcc LIST_DIRECTORIES true /usr/lib/gcc/x86_64-w64-mingw32/*-posix)
# GCC's libraries emulate thread-local variables, so clang must emulate them, too.
set(CMAKE_CXX_FLAGS_INIT "-femulated-tls -stdlib++-isystem ${gcc}/include/c++ \
-stdlib++-isystem ${gcc}/include/c++/x86_64-w64-mingw32")
foreach(kind IN ITEMS EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-L${gcc} -pthread")
endforeach()
