# SPDX-License-Identifier: Apache-2.0
# ORCA_VERSION and ORCA_ABI_VERSION, read from the header that shader writers include.
set(version_header ${CMAKE_CURRENT_LIST_DIR}/../SDK/base/orcaVersion.h)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${version_header})
foreach(name VERSION_MAJOR VERSION_MINOR VERSION_PATCH ABI_VERSION)
    file(STRINGS ${version_header} line REGEX "^#define ORCA_${name} [0-9]+$")
    if(NOT line)
        message(FATAL_ERROR "${version_header} does not define ORCA_${name}")
    endif()
    string(REGEX REPLACE ".* " "" ORCA_${name} "${line}")
endforeach()
set(ORCA_VERSION ${ORCA_VERSION_MAJOR}.${ORCA_VERSION_MINOR}.${ORCA_VERSION_PATCH})
