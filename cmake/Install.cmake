# SPDX-License-Identifier: Apache-2.0
# What is installed, in three components: `runtime` (the command with the shader libraries and their declarations),
# `development` (headers, archive and CMake package for writers of shaders) and `documentation` (pages and examples).
include(CMakePackageConfigHelpers)

# The archive that shader libraries of others link: it defines what the installed headers declare. Of an archive the
# linker takes only the objects that a library refers to.
add_library(orca_sdk_archive STATIC $<TARGET_OBJECTS:orca_sdk> $<TARGET_OBJECTS:orca_shaders>)
set_target_properties(orca_sdk_archive PROPERTIES OUTPUT_NAME orca_sdk)

# Everything that `cmake --install` copies. Not of a sanitized build, whose command would run while building.
set(in_all ALL)
if(ORCA_SANITIZE)
    set(in_all)
endif()
add_custom_target(orca-install-files ${in_all} DEPENDS orca-render orca-merge orca-texture orca-import orca-diff orca-verify orca velabase velamaterials velavolume
    orca-image-formats
    orca_sdk_archive orca-scenes)

# The manual pages and the shells' completions come from the descriptions that --help prints.
find_program(GZIP gzip REQUIRED)
set(documents ${PROJECT_BINARY_DIR}/command_documents)
foreach(command orca-render orca-merge orca-texture orca-import orca-diff orca-verify)
    add_custom_command(
        OUTPUT ${documents}/${command}.1.gz ${documents}/${command} ${documents}/_${command}
        COMMAND ${CMAKE_COMMAND} -E make_directory ${documents}
        COMMAND ${command} --print-document man | ${GZIP} -9n > ${documents}/${command}.1.gz
        COMMAND ${command} --print-document bash > ${documents}/${command}
        COMMAND ${command} --print-document zsh > ${documents}/_${command}
        DEPENDS ${command}
        COMMENT "Writing the manual page and the completions of ${command}"
        VERBATIM)
    add_custom_target(${command}-documents DEPENDS ${documents}/${command}.1.gz)
    add_dependencies(orca-install-files ${command}-documents)
    install(FILES ${documents}/${command}.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT runtime)
    install(FILES ${documents}/${command} DESTINATION ${ORCA_INSTALL_BASH_COMPLETION} COMPONENT runtime)
    install(FILES ${documents}/_${command} DESTINATION ${ORCA_INSTALL_ZSH_COMPLETION} COMPONENT runtime)
    install(TARGETS ${command} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
endforeach()

find_package(Python3 REQUIRED COMPONENTS Interpreter)
add_custom_command(
    OUTPUT ${documents}/orca-farm.1.gz
    COMMAND ${CMAKE_COMMAND} -E make_directory ${documents}
    COMMAND ${Python3_EXECUTABLE} -B ${PROJECT_SOURCE_DIR}/app/farm/orca-farm --print-document man | ${GZIP} -9n >
            ${documents}/orca-farm.1.gz
    DEPENDS ${PROJECT_SOURCE_DIR}/app/farm/orca-farm
    COMMENT "Writing the manual page of orca-farm"
    VERBATIM)
add_custom_target(orca-farm-documents DEPENDS ${documents}/orca-farm.1.gz)
add_dependencies(orca-install-files orca-farm-documents)
install(FILES ${documents}/orca-farm.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT runtime)
install(PROGRAMS ${PROJECT_SOURCE_DIR}/app/farm/orca-farm DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/bridges/blender DESTINATION ${ORCA_INSTALL_BLENDER} COMPONENT runtime
    FILES_MATCHING PATTERN "*.py" PATTERN "__pycache__" EXCLUDE)
install(TARGETS orca velabase velamaterials velavolume orca-image-formats LIBRARY DESTINATION ${ORCA_INSTALL_SHADER_LIBRARIES} COMPONENT runtime)

install(TARGETS orca_sdk_archive ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
# One folder for all headers, whatever folder of the tree they come from: their names are unique.
file(GLOB_RECURSE headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/SDK/*.h ${PROJECT_SOURCE_DIR}/shaders/*.h)
install(FILES ${headers} DESTINATION ${ORCA_INSTALL_HEADERS} COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/interface/ DESTINATION ${ORCA_INSTALL_HEADERS} COMPONENT development
    FILES_MATCHING PATTERN "*.h")

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/orcaConfig.cmake.in ${PROJECT_BINARY_DIR}/orcaConfig.cmake
    INSTALL_DESTINATION ${ORCA_INSTALL_CMAKE}
    PATH_VARS ORCA_INSTALL_HEADERS ORCA_INSTALL_SHADER_LIBRARIES ORCA_INSTALL_DECLARATIONS CMAKE_INSTALL_BINDIR
              CMAKE_INSTALL_LIBDIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/orcaConfigVersion.cmake COMPATIBILITY SameMinorVersion)
file(RELATIVE_PATH ORCA_PC_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(${PROJECT_SOURCE_DIR}/cmake/orca-sdk.pc.in ${PROJECT_BINARY_DIR}/orca-sdk.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/orcaConfig.cmake ${PROJECT_BINARY_DIR}/orcaConfigVersion.cmake
    DESTINATION ${ORCA_INSTALL_CMAKE} COMPONENT development)
install(FILES ${PROJECT_BINARY_DIR}/orca-sdk.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/ DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/orca-render-doc/docs
    COMPONENT documentation FILES_MATCHING PATTERN "*.md" PATTERN "*.png")
install(DIRECTORY ${PROJECT_SOURCE_DIR}/scenes/ DESTINATION ${ORCA_INSTALL_EXAMPLES} COMPONENT documentation
    FILES_MATCHING PATTERN "*.mi" PATTERN "generated/*" PATTERN "bench_*" EXCLUDE PATTERN "__pycache__" EXCLUDE)
