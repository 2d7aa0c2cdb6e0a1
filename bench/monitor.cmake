# SPDX-License-Identifier: LGPL-3.0-or-later
# bench_monitor [lines per client] [rounds]: 40 load-generator clients streaming to the monitor
# server against a plain epoll drain of the same sockets.
add_executable(bench_monitor ${CMAKE_CURRENT_LIST_DIR}/bench_monitor.cpp)
target_link_libraries(bench_monitor PRIVATE monitor_core vrxloadgen_lib)
