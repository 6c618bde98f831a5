"""Part 2.5, "Edge cases worth testing": one test per bullet, through the real editor.

Each test builds a board in tmp_path, opens its area as the program does
(``Farea_Dat_Initialize``, the sort view's ``Form_Load``, the editor's
``Form_Load``), selects entries in ``lstFileNames``, triggers the File
Operations action (``mnuFileDate``, ``mnuFileLength``) or the toolbar key,
and checks the entries, the selection, the labels, ``ChangesMade``, the
boxes and the files.

The harness (``open_area`` and :class:`EditorArea`) serves the spec tests of
Parts 2.6 and 2.7 as well.
"""

from __future__ import annotations

import os
from collections.abc import Callable, Iterator, Sequence
from dataclasses import dataclass
from datetime import datetime
from pathlib import Path

import pytest

from kelvane.board.board_tool import add_simple_area, init_board
from kelvane.board.current_area import Farea_Dat_Initialize
from kelvane.board.files_list import Entry, format_files_list
from kelvane.board.session import Session
from kelvane.board.user_port import Buttons, Icon
from kelvane.shell.avi_files import AVI_DIRECTORY, FINDFILE, write_program_animation

pytestmark = pytest.mark.gui

OLD_DATE = "01-01-90"
NOT_FOUND = "Files listed below were not found!\r\r"


@dataclass
class EditorArea:
    """An area open in the real editor: the session, both forms and the area's directories."""

    session: Session
    sort_view: object
    editor: object
    slots: list[Path]
    files_list: Path

    def trigger(self, menu_name: str) -> None:
        """Trigger the File Operations action *menu_name* as the user would."""
        from PySide6.QtGui import QAction

        action = self.editor.findChild(QAction, menu_name)
        assert action is not None, menu_name
        action.trigger()

    def press(self, key: str) -> None:
        """Press the editor toolbar button *key* (Part 5.1)."""
        handler = self.editor.handler_for_key(key)
        assert handler is not None, key
        handler()

    def select(self, *indices: int) -> None:
        self.editor.set_selected(list(indices), True)

    def selected(self) -> list[int]:
        return self.editor.selected_indices()

    def names(self) -> list[str]:
        return [entry.name for entry in self.editor.entries]

    def entry(self, index: int) -> Entry:
        return self.editor.entries[index]

    @property
    def tagged(self) -> str:
        return self.editor.lblFilesTagged.text()

    @property
    def total(self) -> str:
        return self.editor.lblTotalFileCt.text()


def entry(name: str, description: str = "A file\r\n", date: str = OLD_DATE) -> Entry:
    return Entry(name, " 1", date, description)


def write_file(path: Path, size: int = 10, when: datetime | None = None) -> Path:
    path.write_bytes(b"k" * size)
    if when is not None:
        stamp = when.timestamp()
        os.utime(path, (stamp, stamp))
    return path


OpenArea = Callable[..., EditorArea]


@pytest.fixture
def open_area(qtbot, session: Session, tmp_path: Path) -> Iterator[OpenArea]:
    """A factory: a board with one area of *slots* directories, its Files List, open in the editor."""
    from kelvane.editor.editor_form import frmEditFileArea
    from kelvane.sortmove.sort_view_form import frmEditFileArealsv

    opened: list[EditorArea] = []

    def factory(
        entries: Sequence[Entry],
        *,
        slots: int = 4,
        cdrom: bool = False,
        track_for_index: bool = False,
        before_load: Callable[[list[Path]], None] | None = None,
    ) -> EditorArea:
        main_node = tmp_path / "node"
        init_board(main_node)
        directories = [tmp_path / f"slot{slot}" for slot in range(slots)]
        for directory in directories:
            directory.mkdir()
        files_list = directories[0] / "FILES.LST"
        index = os.fspath(tmp_path / "index" / "AREA1.IDX") if track_for_index else ""
        add_simple_area(
            main_node,
            "Test Area",
            directories[0],
            alt=[os.fspath(d) for d in directories[1:]],
            cdrom="Yes" if cdrom else "No",
            index=index,
        )
        data, complete = format_files_list(entries, session.code_page, [])
        assert complete
        files_list.write_bytes(data)
        if before_load is not None:
            before_load(directories)
        animation_directory = Path(session.app_path) / AVI_DIRECTORY
        animation_directory.mkdir(exist_ok=True)
        write_program_animation(animation_directory, FINDFILE)

        session.area.MainNodePath = os.fspath(main_node)
        session.area.AreaNumber = 1
        session.area.AreaTitle = "Test Area"
        assert Farea_Dat_Initialize(session)
        assert session.area.TrackForIndex is track_for_index
        # Closed by this fixture, not by qtbot: closing asks about unsaved work.
        sort_view = frmEditFileArealsv(session)
        assert sort_view.Form_Load()
        editor = frmEditFileArea(session, sort_view)
        editor.Form_Load()
        editor.show()
        area = EditorArea(session, sort_view, editor, directories, files_list)
        opened.append(area)
        return area

    yield factory
    for area in opened:
        # The tests have checked the changes; closing would ask about them.
        area.session.ChangesMade = False
        area.editor.close()
        area.sort_view.close()
        area.editor.deleteLater()
        area.sort_view.deleteLater()
    qtbot.wait(0)


