# The presets linux-asan, linux-tsan, linux-coverage and linux-fuzz set NUV_INSTRUMENTATION. All of our own code is then
# compiled with the options below. Instrumented builds are for tests and fuzzing only.
set(instrumentation_address
  -fsanitize=address,undefined,float-cast-overflow -fno-sanitize-recover=all -fno-omit-frame-pointer)
set(instrumentation_thread -fsanitize=thread -fno-omit-frame-pointer)
set(instrumentation_coverage -fprofile-instr-generate -fcoverage-mapping -fprofile-update=atomic -DNUV_COVERAGE)

if(NUV_INSTRUMENTATION)
  if(NOT DEFINED instrumentation_${NUV_INSTRUMENTATION})
    message(FATAL_ERROR "NUV_INSTRUMENTATION: no instrumentation '${NUV_INSTRUMENTATION}'")
  endif()
  # clang 14 cannot compile the targets of nuvhost with coverage, so they are left out. script/coverage does not need
  # them, because it reports src/ only.
  if(NUV_INSTRUMENTATION STREQUAL "coverage")
    set(wanted $<NOT:$<BOOL:$<TARGET_PROPERTY:NUV_NOT_COUNTED>>>)
  else()
    set(wanted 1)
  endif()
  target_compile_options(nuv_options INTERFACE "$<${wanted}:${instrumentation_${NUV_INSTRUMENTATION}}>")
  target_link_options(nuv_options INTERFACE ${instrumentation_${NUV_INSTRUMENTATION}})
endif()
