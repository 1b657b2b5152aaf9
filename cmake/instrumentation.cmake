# The presets linux-asan, linux-tsan and linux-coverage set NUV_INSTRUMENTATION. These options then go into all of our
# own code. An instrumented build is only for running the tests.
set(instrumentation_address
  -fsanitize=address,undefined,float-cast-overflow -fno-sanitize-recover=all -fno-omit-frame-pointer)
set(instrumentation_thread -fsanitize=thread -fno-omit-frame-pointer)
set(instrumentation_coverage -fprofile-instr-generate -fcoverage-mapping -fprofile-update=atomic -DNUV_COVERAGE)

if(NUV_INSTRUMENTATION)
  if(NOT DEFINED instrumentation_${NUV_INSTRUMENTATION})
    message(FATAL_ERROR "NUV_INSTRUMENTATION: no instrumentation '${NUV_INSTRUMENTATION}'")
  endif()
  # The targets of nuvhost are left out, because clang 14 fails on them; script/coverage reports src/ only.
  if(NUV_INSTRUMENTATION STREQUAL "coverage")
    set(wanted $<NOT:$<BOOL:$<TARGET_PROPERTY:NUV_NOT_COUNTED>>>)
  else()
    set(wanted 1)
  endif()
  target_compile_options(nuv_options INTERFACE "$<${wanted}:${instrumentation_${NUV_INSTRUMENTATION}}>")
  target_link_options(nuv_options INTERFACE ${instrumentation_${NUV_INSTRUMENTATION}})
endif()
