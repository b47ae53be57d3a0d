# A whole export of the generated recording, in process: time and peak memory.
add_executable(bench_export ${CMAKE_CURRENT_LIST_DIR}/export_bench.cpp)
target_link_libraries(bench_export PRIVATE tavi_exporter tavi_export_recordings tavi_host)
