# SPDX-License-Identifier: LGPL-3.0-or-later
# bench_plot_read [demo program]: a 500 MB int16 file read mapped and streamed and redrawn in
# full view against a plain min/max pass, a stock curve against ours at 16 million samples,
# peak memory, and the live loop with the demo program's 64 KiB buffer.
add_executable(bench_plot_read ${CMAKE_CURRENT_LIST_DIR}/bench_plot_read.cpp)
target_link_libraries(bench_plot_read PRIVATE plot resources vrxloadgen_lib)
target_compile_definitions(bench_plot_read PRIVATE VRXDEMO_PATH="$<TARGET_FILE:vrxdemo>")
add_dependencies(bench_plot_read vrxdemo)
