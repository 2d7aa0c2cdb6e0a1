# SPDX-License-Identifier: LGPL-3.0-or-later
# bench_window [MiB] [runs]: a generated log and a log with one 30 MB line opened in the real
# main window (offscreen), against the engine alone indexing the same file.
add_executable(bench_window ${CMAKE_CURRENT_LIST_DIR}/bench_window.cpp)
target_link_libraries(bench_window PRIVATE shell)
