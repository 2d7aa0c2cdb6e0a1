# SPDX-License-Identifier: LGPL-3.0-or-later
# bench_monitor_flood [lines per client | --long] [--breakdown]: 40 load-generator clients flood the
# built-in monitor of the real main window (offscreen) until every line is in its output
# file, against a window-less monitor host that only appends the same texts to a file.
# --long runs 40 x 500 000 lines (20 M) for the sustained-load figures; CI runs neither.
# --breakdown also prints where the GUI thread spends its time (costs a little speed).
add_executable(bench_monitor_flood ${CMAKE_CURRENT_LIST_DIR}/bench_monitor_flood.cpp)
target_link_libraries(bench_monitor_flood PRIVATE shell vrxloadgen_lib)
