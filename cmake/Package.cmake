# SPDX-License-Identifier: Apache-2.0
# Debian packages: `cpack` in a build folder writes one for each component.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME orca-render)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(ORCA_PACKAGE_CONTACT "Orca maintainers <root@localhost>" CACHE STRING "who maintains the packages, as Name <mail>")
set(CPACK_PACKAGE_CONTACT ${ORCA_PACKAGE_CONTACT})
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime development documentation)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME orca-render)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS "python3, python3-numpy") # for orca-farm, the Python module
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SUGGESTS "orca-render-doc, slurm-client, blender")
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "multi-pass shader library and its renderer
Renders scene files on all cores and writes a layered OpenEXR file that holds
the picture and the passes a compositor asks for: diffuse, specular, shadow,
reflection, depth, normals and more.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME orca-render-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "orca-render (= ${PROJECT_VERSION}), libstdc++-12-dev | libstdc++-dev, python3")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "cmake, orca-render-doc")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "headers and archive for writing multi-pass shaders
The shader interface of the renderer, the framework that the shaders of
orca-render are built from, and a CMake package and a pkg-config file that
find them.")

set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_NAME orca-render-doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SUGGESTS orca-render)
set(CPACK_DEBIAN_DOCUMENTATION_DESCRIPTION "documentation and example scenes of orca-render
Pages on passes, materials and scenes, and the scenes that their pictures were
rendered from.")
include(CPack)

# What Debian expects of every package: its licence and its changes. Each list item of the changes is an entry.
file(READ ${PROJECT_SOURCE_DIR}/CHANGELOG.md changes)
string(REGEX REPLACE "^# Changes\n+## [^\n]*\n+" "" changes "${changes}")
string(REGEX REPLACE "\n## .*" "" changes "${changes}")
string(REGEX REPLACE "(^|\n)  " "\\1    " changes "${changes}")
string(REGEX REPLACE "(^|\n)- " "\\1  * " changes "${changes}")
string(TIMESTAMP now "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(WRITE ${PROJECT_BINARY_DIR}/changelog
    "orca-render (${PROJECT_VERSION}) unstable; urgency=medium\n\n${changes}\n -- ${ORCA_PACKAGE_CONTACT}  ${now}\n")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/CHANGELOG.md)
execute_process(COMMAND ${GZIP} -9nf ${PROJECT_BINARY_DIR}/changelog COMMAND_ERROR_IS_FATAL ANY)
foreach(component runtime development documentation)
    string(TOUPPER ${component} upper)
    set(folder ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
    install(FILES ${PROJECT_SOURCE_DIR}/packaging/copyright ${PROJECT_BINARY_DIR}/changelog.gz
        DESTINATION ${folder} COMPONENT ${component})
endforeach()
