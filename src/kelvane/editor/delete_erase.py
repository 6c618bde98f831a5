"""Part 2.6: Deleting files and erasing entries.

Four editor commands on the selection of ``lstFileNames``:

- ``mnuEraseFilesListOnly_Click``: removes the selected entries from the
  in-memory Files List; the files stay on disk.
- ``mnuDeleteFiles_Click``: removes the selected entries and deletes their
  files from the area's directories.
- ``mnuSelectAllFiles_Click`` and ``mnuNoSelectAllFiles_Click``.

The spec removes one selected entry at a time, scanning again from the top
after each removal.  Its result is the list without every selected entry, in
the order it had; here the view removes them all in one call (one repaint,
linear time on 100,000 entries).

Deleting is for real, so it is careful beyond the spec's words (porting.md,
"Paths and names"): only a file that the case-insensitive lookup found inside
one of the area's own directories is deleted; a name holding a separator, "."
or ".." names no file; a directory is never deleted (checked with ``lstat``
right before unlinking); a symbolic link is removed as a link and its target
is left alone.  A file that cannot be deleted (its attributes cannot be
reset, it turned out to be a directory, or the system refused) shows no
message (as the spec says) but leaves one entry in "Kelvane.err" naming it.

Where the spec is silent or could be read two ways:

- Delete looks for the entry's name as it stands (Part 2.6 trims nothing,
  unlike Part 2.5), whatever its case on disk.
- Step 6 is kept to its words: with ``ChangesMade`` set (also by earlier
  edits) and ``TrackForIndex``, the area goes on the Make Index list, while
  ``IndexPending`` is set only by a completed deletion (step 5.3).
- An entry listed twice: the second looks again in slots 0 to 10, so a file
  of the same name in a later slot is deleted for it, as the original's
  repeated lookups did.
- Select all Files makes entry 0 current only when there is an entry.
"""

from __future__ import annotations

import enum
import errno
import os
import stat
from dataclasses import dataclass, field
from typing import TYPE_CHECKING

from kelvane.board.current_area import AddToMakeIndexList
from kelvane.board.error_log import run_time_error
from kelvane.board.file_system import ClearAttributes, FileLookup

if TYPE_CHECKING:
    from kelvane.board.session import Session
    from kelvane.editor.editor_view import EditorView

DELETE_PROCEDURE = "mnuDeleteFiles_Click"


class DeleteResult(enum.Enum):
    """What became of one entry's file."""

    DELETED = "deleted"
    #: No directory slot holds a file of the entry's name.
    NOT_FOUND = "not found"
    #: ``ClearAttributes`` failed: the file stays, the flags are left alone.
    NOT_WRITABLE = "could not be made writable"
    #: The name found is a directory now: never deleted.
    DIRECTORY = "is a directory"
    #: The system refused the deletion; logged in "Kelvane.err".
    FAILED = "could not be deleted"


@dataclass
class DeleteReport:
    """What Delete Files did, entry by entry, in list order."""

    #: (entry name, result, path of the file found or None).
    outcomes: list[tuple[str, DeleteResult, str | None]] = field(default_factory=list)
    #: False when the command stopped through its error trap.
    completed: bool = False

    def names(self, result: DeleteResult) -> list[str]:
        return [name for name, outcome, _path in self.outcomes if outcome is result]

    @property
    def deleted(self) -> list[str]:
        return self.names(DeleteResult.DELETED)

    @property
    def kept(self) -> list[tuple[str, DeleteResult, str | None]]:
        """Entries whose file was found but is still there."""
        return [
            outcome
            for outcome in self.outcomes
            if outcome[1]
            in (DeleteResult.NOT_WRITABLE, DeleteResult.DIRECTORY, DeleteResult.FAILED)
        ]


def log_undeletable(session: Session, procedure_name: str, error: OSError) -> None:
    """One entry in "Kelvane.err" naming the file that could not be deleted; no box."""
    reporter = session.reporter
    reporter.app_path = session.app_path
    reporter.page = session.code_page
    reporter.append_entry(procedure_name, run_time_error(error))


def _is_directory(path: str) -> bool:
    return stat.S_ISDIR(os.lstat(path).st_mode)


def delete_area_file(
    session: Session, lookup: FileLookup, name: str, procedure_name: str = DELETE_PROCEDURE
) -> tuple[DeleteResult, str | None]:
    """Step 5.2 and 5.3 for one name: find its file in slots 0 to 10 and delete it.

    The lookup refuses names with separators, ".", ".." and absolute names, and
    gives the file as spelled on disk inside the slot's own directory.  A
    symbolic link is unlinked itself (``ClearAttributes`` never follows it).
    """
    path = _find_in_slots(lookup, session.area.FilePaths, name)
    if path is None:
        return DeleteResult.NOT_FOUND, None
    try:
        if _is_directory(path):
            return _kept(session, procedure_name, DeleteResult.DIRECTORY, path)
    except OSError:
        return DeleteResult.NOT_FOUND, None
    if not ClearAttributes(path):
        return _kept(session, procedure_name, DeleteResult.NOT_WRITABLE, path)
    try:
        if _is_directory(path):
            return _kept(session, procedure_name, DeleteResult.DIRECTORY, path)
        os.unlink(path)
    except OSError as error:
        log_undeletable(session, procedure_name, error)
        return DeleteResult.FAILED, path
    return DeleteResult.DELETED, path


