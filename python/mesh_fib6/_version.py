"""Which version this package is of, that of its library.

Room: python. Where it is not installed, the sources that it lies in say so.
"""

from __future__ import annotations

import os
import re

_PROJECT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "CMakeLists.txt")


def find() -> str:
    """Raises RuntimeError where neither is there: the package was copied by hand."""
    try:
        from ._installed import VERSION  # type: ignore[import]
        return VERSION
    except ImportError:
        pass
    try:
        with open(_PROJECT, encoding="utf-8") as project:
            stated = re.search(r"^project\(mesh_fib6 VERSION ([0-9.]+)", project.read(), re.MULTILINE)
    except OSError:
        stated = None
    if stated is None:
        raise RuntimeError("mesh_fib6 does not know its version: expected _installed.py in the package, "
                           f"which `cmake --install` writes, or the version of the project in {_PROJECT}")
    return stated.group(1)
