"""The error reporter of Part 1.3: ``ReportError`` and "Kelvane.err".

Every procedure's trap passes its own name; the reporter shows "Kelvane Error
Alert!" (when the error number is not 0) and appends six lines to the log in
the program's directory.  Python exceptions are given the number, source and
description that the original's run-time errors carried.
"""

from __future__ import annotations

import errno
import sys
import time
from collections.abc import Callable
from dataclasses import dataclass

from kelvane.board.user_port import Buttons, Icon, MessageBox, UserPort
from kelvane.platform.code_pages import code_page
from kelvane.platform.farea_format import FareaError
from kelvane.platform.program_directory import join_program_path

ERROR_TITLE = "Kelvane Error Alert!"
APPLICATION_NAME = "Kelvane"
LOG_NAME = "Kelvane.err"
#: VB's ``vbObjectError``: errors raised by an object library are numbered above it.
VB_OBJECT_ERROR = -2147221504


@dataclass(frozen=True)
class RunTimeError:
    """The pending run-time error: number, source and description."""

    number: int
    source: str
    description: str


NO_ERROR = RunTimeError(0, APPLICATION_NAME, "")

_ERRNO_NUMBERS = {
    errno.ENOENT: (53, "File not found"),
    errno.EACCES: (70, "Permission denied"),
    errno.EPERM: (70, "Permission denied"),
    errno.EROFS: (70, "Permission denied"),
    errno.ENOSPC: (61, "Disk full"),
    errno.EDQUOT: (61, "Disk full"),
    errno.ENOTDIR: (76, "Path not found"),
    errno.EISDIR: (75, "Path/File access error"),
    errno.EEXIST: (58, "File already exists"),
    errno.EBUSY: (70, "Permission denied"),
    errno.EIO: (57, "Device I/O error"),
}


def run_time_error(error: BaseException | None) -> RunTimeError:
    """The number, source and description the original would have reported."""
    if error is None:
        return NO_ERROR
    if isinstance(error, FareaError):
        return RunTimeError(VB_OBJECT_ERROR + 1, "Vandor.AreaRecords", str(error))
    if isinstance(error, OSError):
        number, name = _ERRNO_NUMBERS.get(error.errno or 0, (75, "Path/File access error"))
        detail = error.strerror or str(error) or name
        where = error.filename
        description = f"{name}: {detail}" if detail != name else name
        if where is not None:
            description += f" ({where})"
        return RunTimeError(number, APPLICATION_NAME, description)
    if isinstance(error, MemoryError):
        return RunTimeError(7, APPLICATION_NAME, "Out of memory")
    if isinstance(error, OverflowError):
        return RunTimeError(6, APPLICATION_NAME, f"Overflow: {error}")
    if isinstance(error, (ValueError, TypeError)):
        return RunTimeError(13, APPLICATION_NAME, f"Type mismatch: {error}")
    if isinstance(error, (IndexError, KeyError)):
        return RunTimeError(9, APPLICATION_NAME, f"Subscript out of range: {error}")
    return RunTimeError(51, APPLICATION_NAME, f"Internal error: {type(error).__name__}: {error}")


def vb_str(number: int) -> str:
    """VB's ``Str``: one blank before a non-negative number."""
    return f" {number}" if number >= 0 else str(number)


def _qt_locale_text(kind: str) -> str | None:
    """The current date or time in the user's locale short format, through Qt.

    porting.md: dates and times in the error log use the locale's formats
    through Qt.  The core never imports Qt itself: only when the program has
    already loaded Qt (the desktop program) is it asked; otherwise None.
    """
    qt_core = sys.modules.get("PySide6.QtCore")
    if qt_core is None:
        return None
    try:
        locale = qt_core.QLocale.system()
        short = qt_core.QLocale.FormatType.ShortFormat
        if kind == "date":
            return str(locale.toString(qt_core.QDate.currentDate(), short))
        return str(locale.toString(qt_core.QTime.currentTime(), short))
    except Exception:  # any trouble: the C library's formats below
        return None


def _default_date() -> str:
    return _qt_locale_text("date") or time.strftime("%x")


def _default_time() -> str:
    return _qt_locale_text("time") or time.strftime("%X")


def _one_line(text: str) -> str:
    """*text* as one log line: a CR or LF inside it would break the six-line entry."""
    if "\r" in text or "\n" in text:
        return " ".join(text.replace("\r\n", "\r").replace("\n", "\r").split("\r"))
    return text


class ErrorReporter:
    """``ReportError`` bound to a program directory, a port and date formats."""

    def __init__(
        self,
        port: UserPort,
        app_path: str,
        *,
        page: str = "cp1252",
        short_date: Callable[[], str] = _default_date,
        short_time: Callable[[], str] = _default_time,
    ) -> None:
        self.port = port
        self.app_path = app_path
        self.page = page
        self.short_date = short_date
        self.short_time = short_time

    @property
    def log_path(self) -> str:
        """The program's directory followed by "\\\\Kelvane.err" (Part 1.3)."""
        return join_program_path(self.app_path, LOG_NAME)

    def ReportError(self, procedure_name: str, error: BaseException | None = None) -> None:
        pending = run_time_error(error)
        if pending.number != 0:
            text = (
                "Error # "
                + vb_str(pending.number)
                + " was generated by "
                + pending.source
                + "\r"
                + pending.description
                + "\r"
                + "Procedure Name: "
                + procedure_name
            )
            self.port.message_box(
                MessageBox(ERROR_TITLE, text, Buttons.RETRY_CANCEL, Icon.CRITICAL)
            )
        self.append_entry(procedure_name, pending)

    def append_entry(self, procedure_name: str, pending: RunTimeError) -> None:
        try:
            lines = [
                "*" * 45,
                "Date: " + self.short_date() + "   Time: " + self.short_time(),
                "-" * 45,
                "Error # " + vb_str(pending.number) + " was generated by " + pending.source,
                pending.description,
                "Procedure Name: " + procedure_name,
            ]
            text = "".join(_one_line(line) + "\r\n" for line in lines)
            data = code_page(self.page).encode(text)
            with open(self.log_path, "ab") as log:
                log.write(data)
        except Exception:
            # The reporter's own failure (the log cannot be opened or written,
            # or anything else) is not reported again; the program goes on (Part 1.3).
            pass
