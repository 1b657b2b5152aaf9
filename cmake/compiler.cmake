# Flags for all of our own code, given through the target `nuv_options`.
add_library(nuv_options INTERFACE)

# The compiler must not fuse a multiply and an add. Otherwise systems and kernels would not give the same bits.
target_compile_options(nuv_options INTERFACE
  -ffp-contract=off
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor -Wcast-align
  -Wno-missing-field-initializers  # designated initialisers may leave members at their defaults
  -Werror)

# The compiler writes no absolute path into the files, so that every folder gives the same bytes.
target_compile_options(nuv_options INTERFACE -ffile-prefix-map=${CMAKE_SOURCE_DIR}=.)

find_package(Threads REQUIRED)
target_link_libraries(nuv_options INTERFACE Threads::Threads)

# nuv_optimize(TARGET LEVEL) compiles TARGET at LEVEL. It is for code that is built often and need not be fast.
# Instrumented builds keep their own level. Builds with clang keep theirs, too, because clang's Windows objects do not
# link without optimisation: each of them defines an operator of std::type_info again.
function(nuv_optimize target level)
  if(NOT NUV_INSTRUMENTATION AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(${target} PRIVATE ${level})
  endif()
endfunction()

if(WIN32)
  # Everything is linked in, because a missing runtime library is the commonest reason why an effect does not load.
  target_link_options(nuv_options INTERFACE -static)
  target_compile_definitions(nuv_options INTERFACE WIN32_LEAN_AND_MEAN NOMINMAX UNICODE)
endif()
