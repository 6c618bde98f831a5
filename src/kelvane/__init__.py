"""Kelvane: the file-area manager for the operator of a Vandor bulletin-board system."""

from __future__ import annotations

from typing import Any

__version__ = "0.1.0"


def create_main_frame() -> Any:
    """Run the start-up of Part 5.1 without the splash; return the shown main frame.

    The event loop is not entered, so a test can drive the program as a user would.
    """
    from kelvane.shell.application import create_main_frame as create

    return create()
