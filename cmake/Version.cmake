# Version and date come from the newest version in CHANGELOG.md, such as "## [1.10.0-2] - 2026-11-24":
# QUILLON_VERSION 1.10.0 (the title bar), QUILLON_REVISION 2, QUILLON_RELEASE 1.10.0-2 (packages, --version) and
# QUILLON_DATE 2026-11-24.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/../CHANGELOG.md)
file(STRINGS ${CMAKE_CURRENT_LIST_DIR}/../CHANGELOG.md newest REGEX "^## .[0-9]" LIMIT_COUNT 1)
if(NOT newest MATCHES "^## .(([0-9.]+)-([0-9]+)). - ([0-9-]+)$")
  message(FATAL_ERROR "CHANGELOG.md: the newest version must be of the form \"## [1.10.0-2] - 2026-11-24\": ${newest}")
endif()
set(QUILLON_RELEASE ${CMAKE_MATCH_1})
set(QUILLON_VERSION ${CMAKE_MATCH_2})
set(QUILLON_REVISION ${CMAKE_MATCH_3})
set(QUILLON_DATE ${CMAKE_MATCH_4})
