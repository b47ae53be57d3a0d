# Recording reading: one large recording file (bench/make_recording.py writes one) through
# readRecordingFile, or through QJsonDocument for comparison.
add_executable(bench_recording_read ${CMAKE_CURRENT_LIST_DIR}/recording_read_bench.cpp)
target_link_libraries(bench_recording_read PRIVATE tavi_host)
