"""The new-file scan (Part 2.3), without a screen.

:func:`run_file_scan` walks the current area's directories, appends one entry
for every file that the open list does not hold yet (its description from the
archive's FILE_ID.DIZ, Part 2.4) and ends as the spec's step 9.  It reports
its progress through a :class:`ScanProgress`: the search form
``frmFileSearch`` (``file_scan_form.py``), the command line's terminal
progress, or :class:`QuietScanProgress` for tests and the benchmark.  The
quit button is seen in :meth:`ScanProgress.process_events`, which runs once
per listed file and may set ``session.SearchCancel``.

Decisions where the spec leaves room:

- A name is looked up in the list through a set of the list's names, folded
  to upper case, built once and updated as entries are added: the spec's
  exact, case-insensitive, whole-entry comparison without a linear search.
- New entries are handed to the view in batches (:data:`APPEND_BATCH`
  entries or a quarter of the list's length, whichever is more; at the end
  of each directory, and whenever the scan ends, also when it is stopped or
  fails), so a large scan does not repaint the editor once per file, nor lay
  out a list of 100,000 names again every 256 files.  The name set is
  updated at once, so a second spelling of a name later in the same scan is
  not added twice.
- The quit button is tested where the spec tests it: before each directory
  and before each file.  A press seen while file N's events run therefore
  lets file N finish and stops before file N + 1.
- Archives: names holding ".ZIP" anywhere (the spec), and names ending in
  ".7Z", ".RAR", ".ARJ", ".LZH" or ".LHA" (the other formats of the unzip
  facility), have their FILE_ID.DIZ extracted.
- Size: the file's length as plain decimal text (no leading blank), as the
  spec's step 7.7 says; dates are taken from the file's timestamp directly,
  in local time (porting.md), "MM-DD-YY".
- An error ends the scan through the trap ("mnuFileScan_Click").  The
  entries added before it stay in the list, and since they are changes,
  ``ChangesMade`` (and, for a tracked area, ``IndexPending`` and the Make
  Index list) are set for them as after a stop: a list that holds new
  entries is never one that may be closed without the save question.
"""

from __future__ import annotations

import fnmatch
import os
import time
from typing import TYPE_CHECKING, Protocol

from kelvane.board.current_area import AddToMakeIndexList
from kelvane.board.file_system import MakePath, fold, list_directory_files
from kelvane.board.files_list import Entry
from kelvane.board.vb_text import UCase, plain_number
from kelvane.editor.diz import build_description, describe_archive, is_scan_archive

if TYPE_CHECKING:
    from kelvane.board.session import Session
    from kelvane.board.user_port import UserPort
    from kelvane.editor.editor_view import EditorView

PROCEDURE_NAME = "mnuFileScan_Click"
STATUS_SEARCHING = "Searching, one moment please!"
STATUS_READING = "Reading File and Extracting File Description!"
DATE_FORMAT = "%m-%d-%y"
#: New entries are handed to the view at most this many at a time.
APPEND_BATCH = 256


class ScanProgress(Protocol):
    """What the scan shows while it runs, and where it lets events run."""

    def show(self) -> None:
        """Load and show the search form."""
        ...

    def hide(self) -> None:
        """Hide (unload) the search form."""
        ...

    def set_searching_path(self, text: str) -> None:
        """The value beside "Searching Path  :"."""
        ...

    def set_found_file(self, name: str) -> None:
        """The value beside "Found New File  :"."""
        ...

    def set_count(self, text: str) -> None:
        """The value beside "Number of New Files Found:"."""
        ...

    def set_status(self, text: str) -> None:
        """The status panel."""
        ...

    def set_range(self, maximum: int) -> None:
        """The progress bar's range: 0 to *maximum*."""
        ...

    def set_value(self, value: int) -> None:
        """The progress bar's value."""
        ...

    def focus_quit(self) -> None:
        """Give ``cmdQuitSearch`` the focus."""
        ...

    def process_events(self) -> None:
        """Let pending user-interface events run (a press of the quit button is seen here)."""
        ...


class QuietScanProgress:
    """A progress that shows nothing; its events are the port's (or none)."""

    def __init__(self, port: UserPort | None = None) -> None:
        self._port = port

    def show(self) -> None:
        return None

    def hide(self) -> None:
        return None

    def set_searching_path(self, text: str) -> None:
        return None

    def set_found_file(self, name: str) -> None:
        return None

    def set_count(self, text: str) -> None:
        return None

    def set_status(self, text: str) -> None:
        return None

    def set_range(self, maximum: int) -> None:
        return None

    def set_value(self, value: int) -> None:
        return None

    def focus_quit(self) -> None:
        return None

    def process_events(self) -> None:
        if self._port is not None:
            self._port.process_events()


def file_date_text(info: os.stat_result, real_file_dates: bool) -> str:
    """The new entry's date: the file's last write (local time) or today, "MM-DD-YY"."""
    moment = time.localtime(info.st_mtime) if real_file_dates else time.localtime()
    return time.strftime(DATE_FORMAT, moment)


