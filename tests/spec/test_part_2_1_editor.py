"""Part 2.1, "Edge cases worth testing": one test per bullet, through the real editor.

Each test builds a board in tmp_path, opens its area as the program does
(``Farea_Dat_Initialize``, the sort view's ``Form_Load``, the editor's
``Form_Load``) and drives the editor as a user would: clicks on rows of
``lstFileNames``, keys typed into ``txtFileDescription``, the File
Operations actions.  Every box goes through the scripted port.

The harness (``editor_opener`` and :class:`OpenEditor`) also serves
``tests/editor/test_editor_form.py``.
"""

from __future__ import annotations

import contextlib
import os
from collections.abc import Callable, Iterator, Sequence
from dataclasses import dataclass
from pathlib import Path

import pytest

from kelvane.board.board_tool import add_simple_area, init_board
from kelvane.board.current_area import Farea_Dat_Initialize
from kelvane.board.files_list import Entry, format_files_list
from kelvane.board.session import Session
from kelvane.board.user_port import Answer, Buttons, Icon
from kelvane.shell.avi_files import AVI_DIRECTORY, FINDFILE, write_program_animation

pytestmark = pytest.mark.gui

TITLE = "Test Area"


@dataclass
class OpenEditor:
    """An area open in the editor: the session, both forms and the Files List's path."""

    session: Session
    sort_view: object
    editor: object
    files_list: Path
    qtbot: object

    def click_row(self, row: int, modifier: object = None) -> None:
        """A left click on row *row* of ``lstFileNames``."""
        from PySide6.QtCore import Qt

        view = self.editor.lstFileNames
        index = self.editor.names_model.index(row, 0)
        view.scrollTo(index)
        self.qtbot.mouseClick(
            view.viewport(),
            Qt.MouseButton.LeftButton,
            modifier if modifier is not None else Qt.KeyboardModifier.NoModifier,
            view.visualRect(index).center(),
        )

    def clear_description(self) -> None:
        """Select the whole description and delete it, with the keys."""
        from PySide6.QtCore import Qt

        box = self.editor.txtFileDescription
        self.qtbot.keyClick(box, Qt.Key.Key_A, Qt.KeyboardModifier.ControlModifier)
        self.qtbot.keyClick(box, Qt.Key.Key_Delete)

    def type_description(self, text: str) -> None:
        self.qtbot.keyClicks(self.editor.txtFileDescription, text)

    def trigger(self, menu_name: str) -> None:
        from PySide6.QtGui import QAction

        action = self.editor.findChild(QAction, menu_name)
        assert action is not None, menu_name
        action.trigger()

    @property
    def entries(self) -> list[Entry]:
        return list(self.editor.entries)


def list_bytes(entries: Sequence[Entry]) -> bytes:
    data, complete = format_files_list(entries, "cp1252", [])
    assert complete
    return data


def entry(name: str, description: str = "A file\r\n", size: str = " 1234") -> Entry:
    return Entry(name, size, "01-02-99", description)


def install_animation(session: Session) -> None:
    directory = Path(session.app_path) / AVI_DIRECTORY
    directory.mkdir(exist_ok=True)
    write_program_animation(directory, FINDFILE)


OpenEditorFactory = Callable[..., OpenEditor]


@contextlib.contextmanager
def editor_opener(qtbot, session: Session, tmp_path: Path) -> Iterator[OpenEditorFactory]:
    """A factory: a board with one area whose Files List holds *entries*, open in the editor.

    The editors it opened are closed on leaving, their changes dropped.
    """
    from kelvane.editor.editor_form import frmEditFileArea
    from kelvane.sortmove.sort_view_form import frmEditFileArealsv

    opened: list[OpenEditor] = []

    def factory(
        entries: Sequence[Entry] | bytes = (),
        *,
        animation: bool = True,
        main_frame: object = None,
        status: Callable[[str], None] | None = None,
        **fields: str,
    ) -> OpenEditor:
        main_node = tmp_path / "node"
        init_board(main_node)
        directory = tmp_path / "files"
        add_simple_area(main_node, TITLE, directory, **fields)
        files_list = directory / "FILES.LST"
        files_list.write_bytes(entries if isinstance(entries, bytes) else list_bytes(entries))
        if animation:
            install_animation(session)
        session.area.MainNodePath = os.fspath(main_node)
        session.area.AreaNumber = 1
        session.area.AreaTitle = TITLE
        assert Farea_Dat_Initialize(session)
        sort_view = frmEditFileArealsv(session, status=status)
        assert sort_view.Form_Load()
        editor = frmEditFileArea(session, sort_view, main_frame)
        editor.Form_Load()
        editor.show()
        qtbot.waitExposed(editor)
        area = OpenEditor(session, sort_view, editor, files_list, qtbot)
        opened.append(area)
        return area

    yield factory
    for area in opened:
        # Each test has checked its changes; closing would ask about them.
        area.session.ChangesMade = False
        area.editor.close()
        area.sort_view.close()
        area.editor.deleteLater()
        area.sort_view.deleteLater()
    qtbot.wait(0)


