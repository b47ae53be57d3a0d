# The user documentation that installs with the program: the manual page, compressed as
# man expects, and the docs folder's user files (texts, the recording schema, pictures,
# example recordings). Files added to docs/ are picked up without editing this list.

set(TAVI_DOC_DIR "${CMAKE_INSTALL_DATAROOTDIR}/doc/tavi-excel-exporter"
    CACHE STRING "Where the documentation is installed, relative to the prefix")

set(manual_page "${PROJECT_SOURCE_DIR}/docs/tavi-export.1")
set(compressed_manual_page "${PROJECT_BINARY_DIR}/tavi-export.1.gz")
# -n leaves the name and time out of the header, so equal pages compress to equal bytes.
add_custom_command(
    OUTPUT "${compressed_manual_page}"
    COMMAND gzip -9 -n -c "${manual_page}" > "${compressed_manual_page}"
    DEPENDS "${manual_page}"
    COMMENT "Compressing the manual page"
)
add_custom_target(manual_page ALL DEPENDS "${compressed_manual_page}")
install(FILES "${compressed_manual_page}" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1")

install(DIRECTORY docs/ DESTINATION "${TAVI_DOC_DIR}"
    FILES_MATCHING
        PATTERN "*.md"
        PATTERN "*.json"
        PATTERN "*.json.gz"
        PATTERN "*.png"
        REGEX "/examples/[^/]+$"
)
