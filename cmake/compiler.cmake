# Flags for all of our own code, given through the target `nuv_options`.
add_library(nuv_options INTERFACE)

# The pixels are exact to the bit on both systems and in every kernel: a multiply and an add stay two operations.
target_compile_options(nuv_options INTERFACE
  -ffp-contract=off
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor -Wcast-align
  -Wno-missing-field-initializers  # designated initialisers leave the rest at its default on purpose
  -Werror)

# The same bytes from every folder.
target_compile_options(nuv_options INTERFACE -ffile-prefix-map=${CMAKE_SOURCE_DIR}=.)

find_package(Threads REQUIRED)
target_link_libraries(nuv_options INTERFACE Threads::Threads)

# nuv_optimize(TARGET LEVEL): for code that is built often and need not be fast. Instrumented builds keep their level.
function(nuv_optimize target level)
  if(NOT NUV_INSTRUMENTATION)
    target_compile_options(${target} PRIVATE ${level})
  endif()
endfunction()

if(WIN32)
  # A missing runtime library is the commonest reason why an effect does not load: everything is linked in.
  target_link_options(nuv_options INTERFACE -static)
  target_compile_definitions(nuv_options INTERFACE WIN32_LEAN_AND_MEAN NOMINMAX UNICODE)
endif()
