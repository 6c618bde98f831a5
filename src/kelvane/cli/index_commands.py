"""``kelvane index AREA... [--main-node DIR]``: rebuild areas' index files (Part 4.1).

Each AREA (record number or exact title) is put on the Make Index list, then
``Make_Index_File`` runs as at the desktop program's shut-down, with a
one-line progress display on a terminal.  One summary line per area.

An area without an index path, or whose index path has no directory part (the
desktop program ends at once on such a path, Part 4.1 step 4.4), is reported
and left off the list; the exit status is then 1, as it is when an area's
index could not be written.
"""

from __future__ import annotations

import argparse
import sys
import time
from typing import Any

from kelvane.board.current_area import AddToMakeIndexList
from kelvane.board.session import Session
from kelvane.cli.common import (
    CommandError,
    add_main_node_option,
    board_titles,
    counted,
    make_session,
    resolve_area,
)
from kelvane.cli.text_port import TerminalProgress
from kelvane.index.make_index import AreaOutcome, AreaResult, Make_Index_File
from kelvane.platform.board_library import PathUtility
from kelvane.platform.farea_format import FareaError

#: Seconds between two redraws of the progress line.
REDRAW_INTERVAL = 0.1


class IndexProgress:
    """``MakeIndexProgress`` for the command line: a progress line and one summary line per area."""

    def __init__(self, titles: list[str], terminal: TerminalProgress | None = None) -> None:
        self.titles = titles
        self.terminal = terminal if terminal is not None else TerminalProgress()
        self.results: list[AreaResult] = []
        self._file_path = ""
        self._status = ""
        self._maximum = 0
        self._value = 0
        self._last_draw = 0.0

    def _draw(self, force: bool = False) -> None:
        if not self.terminal.enabled:
            return
        now = time.monotonic()
        if not force and now - self._last_draw < REDRAW_INTERVAL:
            return
        self._last_draw = now
        counter = f"[{self._value}/{self._maximum}] " if self._maximum else ""
        self.terminal.show(counter + (self._status or self._file_path))

    def begin(self) -> None:
        return None

    def set_range(self, maximum: int) -> None:
        self._maximum = maximum
        self._value = 0

    def set_value(self, value: int) -> None:
        self._value = value
        self._draw()

    def set_file_path(self, text: str) -> None:
        self._file_path = text
        self._status = ""
        self._draw(force=True)

    def set_status(self, text: str) -> None:
        self._status = text

    def add_row(self, name: str, area_text: str) -> None:
        return None

    def clear_rows(self) -> None:
        return None

    def process_events(self) -> None:
        return None

    def title_of(self, number: int) -> str:
        return self.titles[number - 1] if 1 <= number <= len(self.titles) else ""

    def area_done(self, result: AreaResult) -> None:
        self.terminal.done()
        self.results.append(result)
        number = result.area_number
        name = f"Area {number} ({self.title_of(number)})"
        if result.outcome is AreaOutcome.WRITTEN:
            line = f"{name}: {counted(result.written, 'file')} indexed in {result.index_path}"
            if result.in_place:
                line += " (overwritten in place: the old file could not be made writable)"
            print(line)
        elif result.outcome is AreaOutcome.CARRIED_OVER:
            print(
                f"{name}: the index path {result.index_path} is a directory; nothing written "
                f"(its {result.rows} files carry over to the next area's index)",
                file=sys.stderr,
            )
        elif result.outcome is AreaOutcome.NO_INDEX_PATH:
            print(f"{name} has no index path; skipped", file=sys.stderr)
        else:
            print(f"{name}: the index could not be written (see the error above)", file=sys.stderr)

    def end(self) -> None:
        self.terminal.done()


def _index_path_of(session: Session, number: int) -> str:
    library = session.record_set
    try:
        library.OpenAreaRecord(session.area.MainNodePath, number)
        return library.AreaIndexPath()
    except FareaError as error:
        raise CommandError(str(error)) from error
    finally:
        library.CloseAreas()


def run_index(args: argparse.Namespace) -> int:
    session = make_session(args)
    titles = board_titles(session)
    status = 0
    for area in args.areas:
        number = resolve_area(session, area)
        name = f"Area {number} ({titles[number - 1]})"
        index_path = _index_path_of(session, number)
        if not index_path.strip(" "):
            print(f"{name} has no index path; skipped", file=sys.stderr)
            status = 1
        elif session.path_utility.DirectoryOf(index_path) == PathUtility.UNUSABLE:
            print(
                f"{name} has an index path without a directory ({index_path!r}); skipped",
                file=sys.stderr,
            )
            status = 1
        else:
            AddToMakeIndexList(session, number)
    if not session.make_index_list:
        return status
    session.IndexPending = True
    progress = IndexProgress(titles)
    Make_Index_File(session, progress)
    if any(result.outcome is not AreaOutcome.WRITTEN for result in progress.results):
        status = 1
    return status


def register(subparsers: Any) -> None:
    parser = subparsers.add_parser(
        "index",
        help="rebuild the index files of areas (the Make Index of the desktop program)",
        description="Rebuild the index file of each AREA from the files in its directories.",
    )
    parser.add_argument(
        "areas", nargs="+", metavar="AREA", help="area record number or exact title"
    )
    add_main_node_option(parser)
    parser.set_defaults(handler=run_index)
