# SPDX-License-Identifier: LGPL-3.0-or-later
# bench_viewer [MiB]: indexing and whole-file search of a generated log against memchr and grep.
add_executable(bench_viewer ${CMAKE_CURRENT_LIST_DIR}/bench_viewer.cpp)
target_link_libraries(bench_viewer PRIVATE viewer_core)
