# SPDX-License-Identifier: LGPL-3.0-or-later
# bench_lod_dsp: the level-of-detail reduction and the DSP worker's dBFS spectrum of 2^24 int16
# samples, each against a bare baseline of the same size measured in the same run.
add_executable(bench_lod_dsp ${CMAKE_CURRENT_LIST_DIR}/bench_lod_dsp.cpp)
target_link_libraries(bench_lod_dsp PRIVATE plot_core)
