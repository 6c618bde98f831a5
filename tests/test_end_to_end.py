"""One journey through the program, end to end, through the widgets a user touches.

Start the program, set the main node path in Options, open the area chooser
from the toolbar, open the second area, edit two descriptions, save, switch
to the first area with the area box, delete a file there (the area is
tracked for the master index), exit, save the changes, run Make Index.  The
Files Lists, their backups, the index file and the settings file are then
checked byte for byte.  Every message box is scripted (``qt_boxes``); any
other box fails the test.
"""

from __future__ import annotations

import configparser
import os
from collections.abc import Iterator
from pathlib import Path

import pytest
from PySide6.QtCore import QPoint, Qt
from PySide6.QtWidgets import QAbstractItemView, QToolBar, QWidget

import kelvane
from kelvane.board.board_tool import add_simple_area, init_board
from kelvane.board.user_port import Answer, Buttons, Icon

pytest_plugins = ["tests.helpers.qt_boxes"]

#: Files Lists are written here in Part 1.2's fixed columns, one line per string, each
#: closed by a "|" in column 77 (every line Kelvane writes is 76 characters long);
#: ``files_list`` checks that column and drops the bar.  The rule above each list: name
#: 1-12, size right-aligned in 13-21, date with a blank either side in 22-31,
#: description 32-76; continuation lines start with 31 blanks.
LINE_END = "|"
LINE_LENGTH = 76


def files_list(*lines: str) -> bytes:
    """The bytes of a Files List from fixed-column lines, each ending in "|" after column 76."""
    for line in lines:
        assert len(line) == LINE_LENGTH + 1 and line.endswith(LINE_END), repr(line)
    return "".join(line[:-1] + "\r\n" for line in lines).encode("cp1252")


# fmt: off
GAMES_LIST = files_list(
   # 1234567890123456789012345678901234567890123456789012345678901234567890123456
   # [name......][...size][..date..][description................................]
    "ARCADE.ZIP       1000 05-01-97 Arcade classics                              |",
    "DOOM.ZIP         2000 06-02-97 Doom shareware, episode one                  |",
    "QUAKE.ZIP        3000 07-03-97 Quake demo                                   |",
    "TETRIS.ZIP       4000 08-04-97 Tetris for DOS                               |",
)
UPLOADS_LIST = files_list(
   # 1234567890123456789012345678901234567890123456789012345678901234567890123456
   # [name......][...size][..date..][description................................]
    "EDITOR.ZIP      12345 03-14-98 A text editor                                |",
    "                               for DOS                                      |",
    "PAINT.ZIP        2048 11-02-97 Paint program                                |",
    "README.TXT        512 01-01-99 Read me                                      |",
)
#: Uploads after the two edits: PAINT.ZIP got two lines, README.TXT a text of 67
#: characters that wraps at the last space up to column 45 (the space stays on line 1).
UPLOADS_SAVED = files_list(
   # 1234567890123456789012345678901234567890123456789012345678901234567890123456
   # [name......][...size][..date..][description................................]
    "EDITOR.ZIP      12345 03-14-98 A text editor                                |",
    "                               for DOS                                      |",
    "PAINT.ZIP        2048 11-02-97 Paint program                                |",
    "                               for Windows 95                               |",
    "README.TXT        512 01-01-99 Read this first: it tells how to install     |",
    "                               every program in this area                   |",
)
#: Games after Delete Files took DOOM.ZIP, saved at the exit.
GAMES_SAVED = files_list(
   # 1234567890123456789012345678901234567890123456789012345678901234567890123456
   # [name......][...size][..date..][description................................]
    "ARCADE.ZIP       1000 05-01-97 Arcade classics                              |",
    "QUAKE.ZIP        3000 07-03-97 Quake demo                                   |",
    "TETRIS.ZIP       4000 08-04-97 Tetris for DOS                               |",
)
# fmt: on


