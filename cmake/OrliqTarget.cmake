# SPDX-License-Identifier: Apache-2.0
# One place for what every target of this project is compiled with; nothing is set globally.

# orliq_target(NAME): language level, warnings, exact floating point and the chosen sanitizers.
function(orliq_target target)
  target_compile_features(${target} PUBLIC cxx_std_17)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF CXX_VISIBILITY_PRESET hidden
                                             VISIBILITY_INLINES_HIDDEN ON)
  # Points have the same bits on every processor: a product and a sum are never fused.
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
                                           -ffp-contract=off ${ORLIQ_UNNAMED_BUILD_OPTIONS})
  # What is shipped holds no path of the machine that built it: each folder builds the same bytes.
  target_compile_options(${target} PRIVATE
    "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.>")
  if(ORLIQ_DEVELOPER_MODE)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(ORLIQ_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${ORLIQ_SANITIZE} -fno-omit-frame-pointer
                                             -fno-sanitize-recover=all)
    if(ORLIQ_SANITIZE MATCHES "undefined")
      target_compile_options(${target} PRIVATE -fsanitize=float-cast-overflow)
    endif()
    target_link_options(${target} PUBLIC -fsanitize=${ORLIQ_SANITIZE})
  endif()
endfunction()

# orliq_compiled_quickly(NAME): of what a sanitizer looks at, the library is optimised; verbs and tests would
# only take as long again to compile. A fuzzer is to be fast.
function(orliq_compiled_quickly target)
  if(ORLIQ_SANITIZE AND NOT ORLIQ_SANITIZE MATCHES "fuzzer")
    target_compile_options(${target} PRIVATE -O0)
  endif()
endfunction()
