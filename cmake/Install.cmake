# SPDX-License-Identifier: Apache-2.0
# The installed tree: bin/orca-render, the shader libraries in lib/orca (where the command finds them relative to
# itself), the interface and SDK headers in include/orca, and the CMake package `orca` for writers of shaders.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# An archive of the framework: shader libraries of others link it into themselves.
add_library(orca_sdk_archive STATIC $<TARGET_OBJECTS:orca_sdk>)
set_target_properties(orca_sdk_archive PROPERTIES OUTPUT_NAME orca_sdk)

install(TARGETS orca-render RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
foreach(shader_library orca velabase)
    if(TARGET ${shader_library})
        install(TARGETS ${shader_library} LIBRARY DESTINATION lib/orca)
    endif()
endforeach()
install(TARGETS orca_sdk_archive ARCHIVE DESTINATION lib/orca)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/interface/ DESTINATION include/orca FILES_MATCHING PATTERN "*.h")
install(DIRECTORY ${PROJECT_SOURCE_DIR}/SDK/ DESTINATION include/orca FILES_MATCHING PATTERN "*.h")

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/orcaConfig.cmake.in ${PROJECT_BINARY_DIR}/orcaConfig.cmake
    INSTALL_DESTINATION lib/cmake/orca)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/orcaConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/orcaConfig.cmake ${PROJECT_BINARY_DIR}/orcaConfigVersion.cmake
    DESTINATION lib/cmake/orca)
