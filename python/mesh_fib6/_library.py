"""libmesh_fib6.so, found and loaded.

Room: python. Knows where things are installed; nothing of messages.
"""

from __future__ import annotations

import ctypes
import os

VARIABLE = "MESH_FIB6_LIBRARY"
_NAME = "libmesh_fib6.so"
_HERE = os.path.dirname(os.path.abspath(__file__))


def _beside() -> str | None:
    """The library of the tree in which this package is installed, wherever that has been moved to."""
    try:
        # Written when it is installed: the way from here.
        from ._installed import LIBRARY  # type: ignore[import]
    except ImportError:
        return None
    return os.path.normpath(os.path.join(_HERE, LIBRARY)) if LIBRARY else None


def load() -> ctypes.CDLL:
    """The library, as ctypes has it. Raises ImportError, which says what was tried."""
    named, beside = os.environ.get(VARIABLE), _beside()
    if named:
        found, why = named, f"named by the environment variable {VARIABLE}"
    elif beside is not None and os.path.exists(beside):
        found, why = beside, "beside this package"
    else:
        found, why = _NAME, "by the loader, in its folders"
    try:
        return ctypes.CDLL(found)
    except OSError as error:
        looked = f"{found} ({why})"
        if not named and beside not in (None, found):
            looked = f"{beside} (beside this package, not there), then {looked}"
        raise ImportError(
            f"mesh_fib6 needs {_NAME}, which cannot be loaded: {error}. Looked for: {looked}. The library "
            "needs the platform's libtolvimesh.so, or the development host's, beside it or where the loader "
            f"looks (LD_LIBRARY_PATH). {VARIABLE} names another library.",
            name="mesh_fib6", path=found) from error
