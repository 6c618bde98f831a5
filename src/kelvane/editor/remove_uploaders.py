"""Part 2.7: Removing uploader lines, and the editor's three placeholder commands.

``mnuRemoveUploadBy_Click`` cuts each selected entry's description at the
first "Uploaded By" (exact case), keeping exactly what stood before it (the
CR LF that ended the previous line and any blanks before the marker
included; nothing is trimmed, deliberately).  Every selected entry ends
deselected, changed or not; ``ChangesMade`` is set only when a description
was cut.  The in-memory list only changes; the file is written on Save Work.
"""

from __future__ import annotations

from typing import TYPE_CHECKING

from kelvane.editor.commands import PLACEHOLDER

if TYPE_CHECKING:
    from kelvane.board.session import Session
    from kelvane.editor.editor_view import EditorView

#: The uploader's marker, matched with exact case.
UPLOADER_MARKER = "Uploaded By"


def cut_at_uploader(description: str) -> str | None:
    """The description up to the first marker, or None when it holds no marker."""
    position = description.find(UPLOADER_MARKER)
    if position < 0:
        return None
    return description[:position]


def mnuRemoveUploadBy_Click(session: Session, view: EditorView) -> None:
    """Remove "Uploaded By": cut the selected entries' descriptions at the marker."""
    try:
        selected = view.selected_indices()
        if not selected:
            session.ShowAlert("NoSelectedFiles")
            return
        entries = view.entries
        with session.port.busy():
            animated = view.start_animation()
            processed: list[int] = []
            changed: list[int] = []
            try:
                try:
                    for index in selected:
                        entry = entries[index]
                        cut = cut_at_uploader(entry.description)
                        if cut is not None:
                            entry.description = cut
                            session.ChangesMade = True
                            changed.append(index)
                        processed.append(index)
                finally:
                    # Deselected whether changed or not; cut descriptions stay cut
                    # when an error ends the loop.
                    if processed:
                        view.set_selected(processed, False)
                    if changed:
                        entries.changed()
                        view.entries_changed(changed)
                view.Update_All_Controls()
            finally:
                if animated:
                    view.stop_animation()
    except Exception as error:  # the procedure's trap
        session.ReportError("mnuRemoveUploadBy_Click", error)


def _placeholder(session: Session, procedure_name: str) -> None:
    try:
        session.port.message_box(PLACEHOLDER)
    except Exception as error:  # the procedure's trap
        session.ReportError(procedure_name, error)


def mnuDefaultArchiveType_Click(session: Session, view: EditorView) -> None:
    """Placeholder: "Sorry, this feature is not available yet!"; changes nothing."""
    _placeholder(session, "mnuDefaultArchiveType_Click")


def mnuVirusCheck_Click(session: Session, view: EditorView) -> None:
    """Placeholder: "Sorry, this feature is not available yet!"; changes nothing."""
    _placeholder(session, "mnuVirusCheck_Click")


def mnuWriteNewDIZ_Click(session: Session, view: EditorView) -> None:
    """Placeholder: "Sorry, this feature is not available yet!"; changes nothing."""
    _placeholder(session, "mnuWriteNewDIZ_Click")


__all__ = [
    "UPLOADER_MARKER",
    "cut_at_uploader",
    "mnuDefaultArchiveType_Click",
    "mnuRemoveUploadBy_Click",
    "mnuVirusCheck_Click",
    "mnuWriteNewDIZ_Click",
]
