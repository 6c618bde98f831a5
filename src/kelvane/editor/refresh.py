"""Part 2.5: Date and size refresh (``mnuFileDate_Click``, ``mnuFileLength_Click``).

Both commands find each selected entry's file in the area's directories, take
the value from the file, store it in the entry (also when it equals the old
value: every found entry sets ``ChangesMade``) and name the entries whose
files were not found.  They go through the selection convention of
:mod:`kelvane.editor.selection`: processed entries are deselected, the others
stay selected and are listed in the not-found box, whose title differs by
command (deliberately).

The file is looked for as the spec forms it: slot path, separator, entry
name, the whole path trimmed of blanks.  Trimming the joined path removes the
slot path's leading blanks and the name's trailing blanks (the separator
between them is no blank), so the lookup uses exactly those two parts and
finds the file whatever the case of its name on disk (porting.md).

The date is taken from the file's timestamp directly, in local time, as
"MM-DD-YY" (Part 2.5 allows it): a file dated at midnight gives its own date.
A symbolic link gives its target's date and length.  When an error ends a
command, the entries already updated keep their values and end deselected
(as they were one by one in the original) before the error is reported.
"""

from __future__ import annotations

import os
import time
from collections.abc import Callable
from typing import TYPE_CHECKING

from kelvane.board.file_system import FileLookup
from kelvane.board.vb_text import plain_number, rtrim_spaces
from kelvane.editor.selection import for_each_selected_file, show_not_found

if TYPE_CHECKING:
    from kelvane.board.files_list import Entry
    from kelvane.board.session import Session
    from kelvane.editor.editor_view import EditorView

#: The not-found box's title, by command (they differ deliberately).
FILE_DATE_TITLE = "Kelvane Alert!"
FILE_LENGTH_TITLE = "Kelvane Alert Message!"


def locate_trimmed(lookup: FileLookup, file_paths: list[str], name: str) -> str | None:
    """The path of *name*'s file: the first non-empty slot, 0 to 10, that holds it.

    The spec trims blanks from both ends of slot + separator + name; that is the
    slot's leading blanks and the name's trailing blanks.  A slot of blanks only
    names no directory of the area, so it holds nothing.
    """
    trimmed_name = rtrim_spaces(name)
    for slot in file_paths:
        if not slot:
            continue
        found = lookup.find(slot.lstrip(" "), trimmed_name)
        if found is not None:
            return found
    return None


def file_date_text(path: str) -> str:
    """The date of the file's last write, local time, "MM-DD-YY"."""
    local = time.localtime(os.stat(path).st_mtime)
    return f"{local.tm_mon:02d}-{local.tm_mday:02d}-{local.tm_year % 100:02d}"


def file_length_text(path: str) -> str:
    """The file's length in bytes as plain decimal text."""
    return plain_number(os.stat(path).st_size)


def _store_date(entry: Entry, value: str) -> None:
    entry.date = value


def _store_size(entry: Entry, value: str) -> None:
    entry.size = value


def _refresh(
    session: Session,
    view: EditorView,
    procedure_name: str,
    title: str,
    value_of: Callable[[str], str],
    store: Callable[[Entry, str], None],
) -> None:
    """The common steps of both commands; *value_of* reads the file, *store* sets the column."""
    try:
        if not view.selected_indices():
            session.ShowAlert("NoSelectedFiles")
            return
        entries = view.entries
        file_paths = list(session.area.FilePaths)
        lookup = FileLookup(session.code_page)
        stored: list[int] = []

        def locate(index: int) -> str | None:
            return locate_trimmed(lookup, file_paths, entries[index].name)

        def process(index: int, path: str) -> None:
            store(entries[index], value_of(path))
            session.ChangesMade = True
            stored.append(index)

        with session.port.busy():
            animated = view.start_animation()
            try:
                try:
                    outcome = for_each_selected_file(view, locate, process)
                except Exception:
                    # Entries already updated keep their new values and end
                    # deselected, as they did one by one in the original.
                    if stored:
                        view.set_selected(stored, False)
                        entries.changed()
                        view.entries_changed(stored)
                    raise
                if outcome.processed:
                    entries.changed()
                    view.entries_changed(outcome.processed)
                not_found = [entries[index].name for index in outcome.not_found]
                view.Update_All_Controls()
            finally:
                if animated:
                    view.stop_animation()
        show_not_found(session.port, not_found, title)
    except Exception as error:  # the procedure's trap
        session.ReportError(procedure_name, error)


def mnuFileDate_Click(session: Session, view: EditorView) -> None:
    """File Date: the "Date" column of the selected entries from their files."""
    _refresh(session, view, "mnuFileDate_Click", FILE_DATE_TITLE, file_date_text, _store_date)


def mnuFileLength_Click(session: Session, view: EditorView) -> None:
    """File Length: the "Size" column of the selected entries from their files."""
    _refresh(session, view, "mnuFileLength_Click", FILE_LENGTH_TITLE, file_length_text, _store_size)


__all__ = [
    "FILE_DATE_TITLE",
    "FILE_LENGTH_TITLE",
    "file_date_text",
    "file_length_text",
    "locate_trimmed",
    "mnuFileDate_Click",
    "mnuFileLength_Click",
]