def index_record(slot: int, name: str) -> bytes:
    """One 15-byte index record: slot (int16 LE), then name + NUL padded with blanks to 13."""
    field = name.encode("ascii") + b"\x00"
    return slot.to_bytes(2, "little", signed=True) + field.ljust(13, b" ")


#: Games' directories after the exit's save: slot 0 lists ARCADE.ZIP, FILES.BAK,
#: FILES.LST, QUAKE.ZIP (the two FILES.* keep their record numbers, written as zeros);
#: slot 1 lists TETRIS.ZIP.
GAMES_INDEX = (
    index_record(0, "ARCADE.ZIP")
    + bytes(15)  # record 2: FILES.BAK, skipped
    + bytes(15)  # record 3: FILES.LST, skipped
    + index_record(0, "QUAKE.ZIP")
    + index_record(1, "TETRIS.ZIP")
)


# -- the user's hands -------------------------------------------------------------------------


def toolbar_button(toolbar: QToolBar, key: str) -> QWidget:
    """The visible button of *toolbar* whose action has the key *key*."""
    actions = [action for action in toolbar.actions() if action.objectName() == key]
    assert len(actions) == 1, f"{toolbar.objectName()} has no single button {key!r}"
    button = toolbar.widgetForAction(actions[0])
    assert button is not None and button.isVisible(), f"button {key!r} is not shown"
    assert button.isEnabled(), f"button {key!r} is disabled"
    return button


def press(qtbot, toolbar: QToolBar, key: str) -> None:
    """A left click on the toolbar's button *key*."""
    qtbot.mouseClick(toolbar_button(toolbar, key), Qt.MouseButton.LeftButton)


def row_centre(qtbot, view: QAbstractItemView, row: int) -> QPoint:
    """Where row *row* of *view* is drawn, once the view has laid its items out."""
    index = view.model().index(row, 0)
    view.scrollTo(index)
    qtbot.waitUntil(lambda: not view.visualRect(index).isEmpty(), timeout=2000)
    return view.visualRect(index).center()


def click_row(qtbot, view: QAbstractItemView, row: int) -> None:
    qtbot.mouseClick(
        view.viewport(),
        Qt.MouseButton.LeftButton,
        Qt.KeyboardModifier.NoModifier,
        row_centre(qtbot, view, row),
    )


def replace_description(qtbot, editor, *lines: str) -> None:
    """Select the whole description box and type *lines*, Return between them."""
    box = editor.txtFileDescription
    qtbot.keyClick(box, Qt.Key.Key_A, Qt.KeyboardModifier.ControlModifier)
    for number, line in enumerate(lines):
        if number:
            qtbot.keyClick(box, Qt.Key.Key_Return)
        qtbot.keyClicks(box, line)


def all_boxes_answered(qt_boxes) -> None:
    """Every box expected so far was shown, and none other."""
    assert qt_boxes.failures == []
    assert not qt_boxes.expected, [e.title or e.contains for e in qt_boxes.expected]


def expect_saved(qt_boxes, path: Path) -> None:
    qt_boxes.expect(
        title="Kelvane Information",
        text="Changes were saved to " + os.fspath(path),
        buttons=Buttons.OK,
        icon=Icon.INFORMATION,
        answer=Answer.OK,
    )


# -- the board and the program --------------------------------------------------------------


def build_board(root: Path) -> Path:
    """Area 1 "Games" (tracked: an index path and master "No"), area 2 "Uploads"."""
    node = root / "node"
    init_board(node)
    games, games2 = root / "games", root / "games2"
    games2.mkdir()
    add_simple_area(
        node,
        "Games",
        games,
        alt=[games2],
        index=os.fspath(root / "index" / "GAMES.IDX"),
        master="No",
    )
    add_simple_area(node, "Uploads", root / "uploads")
    for name in ("ARCADE.ZIP", "DOOM.ZIP", "QUAKE.ZIP"):
        (games / name).write_bytes(b"PK\x05\x06" + bytes(18))
    (games2 / "TETRIS.ZIP").write_bytes(b"PK\x05\x06" + bytes(18))
    (games / "FILES.LST").write_bytes(GAMES_LIST)
    (root / "uploads" / "FILES.LST").write_bytes(UPLOADS_LIST)
    return node


