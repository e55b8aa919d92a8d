# SPDX-License-Identifier: Apache-2.0
"""Where orca-render is, and running it to its end."""

import logging
import os
import pathlib
import shutil

from .errors import Error, error_of
from .process import Message, Progress, RenderProcess

NAME = "orca-render"
LOG = logging.getLogger("orca")
LEVELS = {"warning": logging.WARNING, "info": logging.INFO, "progress": logging.DEBUG, "debug": logging.DEBUG, "vdebug": logging.DEBUG}


def find_command():
    """The orca-render of the environment variable ORCA_RENDER, else the one that came or was built with this module, else the
    one on the search path. Raises Error where there is none."""
    named = os.environ.get("ORCA_RENDER")
    here = pathlib.Path(__file__).absolute().parent
    real = here.resolve()
    candidates = [named] if named else [
        here.parent.parent / "bin" / NAME,  # BUILD/python/orca
        real.parent.parent.parent.parent / "bin" / NAME,  # PREFIX/share/orca-render/python/orca
        real.parent.parent.parent / "build" / "release" / "bin" / NAME,  # bridges/python/orca
        NAME]
    for candidate in candidates:
        if found := shutil.which(str(candidate)):
            return found
    raise Error(f"there is no command {named} (environment variable ORCA_RENDER)" if named else
                f"there is no {NAME}: put it on the search path, or name it in the environment variable ORCA_RENDER")


def verbosity():
    """The renderer's level for what the logger "orca" takes."""
    return 6 if LOG.isEnabledFor(logging.DEBUG) else 4 if LOG.isEnabledFor(logging.INFO) else 3


def run(command, arguments, progress=None, stdin=None, pass_fds=()):
    """Runs orca-render to its end and returns its exit code and its messages.

    Warnings go to the logger "orca". Whatever is raised meanwhile, by Ctrl-C or by `progress`, stops it.
    progress: called with each Progress; None: nothing is
    """
    more = {} if stdin is None else {"stdin": stdin}
    try:
        child = RenderProcess(command, ["-v", str(verbosity()), *arguments], pass_fds=pass_fds, **more)
    except OSError as problem:
        raise Error(f"cannot start {command}: {problem.strerror}") from problem
    messages = []
    try:
        while True:
            event = child.event()
            if isinstance(event, Progress) and progress is not None:
                progress(event)
            elif isinstance(event, Message):
                messages.append(event)
                if event.kind in LEVELS:
                    LOG.log(LEVELS[event.kind], "%s", event.text)
    except EOFError:
        return child.end(), messages
    finally:
        child.stop()


def run_well(command, arguments, **more):
    """run(), and Error for every exit code but 0. Returns the messages."""
    code, messages = run(command, arguments, **more)
    if code != 0:
        raise error_of(code, messages)
    return messages