def skip_by_name(upper_name: str, skip_names: tuple[str, str]) -> bool:
    """Step 6.4.2: a skip name, "*.BAK" or "FILES.*", tested in that order."""
    return (
        upper_name in skip_names
        or fnmatch.fnmatchcase(upper_name, "*.BAK")
        or fnmatch.fnmatchcase(upper_name, "FILES.*")
    )


class _FileScan:
    """One run of the scan: its counter, the name set and the pending appends."""

    def __init__(self, session: Session, view: EditorView, progress: ScanProgress) -> None:
        self.session = session
        self.view = view
        self.progress = progress
        self.counter = 0
        #: Entries handed to the view (the counter also counts a file whose
        #: adding an error cut short).
        self.appended = 0
        self.pending: list[Entry] = []
        self.known: set[str] = set()

    def run(self) -> None:
        session = self.session
        area = session.area
        # Step 1: clear the search-cancel flag.
        session.SearchCancel = False
        # Step 2: the Work directory, or an end in silence.
        if not MakePath(session.work_directory):
            return
        # Step 3: the busy pointer.
        with session.port.busy():
            # Step 4: the skip names.
            utility = session.path_utility
            page = session.code_page
            skip_names = (
                UCase(utility.FileNameOf(area.FileListPath), page),
                UCase(utility.FileNameOf(area.IndexPath), page),
            )
            self.known = {fold(entry.name) for entry in self.view.entries}
            # Step 5: the search form.
            self.progress.show()
            finished = False
            try:
                for directory in list(area.FilePaths):
                    if not directory:
                        continue
                    if session.SearchCancel:
                        break
                    self._scan_directory(directory, skip_names)
                    self._flush()
                finished = True
            finally:
                self._flush()
                self._finish(alert=finished)
                self.progress.hide()
                self.view.Update_All_Controls()

    def _scan_directory(self, directory: str, skip_names: tuple[str, str]) -> None:
        session = self.session
        progress = self.progress
        page = session.code_page
        names = list_directory_files(directory)
        progress.set_range(len(names) or 1)
        progress.set_searching_path(directory)
        for index, name in enumerate(names):
            if session.SearchCancel:
                break
            progress.set_value(index)
            progress.set_status(STATUS_SEARCHING)
            progress.focus_quit()
            progress.process_events()
            upper_name = UCase(name, page)
            if skip_by_name(upper_name, skip_names):
                continue
            key = fold(upper_name)
            if key in self.known:
                continue
            self.known.add(key)
            self._add(directory, name, upper_name)

    def _add(self, directory: str, name: str, upper_name: str) -> None:
        session = self.session
        progress = self.progress
        self.counter += 1
        progress.set_found_file(upper_name)
        progress.set_count(str(self.counter))
        progress.set_status(STATUS_READING)
        path = os.path.join(directory, name)
        if is_scan_archive(upper_name):
            description = describe_archive(session, path)
        else:
            description = build_description(session)  # a file left over is used
        info = os.stat(path)
        self.pending.append(
            Entry(
                upper_name,
                plain_number(info.st_size),
                file_date_text(info, session.RealFileDates),
                description,
            )
        )
        # A batch is also at least a quarter of the list: a view lays out all its
        # rows again for each batch, which then costs O(1) per new entry.
        if len(self.pending) >= max(APPEND_BATCH, len(self.view.entries) >> 2):
            self._flush()

    def _flush(self) -> None:
        if self.pending:
            batch, self.pending = self.pending, []
            self.view.append_entries(batch)
            self.appended += len(batch)

    def _finish(self, *, alert: bool) -> None:
        """Step 9.1 and 9.2: the flags, the alert, the Make Index list."""
        session = self.session
        area = session.area
        # After a whole run (or a stop) every counted file was appended; after
        # an error only the appended ones are changes.
        if self.appended > 0:
            session.ChangesMade = True
            if area.TrackForIndex:
                session.IndexPending = True
        elif alert:
            session.ShowAlert("NoNewFilesFound")
        if session.ChangesMade and area.TrackForIndex:
            AddToMakeIndexList(session, area.AreaNumber)


def run_file_scan(session: Session, view: EditorView, progress: ScanProgress) -> int:
    """The whole scan of Part 2.3 on *view*'s list; returns the number of entries added.

    Errors are trapped and reported as "mnuFileScan_Click"; entries added
    before an error stay in the list.
    """
    scan = _FileScan(session, view, progress)
    try:
        scan.run()
    except Exception as error:  # the procedure's trap
        session.ReportError(PROCEDURE_NAME, error)
    return scan.appended


__all__ = [
    "APPEND_BATCH",
    "PROCEDURE_NAME",
    "STATUS_READING",
    "STATUS_SEARCHING",
    "QuietScanProgress",
    "ScanProgress",
    "file_date_text",
    "run_file_scan",
    "skip_by_name",
]
