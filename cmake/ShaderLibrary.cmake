# SPDX-License-Identifier: Apache-2.0
# orca_add_shader_library(NAME): NAME.so of the sources in the folder, compared with declarations/NAME.mi. NAME_shaders are its
# objects, for tests.
function(orca_add_shader_library name)
    file(GLOB sources CONFIGURE_DEPENDS *.cpp)
    add_library(${name}_shaders OBJECT ${sources})
    target_include_directories(${name}_shaders PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries(${name}_shaders PUBLIC orca_sdk)

    # Only orca.so exports the framework's functions: a scene links both libraries.
    add_library(${name} MODULE)
    target_link_libraries(${name} PRIVATE ${name}_shaders orca_sdk_parts m)
    target_link_options(${name} PRIVATE -Wl,--exclude-libs,liborca_sdk_parts.a LINKER:-soname,${name}.so.${ORCA_ABI_VERSION})
    set_target_properties(${name} PROPERTIES PREFIX "" SUFFIX ".so")
    orca_check_declarations(${name} OBJECTS ${name}_shaders DECLARATIONS ${PROJECT_SOURCE_DIR}/declarations/${name}.mi)
endfunction()