@pytest.fixture
def open_editor(qtbot, session: Session, tmp_path: Path) -> Iterator[OpenEditorFactory]:
    with editor_opener(qtbot, session, tmp_path) as factory:
        yield factory


def expect_saved(port, files_list: Path) -> None:
    port.expect(
        title="Kelvane Information",
        text="Changes were saved to " + os.fspath(files_list),
        buttons=Buttons.OK,
        icon=Icon.INFORMATION,
    )


# -- the edge cases ---------------------------------------------------------------------------


def test_opening_an_area_whose_files_list_is_empty_shows_zeros_empty_labels_and_a_locked_description_box(
    open_editor, session
):
    area = open_editor(b"")
    editor = area.editor

    assert session.ListIsEmpty
    assert editor.lblFileName.text() == ""
    assert editor.lblFileDate.text() == ""
    assert editor.lblFileSize.text() == "0"
    assert editor.lblTotalFileCt.text() == "0"
    assert editor.lblFilesTagged.text() == "0"
    assert editor.txtFileDescription.isReadOnly()
    assert editor.txtFileDescription.toPlainText() == ""
    assert editor.names_model.rowCount() == 0
    assert editor.windowTitle() == "Editing File Area: " + TITLE
    assert not session.ChangesMade


def test_clearing_a_description_completely_and_moving_to_the_next_file_stores_no_description(
    open_editor, session
):
    area = open_editor([entry("ONE.ZIP", "First line\r\nSecond line\r\n"), entry("TWO.ZIP")])
    assert area.editor.txtFileDescription.toPlainText() == "First line\nSecond line\n"

    area.clear_description()
    area.click_row(1)

    assert area.entries[0].description == "No Description"
    assert area.entries[1].description == "A file\r\n"
    assert area.editor.lblFileName.text() == "TWO.ZIP"
    assert area.editor.txtFileDescription.toPlainText() == "A file\n"
    assert session.ChangesMade


def test_a_description_of_spaces_and_line_breaks_only_is_also_stored_as_no_description(
    open_editor, session
):
    from PySide6.QtCore import Qt

    area = open_editor([entry("ONE.ZIP", "Something\r\n"), entry("TWO.ZIP")])
    area.clear_description()
    box = area.editor.txtFileDescription
    area.type_description("   ")
    area.qtbot.keyClick(box, Qt.Key.Key_Return)
    area.type_description("  ")
    area.qtbot.keyClick(box, Qt.Key.Key_Return)
    area.qtbot.keyClick(box, Qt.Key.Key_Return)

    area.click_row(1)

    assert area.entries[0].description == "No Description"
    assert session.ChangesMade


def test_typing_into_the_description_and_pressing_save_work_saves_the_typed_text(
    open_editor, session, port
):
    from PySide6.QtCore import Qt

    original = [entry("ONE.ZIP", "Old text\r\n"), entry("TWO.ZIP", "Two\r\n", size=" 77")]
    area = open_editor(original)
    before = area.files_list.read_bytes()
    area.clear_description()
    area.type_description("New text")
    area.qtbot.keyClick(area.editor.txtFileDescription, Qt.Key.Key_Return)
    area.type_description("and more")
    assert not session.ChangesMade
    expect_saved(port, area.files_list)

    area.trigger("mnuSaveWork")

    # Part 1.2's layout: name padded to 12, size right-aligned in 9, " date " in 10,
    # description lines padded to 45, continuation lines after 31 blanks.
    expected = (
        (b"ONE.ZIP     " + b"     1234" + b" 01-02-99 " + b"New text".ljust(45) + b"\r\n")
        + (b" " * 31 + b"and more".ljust(45) + b"\r\n")
        + (b"TWO.ZIP     " + b"       77" + b" 01-02-99 " + b"Two".ljust(45) + b"\r\n")
    )
    assert area.files_list.read_bytes() == expected
    assert (area.files_list.parent / "FILES.BAK").read_bytes() == before
    assert area.entries[0].description == "New text\r\nand more"
    assert not session.ChangesMade
    assert not area.editor.description_changed


def test_closing_with_unsaved_changes_and_answering_no_leaves_the_files_list_on_disk_as_it_was(
    open_editor, session, port
):
    area = open_editor([entry("ONE.ZIP"), entry("TWO.ZIP")])
    before = area.files_list.read_bytes()
    area.type_description("Changed ")
    area.click_row(1)
    assert session.ChangesMade
    port.expect_alert("ChangesMade", Answer.NO)

    area.trigger("mnuClose")

    assert area.files_list.read_bytes() == before
    assert not (area.files_list.parent / "FILES.BAK").exists()
    assert not session.ChangesMade
    assert session.area.AreaNumber == 0
    assert len(area.sort_view.entries) == 0
    assert area.editor.names_model.rowCount() == 0
