# The version stands in one place, where applications read it as well.
set(version_header ${CMAKE_CURRENT_LIST_DIR}/../include/Reelhaul/HVVersion.h)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${version_header})
file(STRINGS ${version_header} version_lines REGEX "#define REELHAUL_VERSION_(MAJOR|MINOR|PATCH) [0-9]+$")
list(TRANSFORM version_lines REPLACE ".* " "")
list(JOIN version_lines . REELHAUL_VERSION)
