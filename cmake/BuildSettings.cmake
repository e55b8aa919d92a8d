# SPDX-License-Identifier: Apache-2.0
# What every target of the project is built with.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE Release)
endif()

find_program(CCACHE ccache)
if(CCACHE)
    set(CMAKE_C_COMPILER_LAUNCHER ${CCACHE})
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE})
endif()

# Programs are built into build/<preset>/bin, shader libraries into build/<preset>/lib.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/archive)

add_compile_options(-Wall -Wextra -Wshadow -Wpointer-arith -Wconversion)
# Off by default: a newer compiler than ours may know more warnings, and must still build.
option(ORCA_WERROR "take warnings for errors" OFF)
if(ORCA_WERROR)
    add_compile_options(-Werror)
endif()
# Contraction into fused operations would make results depend on the processor.
add_compile_options(-ffp-contract=off)

# States of some hundred bytes are copied for every ray. The processors' string instructions, which the compiler would
# use for that, have a high start-up cost and stall the loads that follow.
include(CheckCXXCompilerFlag)
check_cxx_compiler_flag("-mmemcpy-strategy=libcall:-1:noalign" ORCA_HAS_MEMCPY_STRATEGY)
if(ORCA_HAS_MEMCPY_STRATEGY)
    add_compile_options(-mmemcpy-strategy=libcall:-1:noalign -mmemset-strategy=libcall:-1:noalign)
endif()

set(ORCA_SANITIZE "" CACHE STRING "sanitizers to build with, for instance address,undefined")
if(ORCA_SANITIZE)
    add_compile_options(-fsanitize=${ORCA_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${ORCA_SANITIZE})
endif()
