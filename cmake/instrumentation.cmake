# What the presets linux-asan, linux-tsan and linux-coverage build into all of our own code, by their variable
# NUV_INSTRUMENTATION. An instrumented build is for running the tests alone.
set(instrumentation_address
  -fsanitize=address,undefined,float-cast-overflow -fno-sanitize-recover=all -fno-omit-frame-pointer)
set(instrumentation_thread -fsanitize=thread -fno-omit-frame-pointer)
set(instrumentation_coverage -fprofile-instr-generate -fcoverage-mapping -fprofile-update=atomic -DNUV_COVERAGE)

if(NUV_INSTRUMENTATION)
  if(NOT DEFINED instrumentation_${NUV_INSTRUMENTATION})
    message(FATAL_ERROR "NUV_INSTRUMENTATION: no instrumentation '${NUV_INSTRUMENTATION}'")
  endif()
  # clang 14 cannot count all of nuvhost, and nobody asks for it: of coverage only src/ is reported.
  if(NUV_INSTRUMENTATION STREQUAL "coverage")
    set(wanted $<NOT:$<STREQUAL:$<TARGET_PROPERTY:NAME>,nuvhost>>)
  else()
    set(wanted 1)
  endif()
  target_compile_options(nuv_options INTERFACE "$<${wanted}:${instrumentation_${NUV_INSTRUMENTATION}}>")
  target_link_options(nuv_options INTERFACE ${instrumentation_${NUV_INSTRUMENTATION}})
endif()
