"""The editor's commands: menu names, toolbar keys, and where each handler lives.

Every command of the editor's "File Operations" menu is a function
``handler(session, view) -> None`` in its Part's module, found here by menu
name.  The main frame's editor toolbar dispatches by key to the same handlers
(Part 5.1).  A command whose Part is not built yet shows the spec's
placeholder box and changes nothing.
"""

from __future__ import annotations

import importlib
from collections.abc import Callable
from typing import TYPE_CHECKING

from kelvane.board.user_port import Buttons, Icon, MessageBox

if TYPE_CHECKING:
    from kelvane.board.session import Session
    from kelvane.editor.editor_view import EditorView

Handler = Callable[["Session", "EditorView"], None]

PLACEHOLDER = MessageBox(
    "Kelvane Alert Message!", "Sorry, this feature is not available yet!", Buttons.OK, Icon.NONE
)

#: menu name -> (module, function).  Modules are imported when first used.
HANDLERS: dict[str, tuple[str, str]] = {
    "mnuFileScan": ("kelvane.editor.file_scan_form", "mnuFileScan_Click"),
    "mnuReadDIZ": ("kelvane.editor.read_diz", "mnuReadDIZ_Click"),
    "mnuFileDate": ("kelvane.editor.refresh", "mnuFileDate_Click"),
    "mnuFileLength": ("kelvane.editor.refresh", "mnuFileLength_Click"),
    "mnuEraseFilesListOnly": ("kelvane.editor.delete_erase", "mnuEraseFilesListOnly_Click"),
    "mnuDeleteFiles": ("kelvane.editor.delete_erase", "mnuDeleteFiles_Click"),
    "mnuSelectAllFiles": ("kelvane.editor.delete_erase", "mnuSelectAllFiles_Click"),
    "mnuNoSelectAllFiles": ("kelvane.editor.delete_erase", "mnuNoSelectAllFiles_Click"),
    "mnuRemoveUploadBy": ("kelvane.editor.remove_uploaders", "mnuRemoveUploadBy_Click"),
    "mnuDefaultArchiveType": ("kelvane.editor.remove_uploaders", "mnuDefaultArchiveType_Click"),
    "mnuVirusCheck": ("kelvane.editor.remove_uploaders", "mnuVirusCheck_Click"),
    "mnuWriteNewDIZ": ("kelvane.editor.remove_uploaders", "mnuWriteNewDIZ_Click"),
    "mnuMoveFiles": ("kelvane.sortmove.move_files_form", "mnuMoveFiles_Click"),
    "mnuSortFile": ("kelvane.sortmove.sort_view_commands", "mnuSortFile_Click"),
}

#: Part 5.1's editor toolbar: key -> the editor's menu name, in the table's order.
#: "Close", "DownOneFile", "UpOneFile" and "SaveWork" are the editor form's own.
TOOLBAR_KEYS: tuple[tuple[str, str], ...] = (
    ("Close", "mnuClose"),
    ("DownOneFile", "mnuDownOneFile"),
    ("UpOneFile", "mnuUpOneFile"),
    ("SelectAllFiles", "mnuSelectAllFiles"),
    ("UnselectAllFiles", "mnuNoSelectAllFiles"),
    ("SaveWork", "mnuSaveWork"),
    ("DeleteFiles", "mnuDeleteFiles"),
    ("EraseFilesListsOnly", "mnuEraseFilesListOnly"),
    ("FileScan", "mnuFileScan"),
    ("FileDate", "mnuFileDate"),
    ("FileLength", "mnuFileLength"),
    ("MoveFiles", "mnuMoveFiles"),
    ("ReadDiz", "mnuReadDIZ"),
    ("RemoveUploadedBy", "mnuRemoveUploadBy"),
    ("SortFiles", "mnuSortFile"),
)


def menu_for_key(key: str) -> str | None:
    """The menu name a toolbar key dispatches to: exact, case-sensitive, in table order."""
    for toolbar_key, menu in TOOLBAR_KEYS:
        if toolbar_key == key:
            return menu
    return None


def handler_for(menu_name: str) -> Handler | None:
    """The handler of a File Operations command, or None when its Part is not built."""
    target = HANDLERS.get(menu_name)
    if target is None:
        return None
    module_name, function_name = target
    try:
        module = importlib.import_module(module_name)
    except ModuleNotFoundError as error:
        if error.name == module_name:
            return None
        raise
    handler = getattr(module, function_name, None)
    return handler if callable(handler) else None


def run_command(menu_name: str, session: Session, view: EditorView) -> None:
    """Run the command, or show the placeholder when its Part is not built yet."""
    handler = handler_for(menu_name)
    if handler is None:
        session.port.message_box(PLACEHOLDER)
        return
    handler(session, view)
