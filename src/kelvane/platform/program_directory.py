"""The program's directory: "Kelvane.err", "Work", "AVI" and the help.

porting.md: the folder named by ``KELVANE_HOME``, else the user's data
directory for Kelvane, created on first start.
"""

from __future__ import annotations

import os
import sys
from pathlib import Path


def user_data_directory() -> Path:
    """The per-user data directory for Kelvane on this system."""
    if sys.platform == "win32":
        base = os.environ.get("LOCALAPPDATA") or os.path.expanduser(r"~\AppData\Local")
        return Path(base) / "Kelvane"
    if sys.platform == "darwin":
        return Path.home() / "Library" / "Application Support" / "Kelvane"
    base = os.environ.get("XDG_DATA_HOME") or os.path.join(
        os.path.expanduser("~"), ".local", "share"
    )
    return Path(base) / "kelvane"


def program_directory() -> Path:
    """The program's directory as configured (not created here)."""
    home = os.environ.get("KELVANE_HOME")
    if home:
        return Path(home)
    return user_data_directory()


def join_program_path(directory: str | os.PathLike[str], *parts: str) -> str:
    """The spec's ``App.Path & "\\" & part``: a plain join with the separator.

    A directory text that already ends in a separator gives a doubled one, as
    the spec keeps for a program directory at a drive root (Part 1.3).
    """
    text = os.fspath(directory)
    for part in parts:
        text = text + os.sep + part
    return text
