"""``kelvane scan`` and ``kelvane read-diz``: the new-file scan and Read DIZ on the command line.

Both open the area as the desktop program does (``Farea_Dat_Initialize``
then ``Load_fEditFileArealsv``) into a
:class:`~kelvane.editor.editor_view.ListEditorView`, run the same core
operation as the editor's menu command (Parts 2.3 and 2.4), and save the
Files List through ``SaveWork`` when the operation set ``ChangesMade``.

``scan``: ``--real-dates`` dates new entries by their files (the Options
setting "Use Real File Dates when adding New Files", which the desktop program
only takes from the settings store once Options has been opened; the command
line takes it from this flag alone, default off).  ``--dry-run`` runs the scan
in memory, lists what it would add and writes nothing.  When nothing is new,
the ``NoNewFilesFound`` alert's text "No new files were found at this time."
is printed on standard output as a line of its own, nothing is written, and
the exit status is 0.  Progress is shown on a terminal only.

Both take ``--yes``, which answers OK to the questions asked while the area
is opened: an offline area's CD prompt (Part 1.1), which the command line's
port otherwise answers Cancel when there is no terminal to ask, so that the
area could not be opened at all (the prompt's hint says "pass --yes").

``read-diz``: names are matched by :func:`kelvane.cli.common.select_names`:
exactly, and only when no entry has that exact name, ignoring case (the
board's file names ignore case).  A name matching several entries selects
them all.  Names not in the Files List, and entries whose files are in none
of the area's directories, are listed; either makes the exit status 1.

Exit status: 0 done; 1 a name not in the list, a file not found, or an error
reported (also a failed save); 2 wrong usage.
"""

from __future__ import annotations

import argparse
import time
from typing import TYPE_CHECKING, Any

from kelvane.board.alerts import CATALOGUE, AlertContext
from kelvane.board.user_port import Answer, MessageBox
from kelvane.cli.common import (
    AREA_HELP,
    add_main_node_option,
    add_yes_option,
    counted,
    error_reported,
    load_area,
    make_session,
    open_named_entries,
    save_changes,
)
from kelvane.cli.text_port import TerminalProgress, TextPort
from kelvane.editor.editor_view import ListEditorView

if TYPE_CHECKING:
    from kelvane.board.files_list import Entry

ALERT_TITLE = "Kelvane Alert!"
_NO_NEW_FILES = CATALOGUE["NoNewFilesFound"].box(AlertContext("", ""))
#: Seconds between two redraws of the terminal progress line.
PROGRESS_INTERVAL = 0.1


def register(subparsers: argparse._SubParsersAction[Any]) -> None:
    scan = subparsers.add_parser(
        "scan",
        help="add the files the Files List does not list yet (File Scan)",
        description="Walks the area's directories, appends an entry for every file not yet in "
        "the Files List (size, date, and the description from the archive's FILE_ID.DIZ), "
        "and saves the Files List (the previous one kept as FILES.BAK).",
    )
    scan.add_argument("area", metavar="AREA", help=AREA_HELP)
    add_main_node_option(scan)
    scan.add_argument(
        "--real-dates",
        action="store_true",
        help="date new entries by their files' last change (default: today)",
    )
    scan.add_argument(
        "--dry-run", action="store_true", help="list what would be added; write nothing"
    )
    add_yes_option(scan)
    scan.set_defaults(handler=_scan)

    read_diz = subparsers.add_parser(
        "read-diz",
        help="take entries' descriptions again from their archives' FILE_ID.DIZ (Read DIZ)",
        description="Replaces the descriptions of the named entries with the FILE_ID.DIZ text "
        'of their archives ("No Description" when there is none) and saves the Files List.',
    )
    read_diz.add_argument("area", metavar="AREA", help=AREA_HELP)
    read_diz.add_argument("names", metavar="NAME", nargs="+", help="entry names")
    add_main_node_option(read_diz)
    add_yes_option(read_diz)
    read_diz.set_defaults(handler=_read_diz)


