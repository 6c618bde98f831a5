"""Read DIZ (Part 2.4): the selected entries' descriptions taken again from their archives.

``mnuReadDIZ_Click(session, view)`` is the editor command "&Read DIZ" (menu
"File Operations", toolbar key ``ReadDiz``).  It works on the selection by the
Overview's convention (``selection.for_each_selected_file``): processed
entries are deselected, entries whose files are in no directory stay selected
and are listed in the not-found box.

Decisions where the spec leaves room:

- The file is found by the trimmed entry name in slots 0 to 10 with one
  case-insensitive ``FileLookup`` for the whole command (each directory is
  listed at most once).  The spec then opens "slot path + backslash + the
  name as listed"; on the board's system that named the file found (Windows
  drops trailing blanks and ignores case), here it may not, so the archive is
  opened at the path the lookup found, spelled as on disk.
- Which names are extracted: exactly the spec's rule for ZIP, the upper-cased
  name *as listed* matches "*.ZIP" (so "A.ZIP " with a trailing blank is not
  extracted, as on the board's system); the other formats of the unzip
  facility by their extensions "*.7Z", "*.RAR", "*.ARJ", "*.LZH", "*.LHA"
  (``diz.is_read_diz_archive``).
- The Work directory is made (``MakePath``) when missing, silently.  Without
  it no extraction can succeed and every selected archive's description would
  be replaced by "No Description"; when it cannot be made the command goes on
  and does exactly that, as the spec says for an archive that cannot be read.
"""

from __future__ import annotations

from typing import TYPE_CHECKING

from kelvane.board.file_system import FileLookup, MakePath
from kelvane.board.vb_text import UCase, trim_spaces
from kelvane.editor.diz import build_description, describe_archive, is_read_diz_archive
from kelvane.editor.selection import for_each_selected_file, show_not_found

if TYPE_CHECKING:
    from kelvane.board.session import Session
    from kelvane.editor.editor_view import EditorView

PROCEDURE_NAME = "mnuReadDIZ_Click"
ALERT_TITLE = "Kelvane Alert!"


def mnuReadDIZ_Click(session: Session, view: EditorView) -> None:
    """Replace the selected entries' descriptions with their archives' FILE_ID.DIZ text."""
    try:
        _read_diz(session, view)
    except Exception as error:  # the procedure's trap
        session.ReportError(PROCEDURE_NAME, error)


def _read_diz(session: Session, view: EditorView) -> None:
    if not view.selected_indices():
        session.ShowAlert("NoSelectedFiles")
        return
    entries = view.entries
    directories = list(session.area.FilePaths)
    lookup = FileLookup(session.code_page)
    stored: list[int] = []

    def locate(index: int) -> str | None:
        found = lookup.find_in_slots(directories, trim_spaces(entries[index].name))
        return None if found is None else found[1]

    def process(index: int, path: str) -> None:
        entry = entries[index]
        if is_read_diz_archive(UCase(entry.name, session.code_page)):
            entry.description = describe_archive(session, path)  # replaced whole
        else:
            entry.description = build_description(session)  # a file left over is used
        session.ChangesMade = True
        stored.append(index)

    with session.port.busy():
        started = view.start_animation()
        try:
            MakePath(session.work_directory)
            try:
                outcome = for_each_selected_file(view, locate, process)
            except BaseException:
                # Entries processed before the error keep their new descriptions
                # and end deselected, as they did one by one in the original.
                if stored:
                    view.set_selected(stored, False)
                    view.entries_changed(stored)
                raise
            if outcome.processed:
                view.entries_changed(outcome.processed)
            not_found = [entries[index].name for index in outcome.not_found]
            view.Update_All_Controls()
        finally:
            if started:
                view.stop_animation()
    show_not_found(session.port, not_found, ALERT_TITLE)


__all__ = ["mnuReadDIZ_Click"]
