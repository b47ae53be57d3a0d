# Worksheet writing: one sheet of 100,000 rows x 200 numbers through PartFile and CellWriter.
add_executable(bench_worksheet ${CMAKE_CURRENT_LIST_DIR}/worksheet_bench.cpp)
target_link_libraries(bench_worksheet PRIVATE tavi_xlsx)
# Number text: the "%.15g" formatter against std::to_chars, timed and compared value by value.
add_executable(bench_numberformat ${CMAKE_CURRENT_LIST_DIR}/numberformat_bench.cpp)
target_link_libraries(bench_numberformat PRIVATE tavi_xlsx)
# Deflate levels: zlib level 6 against each igzip level on given files (unpacked workbook parts).
add_executable(bench_deflate_levels ${CMAKE_CURRENT_LIST_DIR}/deflate_levels_bench.cpp)
target_link_libraries(bench_deflate_levels PRIVATE PkgConfig::ISAL ZLIB::ZLIB)
# The worksheet layer against libxlsxwriter (constant-memory mode) on the same cells; built only
# where libxlsxwriter-dev is installed.
pkg_check_modules(XLSXWRITER IMPORTED_TARGET xlsxwriter)
if(XLSXWRITER_FOUND)
    add_executable(bench_xlsxwriter ${CMAKE_CURRENT_LIST_DIR}/xlsxwriter_bench.cpp)
    target_link_libraries(bench_xlsxwriter PRIVATE tavi_xlsx PkgConfig::XLSXWRITER)
else()
    message(STATUS "libxlsxwriter not found: bench_xlsxwriter is not built")
endif()