class ScanTextPort(TextPort):
    """The command line's port, with the scan's one result box on standard output.

    ``TextPort`` prints every alert on standard error; ``NoNewFilesFound`` is
    the scan's result rather than a problem, so its text ("No new files were
    found at this time.") is printed on standard output as a line of its own.
    """

    def message_box(self, box: MessageBox) -> Answer:
        if box == _NO_NEW_FILES:
            self.shown.append(box)
            self.stdout.write(box.text + "\n")
            self.stdout.flush()
            return Answer.OK
        return super().message_box(box)


class TerminalScanProgress:
    """A ``ScanProgress`` on one terminal line: directory, files looked at, files found."""

    def __init__(self, terminal: TerminalProgress | None = None) -> None:
        self.terminal = terminal if terminal is not None else TerminalProgress()
        self._path = ""
        self._count = "0"
        self._maximum = 1
        self._value = 0
        self._drawn = 0.0

    def _draw(self, *, force: bool = False) -> None:
        if not self.terminal.enabled:
            return
        now = time.monotonic()
        if not force and now - self._drawn < PROGRESS_INTERVAL:
            return
        self._drawn = now
        self.terminal.show(f"{self._value}/{self._maximum} files, {self._count} new: {self._path}")

    def show(self) -> None:
        return None

    def hide(self) -> None:
        self.terminal.done()

    def set_searching_path(self, text: str) -> None:
        self._path = text
        self._draw(force=True)

    def set_found_file(self, name: str) -> None:
        return None

    def set_count(self, text: str) -> None:
        self._count = text

    def set_status(self, text: str) -> None:
        return None

    def set_range(self, maximum: int) -> None:
        self._maximum = maximum

    def set_value(self, value: int) -> None:
        self._value = value
        self._draw()

    def focus_quit(self) -> None:
        return None

    def process_events(self) -> None:
        return None


def first_line(description: str) -> str:
    """The first line of a description (its lines end in CR LF)."""
    return description.split("\r\n", 1)[0]


def _entry_line(entry: Entry) -> str:
    return f"{entry.name:<12} {entry.size.strip(' '):>9}  {first_line(entry.description)}"


def _scan(args: argparse.Namespace) -> int:
    from kelvane.editor.file_scan import run_file_scan

    session = make_session(args, port=ScanTextPort(assume_yes=bool(args.yes)))
    entries = load_area(session, args.area)
    view = ListEditorView(entries)
    session.RealFileDates = bool(args.real_dates)
    before = len(entries)
    added = run_file_scan(session, view, TerminalScanProgress())
    new_entries = entries[before:]
    failed = error_reported(session)
    if added == 0:
        return 1 if failed else 0
    if args.dry_run:
        print(f"Would add {counted(added, 'new file')} to {session.area.FileListPath}:")
        for entry in new_entries:
            print("  " + _entry_line(entry))
        print("Nothing was written (--dry-run).")
        return 1 if failed else 0
    for entry in new_entries:
        print("Added " + _entry_line(entry))
    print(f"Added {counted(added, 'new file')} to {session.area.FileListPath}.")
    failed = not save_changes(session, entries) or failed
    return 1 if failed else 0


def _read_diz(args: argparse.Namespace) -> int:
    from kelvane.editor.read_diz import mnuReadDIZ_Click

    opened = open_named_entries(args, all_when_none=False)
    session, entries, view = opened.session, opened.entries, opened.view
    chosen, missing = opened.chosen, opened.missing
    if not chosen:
        return 1
    mnuReadDIZ_Click(session, view)
    not_found = set(view.selected_indices())
    for index in chosen:
        if index not in not_found:
            entry = entries[index]
            print(f"{entry.name}: {first_line(entry.description)}")
    failed = error_reported(session)
    failed = not save_changes(session, entries) or failed
    return 1 if missing or not_found or failed else 0


__all__ = ["ScanTextPort", "TerminalScanProgress", "first_line", "register"]
