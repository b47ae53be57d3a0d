# `cpack -G DEB` in the build folder makes a Debian package of everything the install rules
# name: tavi-export, the plug-in, the SDK library, the manual page and the documentation.
# The libraries' dependencies are found by dpkg-shlibdeps (Debian package dpkg-dev).

set(TAVI_PACKAGE_MAINTAINER "TAVI Excel Exporter maintainers <maintainers@tavi-exporter.invalid>"
    CACHE STRING "The Maintainer field of the Debian package")

set(CPACK_PACKAGE_NAME "tavi-excel-exporter")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "motion-capture recordings to .xlsx workbooks")
# Debian shows the long description as is: lines of at most 80 characters.
set(CPACK_PACKAGE_DESCRIPTION
    "An export plug-in for the TAVI motion-capture studio that writes a\n"
    "recording into a spreadsheet workbook with one worksheet per kind of data:\n"
    "segment orientations, positions, velocities and accelerations, joint and\n"
    "ergonomic angles, centre of mass, sensor data, finger tracking, external\n"
    "channels and markers.\n"
    "\n"
    "tavi-export runs the plug-in without the studio: it exports recording files\n"
    "(JSON, optionally gzip-compressed), a built-in demo recording, or many\n"
    "recordings at once.")
string(CONCAT CPACK_PACKAGE_DESCRIPTION ${CPACK_PACKAGE_DESCRIPTION})
set(CPACK_PACKAGE_CONTACT "${TAVI_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGING_INSTALL_PREFIX "/usr")
set(CPACK_STRIP_FILES ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${TAVI_PACKAGE_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_SECTION "science")
set(CPACK_DEBIAN_PACKAGE_PRIORITY "optional")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The SDK library ships in the package itself, in a private folder.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}/plugin/sdk")
# The options dialog needs a window-system plug-in, and Qt's translations for its buttons.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "qt6-qpa-plugins, qt6-translations-l10n")

# What Debian puts beside every package's documentation: the copyright file, as it is, and
# the changelog, compressed. The changelog's latest entry must be this version's.
file(STRINGS "${PROJECT_SOURCE_DIR}/cmake/debian/changelog" latest_entry LIMIT_COUNT 1)
if(NOT latest_entry MATCHES "^${CPACK_PACKAGE_NAME} \\(${PROJECT_VERSION}\\) ")
    message(FATAL_ERROR "cmake/debian/changelog has no entry for ${PROJECT_VERSION} at its top")
endif()
set(compressed_changelog "${PROJECT_BINARY_DIR}/changelog.gz")
add_custom_command(
    OUTPUT "${compressed_changelog}"
    COMMAND gzip -9 -n -c "${PROJECT_SOURCE_DIR}/cmake/debian/changelog" > "${compressed_changelog}"
    DEPENDS "${PROJECT_SOURCE_DIR}/cmake/debian/changelog"
    COMMENT "Compressing the package changelog"
)
add_custom_target(package_changelog ALL DEPENDS "${compressed_changelog}")
install(FILES "${PROJECT_SOURCE_DIR}/cmake/debian/copyright" "${compressed_changelog}" DESTINATION "${TAVI_DOC_DIR}")

include(CPack)
