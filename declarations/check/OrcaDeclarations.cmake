# SPDX-License-Identifier: Apache-2.0
# orca_check_declarations(<library> DECLARATIONS <file.mi>... [OBJECTS <target>...] [INCLUDE <dir>...])
#
# Holds a shader library to the declarations by which scenes know its shaders. Each declaration gets a header, which the
# source of the shader includes at its end:
#
#   #include "declared/myShader.h"
#
# It compares the parameter record and the result of `myShader`, taken from the function's own type, with the
# declaration: names, types, offsets, sizes. For a data block `myBlock` it compares the type of that name; a record of
# another name is given it before (`using myBlock = MyBlockRecord;`). After linking, every shader that <library> exports
# must be declared, every declared one must be exported, and every header must be included by a source.
#
# <library>     a MODULE or SHARED library that was added in the same folder
# OBJECTS       further targets whose sources are linked into it
# INCLUDE       where files that the declarations include are looked for, besides the including file's folder

set(_orca_declaration_tools "${CMAKE_CURRENT_LIST_DIR}")

function(orca_check_declarations library)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "DECLARATIONS;OBJECTS;INCLUDE")
    if(NOT arg_DECLARATIONS OR arg_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR
            "orca_check_declarations(<library> DECLARATIONS <file.mi>... [OBJECTS <target>...] [INCLUDE <dir>...])")
    endif()
    get_target_property(type ${library} TYPE)
    if(NOT type MATCHES "MODULE_LIBRARY|SHARED_LIBRARY")
        message(FATAL_ERROR "orca_check_declarations: ${library} is neither a MODULE nor a SHARED library")
    endif()
    find_package(Python3 3.9 REQUIRED COMPONENTS Interpreter)

    list(TRANSFORM arg_DECLARATIONS REPLACE "^([^/].*)$" "${CMAKE_CURRENT_SOURCE_DIR}/\\1")
    set(options ${arg_DECLARATIONS})
    foreach(folder IN LISTS arg_INCLUDE ORCA_DECLARATION_DIR)
        list(APPEND options -I "${folder}")
    endforeach()
    set(script "${_orca_declaration_tools}/check_declarations.py")
    set(output "${CMAKE_CURRENT_BINARY_DIR}/${library}_declarations")

    # Written while the build is configured, which the build does again when a declaration changes.
    execute_process(COMMAND "${Python3_EXECUTABLE}" "${script}" headers ${options} --output "${output}"
        OUTPUT_VARIABLE read_files ERROR_VARIABLE faults RESULT_VARIABLE status OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(NOT status EQUAL 0)
        set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${arg_DECLARATIONS})
        message(FATAL_ERROR "${faults}")
    endif()
    string(REPLACE "\n" ";" read_files "${read_files}")
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${read_files}
        "${script}" "${_orca_declaration_tools}/declaration_reader.py")
    configure_file("${_orca_declaration_tools}/declaration_check.h" "${output}/declaration_check.h" COPYONLY)

    foreach(target ${library} ${arg_OBJECTS})
        target_include_directories(${target} PRIVATE "${output}")
        get_target_property(folder ${target} SOURCE_DIR)
        file(GENERATE OUTPUT "${output}/sources_${target}_$<CONFIG>.txt"
            CONTENT "${folder}\n$<JOIN:$<TARGET_PROPERTY:${target},SOURCES>,\n>")
        list(APPEND options --sources "${output}/sources_${target}_$<CONFIG>.txt")
    endforeach()
    set_property(TARGET ${library} APPEND PROPERTY LINK_DEPENDS ${read_files} "${script}")
    add_custom_command(TARGET ${library} POST_BUILD VERBATIM
        COMMAND "${Python3_EXECUTABLE}" "${script}" library ${options} --library "$<TARGET_FILE:${library}>"
            --nm "${CMAKE_NM}")
endfunction()
