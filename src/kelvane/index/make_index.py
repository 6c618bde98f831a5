"""The master index of Part 4.1: ``Make_Index_File``.

Rewrites the index file of every area on the Make Index list
(``session.make_index_list``, the spec's ``lstMakeIdx``): one 15-byte record
per file of the area's directories, in slot order and, within a directory, in
listing order (by name, ignoring case).  A record is the slot number as a
16-bit little-endian integer followed by the name and a NUL in 13 bytes,
padded with spaces::

    offset 0  width 2   Area      slot 0..10 of the directory holding the file
    offset 2  width 13  FileName  upper-case name (8.3 alias when longer than 12) + NUL

The operation talks to its form through :class:`MakeIndexProgress` (the Qt
form ``frmMakeIndex``, the command line's progress line, a test's recorder).

Decisions where the spec is silent:

* An error (a directory that cannot be listed, an index file that cannot be
  opened, a library status) is reported under "Make_Index_File" and the run
  goes on with the next pending area; the rows collected for the failed area
  are dropped.  The form is unloaded, the list emptied and ``IndexPending``
  cleared whatever happened.
* An area whose record has no index path (empty or blanks) is skipped before
  its directories are listed: Part 1.1 never tracks such an area, so it can
  only be on the list when its record changed meanwhile; it is not the
  "index path that cannot be taken apart" for which the program ends.
* "A file named IndexPath exists" is answered ignoring case (porting.md);
  the file found is cleared, deleted and written again as spelled on disk.
"""

from __future__ import annotations

import enum
import fnmatch
import os
import re
import struct
from dataclasses import dataclass
from typing import Protocol

from kelvane.board.file_system import ClearAttributes, MakePath, file_exists, list_directory_files
from kelvane.board.session import DIRECTORY_SLOTS, Session
from kelvane.board.vb_text import UCase
from kelvane.platform.board_library import PathUtility
from kelvane.platform.code_pages import DEFAULT_CODE_PAGE, code_page
from kelvane.platform.short_names import directory_aliases, system_alias
from kelvane.platform.temporary_files import create_temporary, write_all

PROCEDURE_NAME = "Make_Index_File"
RECORD_SIZE = 15
NAME_FIELD_SIZE = 13
#: A name longer than this is indexed under its short (8.3) alias.
LONGEST_NAME = 12
#: Names matching these are not written; their record numbers stay used.
SKIPPED_PATTERNS = ("*.BAK", "FILES.*")

# Indirection that tests replace to inject failures into the index write.
_write = os.write

_AREA_FIELD = struct.Struct("<h")
_SKIPPED = re.compile("|".join(f"(?:{fnmatch.translate(pattern)})" for pattern in SKIPPED_PATTERNS))


class MakeIndexProgress(Protocol):
    """What ``Make_Index_File`` shows while it runs: the Make Index form's part."""

    def begin(self) -> None:
        """Disable the main frame, show the form, wait a second letting the event loop run."""
        ...

    def set_range(self, maximum: int) -> None:
        """``prbMakeIdx``: minimum 0, this maximum, value back to the minimum."""
        ...

    def set_value(self, value: int) -> None:
        """``prbMakeIdx``'s value."""
        ...

    def set_file_path(self, text: str) -> None:
        """``lblFilePath``'s caption."""
        ...

    def set_status(self, text: str) -> None:
        """``lblStatus``'s caption."""
        ...

    def add_row(self, name: str, area_text: str) -> None:
        """Add a row to ``lsvMakeIdx``: "FileName" and "Area" (slot number as text)."""
        ...

    def clear_rows(self) -> None:
        """Remove every row of ``lsvMakeIdx``."""
        ...

    def process_events(self) -> None:
        """Let the event loop run once."""
        ...

    def area_done(self, result: AreaResult) -> None:
        """One pending area has been dealt with (for summaries; the form ignores it)."""
        ...

    def end(self) -> None:
        """Unload the form: hide it and enable the main frame again."""
        ...


class AreaOutcome(enum.Enum):
    WRITTEN = "written"
    #: The index path names a directory: nothing written, rows carried to the next area.
    CARRIED_OVER = "carried over"
    NO_INDEX_PATH = "no index path"
    FAILED = "failed"


@dataclass(frozen=True)
class AreaResult:
    """What became of one pending area."""

    area_number: int
    index_path: str
    outcome: AreaOutcome
    #: Rows collected for the index (carried-over rows included).
    rows: int = 0
    #: Records written (rows less the skipped names).
    written: int = 0
    #: In place: the old file could not be cleared and was overwritten record by record.
    in_place: bool = False