#: The system error each kind of kept file is logged with (the file named in it).
_KEPT_ERRORS = {
    DeleteResult.NOT_WRITABLE: (errno.EACCES, "its attributes could not be reset"),
    DeleteResult.DIRECTORY: (errno.EISDIR, "it is a directory"),
}


def _kept(
    session: Session, procedure_name: str, result: DeleteResult, path: str
) -> tuple[DeleteResult, str | None]:
    """A file found but not deleted: no box (the spec), one entry in "Kelvane.err" naming it."""
    number, reason = _KEPT_ERRORS[result]
    log_undeletable(session, procedure_name, OSError(number, "Not deleted: " + reason, path))
    return result, path


def _find_in_slots(lookup: FileLookup, file_paths: list[str], name: str) -> str | None:
    """The first non-empty slot, 0 to 10, that holds *name* now.

    The lookup lists a directory once per command; a file that this command
    deleted since (an entry listed twice) is gone, and the next slot is tried.
    """
    for directory in file_paths:
        if not directory:
            continue
        path = lookup.find(directory, name)
        if path is not None and os.path.lexists(path):
            return path
    return None


def mnuEraseFilesListOnly_Click(session: Session, view: EditorView) -> None:
    """Erase File / List Only: the selected entries leave the list; the files stay."""
    try:
        selected = view.selected_indices()
        if not selected:
            session.ShowAlert("NoSelectedFiles")
            return
        if not session.ShowAlert("DeleteFilesListOnly"):
            return
        with session.port.busy():
            animated = view.start_animation()
            try:
                view.remove_entries(selected)
                view.Update_All_Controls()
                session.ChangesMade = True
            finally:
                if animated:
                    view.stop_animation()
    except Exception as error:  # the procedure's trap
        session.ReportError("mnuEraseFilesListOnly_Click", error)


def delete_selected_files(session: Session, view: EditorView) -> DeleteReport | None:
    """Delete Files, returning what it did; None when it stopped before starting.

    It stops before starting on no selection, on Cancel, and on a CD-ROM or
    offline area (asked first, refused second, deliberately).  When an error
    ends it, the report holds what was done so far and ``completed`` is false.
    """
    report: DeleteReport | None = None
    try:
        selected = view.selected_indices()
        if not selected:
            session.ShowAlert("NoSelectedFiles")
            return None
        if not session.ShowAlert("DeleteFiles"):
            return None
        area = session.area
        if area.IsCDRom or area.IsOffline:
            session.ShowAlert("CDRomOffline")
            return None
        report = DeleteReport()
        with session.port.busy():
            animated = view.start_animation()
            try:
                _delete_entries(session, view, selected, report)
                view.Update_All_Controls()
                if session.ChangesMade and area.TrackForIndex:
                    AddToMakeIndexList(session, area.AreaNumber)
                report.completed = True
            finally:
                if animated:
                    view.stop_animation()
        return report
    except Exception as error:  # the procedure's trap
        session.ReportError(DELETE_PROCEDURE, error)
        return report


def _delete_entries(
    session: Session, view: EditorView, selected: list[int], report: DeleteReport
) -> None:
    """Step 5: every selected entry leaves the list; its file is deleted when found.

    An entry leaves the list before its file is looked for, whatever becomes
    of the file; the removals are made in one call at the end (also when an
    error ends the loop: the entries reached so far stay removed).
    """
    entries = view.entries
    area = session.area
    lookup = FileLookup(session.code_page)
    removed: list[int] = []
    try:
        for index in selected:
            removed.append(index)
            name = entries[index].name
            result, path = delete_area_file(session, lookup, name)
            report.outcomes.append((name, result, path))
            if result is DeleteResult.DELETED:
                session.ChangesMade = True
                if area.TrackForIndex:
                    session.IndexPending = True
    finally:
        view.remove_entries(removed)


def mnuDeleteFiles_Click(session: Session, view: EditorView) -> None:
    """Delete Files: the selected entries leave the list and their files are deleted."""
    delete_selected_files(session, view)


def mnuSelectAllFiles_Click(session: Session, view: EditorView) -> None:
    """Select all Files: every entry selected, entry 0 current, the labels updated."""
    try:
        with session.port.busy():
            view.select_all()
            if len(view.entries):
                view.set_current_index(0)
            view.Update_All_Controls()
    except Exception as error:  # the procedure's trap
        session.ReportError("mnuSelectAllFiles_Click", error)


def mnuNoSelectAllFiles_Click(session: Session, view: EditorView) -> None:
    """No Select all Files: every entry deselected; the tag counter reads "0"."""
    try:
        with session.port.busy():
            view.deselect_all()
            view.Update_All_Controls()
    except Exception as error:  # the procedure's trap
        session.ReportError("mnuNoSelectAllFiles_Click", error)


__all__ = [
    "DeleteReport",
    "DeleteResult",
    "delete_area_file",
    "delete_selected_files",
    "log_undeletable",
    "mnuDeleteFiles_Click",
    "mnuEraseFilesListOnly_Click",
    "mnuNoSelectAllFiles_Click",
    "mnuSelectAllFiles_Click",
]
