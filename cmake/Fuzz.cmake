# SPDX-License-Identifier: LGPL-3.0-or-later
# libFuzzer targets for Qt Core-only code. The main build uses g++, which has no libFuzzer, so
# these are compiled by a custom command with clang++ when it is installed, and run briefly as
# a test of the normal build (the sanitizer build has its own instrumentation already).
#
# vrx_add_fuzzer(NAME name SOURCES src... [SEEDS dir] [REGRESSIONS dir] [SECONDS n])
if(VRX_SANITIZE)
  function(vrx_add_fuzzer)
  endfunction()
  return()
endif()

find_program(VRX_CLANGXX NAMES clang++ clang++-16 clang++-15 clang++-14)
find_program(VRX_PKG_CONFIG NAMES pkg-config)
if(VRX_CLANGXX AND VRX_PKG_CONFIG)
  execute_process(COMMAND ${VRX_PKG_CONFIG} --cflags --libs Qt5Core
                  OUTPUT_VARIABLE VRX_FUZZ_QT_FLAGS OUTPUT_STRIP_TRAILING_WHITESPACE
                  RESULT_VARIABLE VRX_FUZZ_PKG_RESULT)
  if(NOT VRX_FUZZ_PKG_RESULT EQUAL 0)
    set(VRX_CLANGXX "")
  endif()
  separate_arguments(VRX_FUZZ_QT_FLAGS UNIX_COMMAND "${VRX_FUZZ_QT_FLAGS}")
endif()
if(VRX_CLANGXX)
  message(STATUS "Fuzz targets: ${VRX_CLANGXX}")
else()
  message(STATUS "Fuzz targets: skipped (clang++ or pkg-config not found)")
endif()

function(vrx_add_fuzzer)
  if(NOT VRX_CLANGXX)
    return()
  endif()
  cmake_parse_arguments(F "" "NAME;SEEDS;REGRESSIONS;SECONDS" "SOURCES" ${ARGN})
  if(NOT F_SECONDS)
    set(F_SECONDS 20)
  endif()
  set(out ${CMAKE_CURRENT_BINARY_DIR}/${F_NAME})
  add_custom_command(
    OUTPUT ${out}
    COMMAND ${VRX_CLANGXX} -std=c++17 -g -O1 -fPIC -fsanitize=fuzzer,address,undefined
            -I${PROJECT_SOURCE_DIR} ${F_SOURCES} ${VRX_FUZZ_QT_FLAGS} -o ${out}
    DEPENDS ${F_SOURCES}
    COMMENT "Building fuzz target ${F_NAME} with clang++"
    VERBATIM)
  add_custom_target(${F_NAME} ALL DEPENDS ${out})

  # New corpus entries go to the build tree; the seeds in the source tree stay read-only.
  set(corpus ${CMAKE_CURRENT_BINARY_DIR}/${F_NAME}_corpus)
  file(MAKE_DIRECTORY ${corpus})
  add_test(NAME ${F_NAME}
           COMMAND ${out} -max_total_time=${F_SECONDS} -rss_limit_mb=2048
                   -artifact_prefix=${CMAKE_CURRENT_BINARY_DIR}/${F_NAME}- ${corpus} ${F_SEEDS})
  set_tests_properties(${F_NAME} PROPERTIES LABELS fuzz TIMEOUT 120)

  # Inputs that once crashed are replayed on every run.
  if(F_REGRESSIONS)
    file(GLOB inputs ${F_REGRESSIONS}/*)
    if(inputs)
      add_test(NAME ${F_NAME}_regressions COMMAND ${out} ${inputs})
      set_tests_properties(${F_NAME}_regressions PROPERTIES LABELS fuzz TIMEOUT 120)
    endif()
  endif()
endfunction()