class NullProgress:
    """A progress port that shows nothing (library callers, the benchmark)."""

    def begin(self) -> None:
        return None

    def set_range(self, maximum: int) -> None:
        return None

    def set_value(self, value: int) -> None:
        return None

    def set_file_path(self, text: str) -> None:
        return None

    def set_status(self, text: str) -> None:
        return None

    def add_row(self, name: str, area_text: str) -> None:
        return None

    def clear_rows(self) -> None:
        return None

    def process_events(self) -> None:
        return None

    def area_done(self, result: AreaResult) -> None:
        return None

    def end(self) -> None:
        return None


def index_name(listed_name: str, page: str = DEFAULT_CODE_PAGE) -> str:
    """The listed name trimmed of blanks and in upper case within the code page.

    One character for one: a character whose upper case is longer ("ß" ->
    "SS") or lies outside the page ("µ" -> Greek "Μ" in Windows-1252) stays as
    it is, as the system's ANSI ``UCase`` keeps it.
    """
    return UCase(listed_name.strip(" "), page)


def is_skipped(name: str) -> bool:
    """True for a name matching "*.BAK" or "FILES.*" (exact case: names are upper-cased)."""
    return _SKIPPED.match(name) is not None


def _val(text: str) -> int:
    """VB's ``Val`` for the decimal texts of the list: blanks skipped, digits read, else 0."""
    match = re.match(r"\s*([-+]?\d+)", text)
    return int(match.group(1)) if match else 0


def _terminate() -> None:
    """The program's end for an index path it cannot take apart (step 4.4): at once, silently."""
    os._exit(1)


@dataclass
class _AreaRecord:
    index_path: str
    paths: list[str]


def _read_area(session: Session, area_number: int) -> _AreaRecord:
    library = session.record_set
    try:
        library.OpenAreas(session.area.MainNodePath)
        library.SelectArea(area_number)
        index_path = library.AreaIndexPath()
        paths = [
            library.AreaFilePath() if slot == 0 else library.AreaAltPath(slot)
            for slot in range(DIRECTORY_SLOTS)
        ]
    finally:
        library.CloseAreas()
    return _AreaRecord(index_path, paths)


def _collect_rows(
    session: Session,
    progress: MakeIndexProgress,
    paths: list[str],
    rows: list[tuple[str, str]],
) -> None:
    """Step 4.3: every file of every used slot becomes a row."""
    for slot, path in enumerate(paths):
        if not path.strip(" "):
            continue
        names = list_directory_files(path)
        progress.process_events()
        progress.set_range(len(names) or 1)
        progress.set_file_path("Scanning File Directory: " + path)
        area_text = str(slot)
        set_value = progress.set_value
        set_status = progress.set_status
        add_row = progress.add_row
        page = session.code_page
        can_encode = code_page(page).can_encode
        aliases: dict[str, str] | None = None  # computed once per directory, when first needed
        for position, listed in enumerate(names):
            set_value(position)
            name = index_name(listed, page)
            set_status("Reading File: " + name)
            # A name the code page cannot store (bytes that are not text in the
            # system's encoding) is indexed under its alias as well, as the
            # Files List writer does: never as "?" characters that name no file.
            if len(name) > LONGEST_NAME or not (name.isascii() or can_encode(name)):
                alias = system_alias(path, listed, page)  # Windows: the system's short name
                if alias is None:
                    if aliases is None:
                        aliases = directory_aliases(names, page)
                    alias = aliases[listed]
                name = index_name(alias, page)
            rows.append((name, area_text))
            add_row(name, area_text)


def _records(
    session: Session, progress: MakeIndexProgress, rows: list[tuple[str, str]]
) -> tuple[bytearray, list[tuple[int, int]], int]:
    """Step 4.8 in memory: the index bytes, the runs of written records (start, end), the count written."""
    encode = code_page(session.code_page).encode
    set_value = progress.set_value
    set_status = progress.set_status
    skipped = _SKIPPED.match
    area_fields: dict[str, bytes] = {}  # the packed "Area" field of each slot text
    data = bytearray()
    runs: list[tuple[int, int]] = []
    run_start: int | None = None
    written = 0
    for number, (name, area_text) in enumerate(rows, start=1):
        set_value(number)
        offset = (number - 1) * RECORD_SIZE
        if skipped(name) is not None:
            if run_start is not None:
                runs.append((run_start, offset))
                run_start = None
            continue
        set_status("Writing File Name: " + name)
        if len(data) < offset:
            data.extend(bytes(offset - len(data)))  # an unwritten record reads as zeros
        area_field = area_fields.get(area_text)
        if area_field is None:
            area_field = area_fields[area_text] = _AREA_FIELD.pack(_val(area_text))
        data += area_field
        data += encode(name + "\0")[:NAME_FIELD_SIZE].ljust(NAME_FIELD_SIZE, b" ")
        written += 1
        if run_start is None:
            run_start = offset
    if run_start is not None:
        runs.append((run_start, len(data)))
    return data, runs, written


