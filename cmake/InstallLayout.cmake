# SPDX-License-Identifier: Apache-2.0
# Where installed files go, relative to the prefix. Only include/orca and the CMake package are called plain `orca`:
# Debian's screen reader of that name owns the command, the man page, the Python module and share/orca.
include(GNUInstallDirs)

# The command finds these relative to itself, so they do not vary with the system's library folders.
set(ORCA_INSTALL_SHADER_LIBRARIES lib/orca-render)
set(ORCA_INSTALL_DECLARATIONS share/orca-render/declarations)

set(ORCA_INSTALL_BLENDER share/orca-render) # a folder blender in it
set(ORCA_INSTALL_PYTHON share/orca-render/python) # the module, which the Blender add-on takes a copy of

set(ORCA_INSTALL_HEADERS ${CMAKE_INSTALL_INCLUDEDIR}/orca)
set(ORCA_INSTALL_CMAKE ${CMAKE_INSTALL_LIBDIR}/cmake/orca)
set(ORCA_INSTALL_EXAMPLES ${CMAKE_INSTALL_DATADIR}/orca-render/examples)
set(ORCA_INSTALL_BASH_COMPLETION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
# Debian's zsh looks elsewhere for packages' completions than for those that a machine's owner installs.
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    set(ORCA_INSTALL_ZSH_COMPLETION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)
else()
    set(ORCA_INSTALL_ZSH_COMPLETION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
endif()