@pytest.fixture
def program(qtbot, qt_boxes) -> Iterator[object]:
    """``kelvane.create_main_frame()``; at teardown the frame goes without its shut-down."""
    frame = kelvane.create_main_frame()
    qtbot.waitExposed(frame)
    yield frame
    frame._unloaded = True  # the journey ran the shut-down; a failed one must not ask again
    for window in frame.mdiArea.subWindowList():
        widget = window.widget()
        if widget is not None and hasattr(widget, "_unloaded"):
            widget._unloaded = True
    frame.close()
    frame.deleteLater()
    qtbot.wait(1)


@pytest.mark.gui
def test_a_whole_session_from_options_to_make_index(program, qtbot, qt_boxes, tmp_path):
    frame = program
    node = build_board(tmp_path)
    games_list = tmp_path / "games" / "FILES.LST"
    uploads_list = tmp_path / "uploads" / "FILES.LST"
    settings_file = Path(os.environ["KELVANE_SETTINGS"])
    assert frame.session.area.MainNodePath == ""  # first start

    # -- Options: type the main node path, OK ------------------------------------------------
    frame.mnuViewOptions.trigger()
    options = frame.options_form
    assert options is not None and options.isVisible()
    qtbot.keyClicks(options.txtMainNode, os.fspath(node))
    assert options.cmdApply.isEnabled()
    qtbot.mouseClick(options.cmdOK, Qt.MouseButton.LeftButton)
    qtbot.waitUntil(lambda: frame.options_form is None, timeout=2000)
    assert frame.session.area.MainNodePath == os.fspath(node)

    # -- Open File Areas from the main toolbar: the chooser lists both areas ------------------
    press(qtbot, frame.tbToolBar1, "OpenFileAreas")
    chooser = frame.chooser
    assert chooser is not None
    qtbot.waitUntil(chooser.isVisible, timeout=2000)
    assert chooser.titles_model.titles() == ["Games", "Uploads"]
    assert not frame.mnuOpenFileAreas.isEnabled()

    # -- choose "Uploads" (the second row), OK ------------------------------------------------
    click_row(qtbot, chooser.lsvFileAreaTitles.icons, 1)
    assert chooser.selected_text() == "Uploads"
    qtbot.mouseClick(chooser.cmdOK, Qt.MouseButton.LeftButton)
    editor = frame.editor
    assert editor is not None
    assert frame.chooser is None
    assert editor.windowTitle() == "Editing File Area: Uploads"
    assert frame.session.area.AreaNumber == 2
    assert not frame.session.area.TrackForIndex
    assert frame.tbToolBar2.isVisible() and frame.tbToolBar3.isVisible()
    assert not frame.tbToolBar1.isVisible()
    qtbot.waitUntil(editor.lstFileNames.isVisible, timeout=2000)
    assert editor.lblFileName.text() == "EDITOR.ZIP"
    assert editor.lblTotalFileCt.text() == "3"

    # -- edit two descriptions ---------------------------------------------------------------
    click_row(qtbot, editor.lstFileNames, 1)
    assert editor.lblFileName.text() == "PAINT.ZIP"
    assert editor.txtFileDescription.toPlainText() == "Paint program\n"
    replace_description(qtbot, editor, "Paint program", "for Windows 95")
    click_row(qtbot, editor.lstFileNames, 2)  # the edit goes back to PAINT.ZIP
    assert editor.lblFileName.text() == "README.TXT"
    assert editor.entries[1].description == "Paint program\r\nfor Windows 95"
    assert frame.session.ChangesMade
    replace_description(
        qtbot, editor, "Read this first: it tells how to install every program in this area"
    )

    # -- Save Work: the box, the list in the fixed columns, the backup -----------------------
    expect_saved(qt_boxes, uploads_list)
    press(qtbot, frame.tbToolBar2, "SaveWork")
    all_boxes_answered(qt_boxes)
    assert not frame.session.ChangesMade
    assert uploads_list.read_bytes() == UPLOADS_SAVED
    assert (tmp_path / "uploads" / "FILES.BAK").read_bytes() == UPLOADS_LIST
    assert not (tmp_path / "games" / "FILES.BAK").exists()

    # -- switch to "Games" with the area box and the switch button ---------------------------
    box = frame.cboToolbar3
    assert [box.itemText(i) for i in range(box.count())] == ["Games", "Uploads"]
    assert box.currentIndex() == 1
    qtbot.keyClick(box, Qt.Key.Key_Up)
    assert box.currentText() == "Games"
    press(qtbot, frame.tbToolBar3, "SwitchArea")
    editor = frame.editor
    assert editor is not None
    assert editor.windowTitle() == "Editing File Area: Games"
    assert len(frame.mdiArea.subWindowList()) == 1
    area = frame.session.area
    assert area.AreaNumber == 1
    assert area.TrackForIndex
    assert not frame.session.IndexPending
    qtbot.waitUntil(editor.lstFileNames.isVisible, timeout=2000)
    assert [entry.name for entry in editor.entries] == [
        "ARCADE.ZIP",
        "DOOM.ZIP",
        "QUAKE.ZIP",
        "TETRIS.ZIP",
    ]

    # -- Delete Files on DOOM.ZIP: the file goes, the area is pending for Make Index ---------
    click_row(qtbot, editor.lstFileNames, 1)
    assert editor.lblFilesTagged.text() == "1"
    assert editor.selected_indices() == [1]
    qt_boxes.expect_alert("DeleteFiles", Answer.OK)
    press(qtbot, frame.tbToolBar2, "DeleteFiles")
    all_boxes_answered(qt_boxes)
    assert not (tmp_path / "games" / "DOOM.ZIP").exists()
    assert [entry.name for entry in editor.entries] == ["ARCADE.ZIP", "QUAKE.ZIP", "TETRIS.ZIP"]
    assert frame.session.IndexPending
    assert frame.session.make_index_list == ["1"]
    assert games_list.read_bytes() == GAMES_LIST  # nothing saved yet

    # -- Exit: save the changes, then Make Index ---------------------------------------------
    qt_boxes.expect_alert("ChangesMade", Answer.YES)
    expect_saved(qt_boxes, games_list)
    qt_boxes.expect(
        title="Kelvane Alert!",
        text="Run Make Index and update current Indexes with changes?",
        buttons=Buttons.OK_CANCEL,
        icon=Icon.QUESTION,
        answer=Answer.OK,
    )
    frame.mnuExit.trigger()
    all_boxes_answered(qt_boxes)
    assert not frame.isVisible()

    assert games_list.read_bytes() == GAMES_SAVED
    assert (tmp_path / "games" / "FILES.BAK").read_bytes() == GAMES_LIST
    assert uploads_list.read_bytes() == UPLOADS_SAVED
    index = tmp_path / "index" / "GAMES.IDX"
    assert index.read_bytes() == GAMES_INDEX
    assert frame.session.make_index_list == []
    assert not frame.session.IndexPending

    # -- the settings file holds the main node path (and the placement of the shut-down) -----
    settings = configparser.RawConfigParser(delimiters=("=",))
    settings.optionxform = str  # type: ignore[assignment,method-assign]
    settings.read(settings_file, encoding="utf-8")
    assert settings.get("Vandor\\Vandor Startup", "Vandor Main Path") == os.fspath(node)
    assert settings.has_option("Vandor\\Kelvane Startup", "MainWidth")