# -- the edge cases -------------------------------------------------------------------------


def test_a_selected_entry_whose_file_lies_in_the_third_directory_slot_is_found_there_and_updated(
    open_area, session
):
    area = open_area([entry("FIRST.ZIP"), entry("THIRD.ZIP")])
    write_file(area.slots[2] / "THIRD.ZIP", size=321, when=datetime(2023, 7, 14, 9, 30))
    area.select(1)

    area.trigger("mnuFileDate")

    assert area.entry(1).date == "07-14-23"
    assert area.entry(0).date == OLD_DATE
    assert area.selected() == []
    assert area.tagged == "0"
    assert session.ChangesMade

    area.select(1)
    area.trigger("mnuFileLength")

    assert area.entry(1).size == "321"
    assert area.selected() == []


def test_an_entry_name_with_trailing_blanks_finds_its_file(open_area, session):
    area = open_area([entry("BLANKS.ZIP"), entry("OTHER.ZIP")])
    write_file(area.slots[0] / "BLANKS.ZIP", size=77, when=datetime(2022, 2, 3, 4, 5))
    # The name as lstFileNames holds it, with blanks after it.
    area.entry(0).name = "BLANKS.ZIP   "
    area.select(0)

    area.press("FileLength")

    assert area.entry(0).size == "77"
    assert area.selected() == []
    assert session.ChangesMade


def test_a_selection_of_two_entries_one_missing_the_other_is_updated_and_deselected_the_missing_one_stays_selected_and_is_named(
    open_area, session, port
):
    area = open_area([entry("HERE.ZIP"), entry("MIDDLE.ZIP"), entry("GONE.ZIP")])
    write_file(area.slots[1] / "HERE.ZIP", size=5, when=datetime(2021, 11, 30, 18, 0))
    area.select(0, 2)
    port.expect(
        title="Kelvane Alert!",
        text=NOT_FOUND + "GONE.ZIP ",
        buttons=Buttons.OK,
        icon=Icon.INFORMATION,
    )

    area.trigger("mnuFileDate")

    assert area.entry(0).date == "11-30-21"
    assert area.entry(2).date == OLD_DATE
    assert area.selected() == [2]
    assert area.tagged == "1"
    assert session.ChangesMade

    port.expect(
        title="Kelvane Alert Message!",
        text=NOT_FOUND + "GONE.ZIP ",
        buttons=Buttons.OK,
        icon=Icon.INFORMATION,
    )
    area.select(0)
    area.trigger("mnuFileLength")

    assert area.entry(0).size == "5"
    assert area.selected() == [2]


def test_running_file_date_on_an_entry_whose_date_is_already_correct_still_sets_changes_made(
    open_area, session
):
    when = datetime(2020, 6, 1, 12, 0)
    area = open_area([entry("RIGHT.ZIP", date="06-01-20")])
    write_file(area.slots[0] / "RIGHT.ZIP", when=when)
    assert not session.ChangesMade
    area.select(0)

    area.trigger("mnuFileDate")

    assert area.entry(0).date == "06-01-20"
    assert session.ChangesMade
    assert area.selected() == []


def test_a_file_dated_at_midnight_whose_date_text_carries_no_time_part_is_cut_at_its_first_8_characters_before_formatting(
    open_area, session
):
    area = open_area([entry("MIDNIGHT.ZIP")])
    write_file(area.slots[0] / "MIDNIGHT.ZIP", when=datetime(2024, 1, 5, 0, 0, 0))
    area.select(0)

    area.trigger("mnuFileDate")

    # The file's own date, "MM-DD-YY", not the day before or after.
    assert area.entry(0).date == "01-05-24"
    assert area.editor.lblFileDate.text() == "01-05-24"
    assert session.ChangesMade
