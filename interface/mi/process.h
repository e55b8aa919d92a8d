// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "types.h"

miBEGIN_INTERFACE

/// True when the render has been stopped: long computations outside of rays should end.
int mi_par_aborted(void);

miEND_INTERFACE