def _write_index(
    session: Session,
    progress: MakeIndexProgress,
    area_number: int,
    index_path: str,
    rows: list[tuple[str, str]],
) -> AreaResult:
    """Steps 4.4 to 4.9 for one area."""
    directory = session.path_utility.DirectoryOf(index_path)
    if directory == PathUtility.UNUSABLE:
        _terminate()
    MakePath(directory)  # its result is ignored (step 4.4)
    progress.set_range(len(rows))
    progress.set_file_path("Writing File: " + index_path)

    if os.path.isdir(index_path):
        # Step 4.6: a directory of that name; the rows carry over to the next area (kept as it is).
        return AreaResult(area_number, index_path, AreaOutcome.CARRIED_OVER, rows=len(rows))
    target = index_path
    in_place = False
    head, tail = os.path.split(index_path)
    existing = file_exists(head, tail) if head and tail else None
    if existing is not None:
        target = existing
        # When the old file can be cleared it is replaced whole (below);
        # otherwise it stays and old records past the new end remain.
        in_place = not ClearAttributes(existing)

    data, runs, written = _records(session, progress, rows)
    if in_place:
        with open(target, "r+b") as index_file:
            # Each run of written records at its own offset: gaps keep the old bytes.
            for start, end in runs:
                index_file.seek(start)
                index_file.write(data[start:end])
    else:
        # The new file is whole where the runs leave gaps (they are zeros in
        # *data*); written beside the old one and renamed over it, so a full
        # disk or a write error leaves the previous index as it was.
        _replace_file(target, bytes(data))
    return AreaResult(
        area_number,
        index_path,
        AreaOutcome.WRITTEN,
        rows=len(rows),
        written=written,
        in_place=in_place,
    )


def _replace_file(target: str, data: bytes) -> None:
    """Write *data* to a hidden temporary file beside *target*, then rename it to *target*."""
    directory, name = os.path.split(target)
    temporary, descriptor = create_temporary(directory, name)
    try:
        try:
            write_all(descriptor, data, temporary, _write)
        finally:
            os.close(descriptor)
        os.replace(temporary, target)
    except BaseException:
        try:
            os.remove(temporary)
        except OSError:
            pass
        raise


def _index_area(
    session: Session, progress: MakeIndexProgress, area_number: int, rows: list[tuple[str, str]]
) -> AreaResult:
    """Step 4 for one pending area; *rows* holds what an earlier area carried over.

    An error is reported and the area's rows are dropped; the caller goes on.
    """
    index_path = ""
    try:
        record = _read_area(session, area_number)
        index_path = record.index_path
        if not index_path.strip(" "):
            return AreaResult(area_number, index_path, AreaOutcome.NO_INDEX_PATH, rows=len(rows))
        _collect_rows(session, progress, record.paths, rows)
        result = _write_index(session, progress, area_number, index_path, rows)
    except Exception as error:  # the procedure's trap
        session.ReportError(PROCEDURE_NAME, error)
        rows.clear()
        progress.clear_rows()
        return AreaResult(area_number, index_path, AreaOutcome.FAILED)
    if result.outcome is AreaOutcome.WRITTEN:
        rows.clear()
        progress.clear_rows()
    return result


def Make_Index_File(session: Session, progress: MakeIndexProgress) -> None:
    """Rewrite the index file of every pending area, then unload the form.

    Leaves ``session.make_index_list`` empty and ``IndexPending`` false.
    """
    try:
        pending = list(session.make_index_list)
        if pending:
            progress.begin()
            rows: list[tuple[str, str]] = []
            for entry in pending:
                progress.area_done(_index_area(session, progress, _val(entry), rows))
    except Exception as error:
        session.ReportError(PROCEDURE_NAME, error)
    finally:
        # Step 6: the form's unload empties the list and clears the flag.
        session.make_index_list.clear()
        session.IndexPending = False
        try:
            progress.end()
        except Exception as error:
            session.ReportError(PROCEDURE_NAME, error)


__all__ = [
    "AreaOutcome",
    "AreaResult",
    "LONGEST_NAME",
    "Make_Index_File",
    "MakeIndexProgress",
    "NullProgress",
    "PROCEDURE_NAME",
    "RECORD_SIZE",
    "SKIPPED_PATTERNS",
    "index_name",
    "is_skipped",
]
