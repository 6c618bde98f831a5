"""Temporary files beside the file they will replace, and writes that finish.

The Files List (Part 1.2) and the index files (Part 4.1) are written whole to
a temporary file in the same directory and then renamed over the old one, so
a failure never leaves a half-written file under the real name.
"""

from __future__ import annotations

import errno
import os
import secrets
from collections.abc import Callable

#: Bytes handed to one write call.
WRITE_CHUNK = 1 << 20


def create_temporary(directory: str, name: str) -> tuple[str, int]:
    """Create a new temporary file for *name* in *directory*: (its path, an open descriptor).

    The name starts with a dot, so no scan or index of the area takes it for
    one of the area's files.
    """
    flags = os.O_WRONLY | os.O_CREAT | os.O_EXCL | getattr(os, "O_BINARY", 0)
    for _attempt in range(100):
        candidate = os.path.join(directory, f".{name}.{secrets.token_hex(4)}.tmp")
        try:
            return candidate, os.open(candidate, flags, 0o666)  # the usual mode, as open() gives
        except FileExistsError:
            continue
    raise FileExistsError(errno.EEXIST, "No free name for a temporary file", directory)


def write_all(
    descriptor: int,
    data: bytes,
    path: str,
    write: Callable[[int, memoryview], int] = os.write,
) -> None:
    """Write all of *data* to *descriptor* (the file *path*), however many calls it takes."""
    view = memoryview(data)
    while view:
        count = write(descriptor, view[:WRITE_CHUNK])
        if count <= 0:
            raise OSError(errno.EIO, "The write made no progress", path)
        view = view[count:]
