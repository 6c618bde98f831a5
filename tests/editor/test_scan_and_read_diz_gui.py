"""File Scan and Read DIZ through a real editor (``frmEditFileArea``) and the search form."""

from __future__ import annotations

import os
import zipfile
from pathlib import Path

import pytest
from PySide6.QtCore import QCoreApplication, Qt
from PySide6.QtGui import QAction
from PySide6.QtWidgets import QApplication, QLabel, QProgressBar, QPushButton, QStatusBar, QWidget

from kelvane.board.board_tool import add_simple_area, init_board
from kelvane.board.current_area import Farea_Dat_Initialize
from kelvane.board.files_list import Entry, format_files_list
from kelvane.editor import file_scan_form
from kelvane.editor.editor_form import frmEditFileArea
from kelvane.editor.file_scan import STATUS_READING, STATUS_SEARCHING
from kelvane.editor.file_scan_form import frmFileSearch
from kelvane.shell.avi_files import FINDFILE, SEARCH, write_program_animation
from kelvane.sortmove.sort_view_form import frmEditFileArealsv

pytestmark = pytest.mark.gui


def make_zip(path: Path, diz: bytes) -> Path:
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as archive:
        archive.writestr("FILE_ID.DIZ", diz)
    return path


@pytest.fixture
def area(session, tmp_path) -> Path:
    """A board with one area (files in tmp_path/files) loaded into the session."""
    node = tmp_path / "node"
    directory = tmp_path / "files"
    init_board(node)
    add_simple_area(node, "Uploads", directory)
    session.area.MainNodePath = os.fspath(node)
    session.area.AreaNumber = 1
    session.area.AreaTitle = "Uploads"
    assert Farea_Dat_Initialize(session)
    return directory


def write_list(session, directory: Path, entries: list[Entry]) -> None:
    data, complete = format_files_list(entries, session.code_page, session.area.FilePaths)
    assert complete
    (directory / "FILES.LST").write_bytes(data)


def install_animations(session, *names: str) -> None:
    animations = Path(session.app_path) / "AVI"
    animations.mkdir(exist_ok=True)
    for name in names:
        write_program_animation(animations, name)


@pytest.fixture
def open_editor(qtbot, session, area):
    """Open the area in a real editor (sort view loaded first, as the main frame does).

    At the end the editor is closed with its changes dropped (no save question).
    """
    opened: list[tuple[frmEditFileArea, frmEditFileArealsv]] = []

    def open_it() -> frmEditFileArea:
        sort_view = frmEditFileArealsv(session)
        assert sort_view.Form_Load()
        editor = frmEditFileArea(session, sort_view)
        opened.append((editor, sort_view))
        editor.Form_Load()
        editor.show()
        return editor

    yield open_it
    session.ChangesMade = False
    for editor, sort_view in opened:
        editor.close()
        editor.deleteLater()
        sort_view.deleteLater()


def action(editor: QWidget, name: str) -> QAction:
    found = editor.findChild(QAction, name)
    assert isinstance(found, QAction), name
    return found


def search_forms() -> list[QWidget]:
    return [w for w in QApplication.topLevelWidgets() if w.objectName() == "frmFileSearch"]


def test_read_diz_from_the_file_operations_menu(session, port, area, open_editor):
    install_animations(session, FINDFILE)
    make_zip(area / "A.ZIP", b"Archive A\r\n  second line\r\n")
    (area / "B.TXT").write_bytes(b"text")
    write_list(
        session,
        area,
        [
            Entry("A.ZIP", " 1", "01-01-90", "Old A\r\n"),
            Entry("B.TXT", " 1", "01-01-90", "Old B\r\n"),
            Entry("GONE.ZIP", " 1", "01-01-90", "Old GONE\r\n"),
        ],
    )
    editor = open_editor()
    editor.set_selected([0, 1, 2], True)
    port.expect(title="Kelvane Alert!", text="Files listed below were not found!\r\rGONE.ZIP ")

    action(editor, "mnuReadDIZ").trigger()

    entries = editor.entries
    assert entries[0].description == "Archive A\r\n  second line\r\n"
    assert entries[1].description == "No Description"
    assert entries[2].description == "Old GONE\r\n"
    assert editor.selected_indices() == [2]
    assert session.ChangesMade
    assert editor.findChild(QLabel, "lblFilesTagged").text() == "1"
    # The highlighted entry (the first) shows its new description.
    box = editor.txtFileDescription.toPlainText()
    assert box.splitlines() == ["Archive A", "  second line"]
    assert port.busy_depth == 0


def test_read_diz_with_nothing_selected_shows_no_selected_files(session, port, area, open_editor):
    install_animations(session, FINDFILE)
    write_list(session, area, [Entry("A.ZIP", " 1", "01-01-90", "Old A\r\n")])
    editor = open_editor()
    editor.deselect_all()
    port.expect_alert("NoSelectedFiles")

    action(editor, "mnuReadDIZ").trigger()

    assert editor.entries[0].description == "Old A\r\n"
    assert not session.ChangesMade


def test_file_scan_from_the_file_operations_menu_appends_the_new_files(
    session, port, area, open_editor, monkeypatch
):
    install_animations(session, FINDFILE, SEARCH)
    make_zip(area / "new.zip", b"A new upload\r\n")
    (area / "NOTES.TXT").write_bytes(b"notes")
    (area / "OLD.TXT").write_bytes(b"old")
    write_list(session, area, [Entry("OLD.TXT", " 3", "01-01-90", "Old\r\n")])
    editor = open_editor()
    seen: dict[str, object] = {}
    original = frmFileSearch.process_events

    def watch(form: frmFileSearch) -> None:
        # While the scan runs, the form is shown with its controls and animation.
        seen["visible"] = form.isVisible()
        seen["parent"] = form.parentWidget()
        seen["playing"] = form.animation is not None and form.animation.is_playing
        seen["status"] = form.sbSearch.currentMessage()
        seen["path"] = form.lblSearchPath.text()
        original(form)

    monkeypatch.setattr(frmFileSearch, "process_events", watch)

    action(editor, "mnuFileScan").trigger()

    zip_size = str((area / "new.zip").stat().st_size)
    assert [(e.name, e.size, e.description) for e in editor.entries] == [
        ("OLD.TXT", " 3", "Old\r\n"),
        ("NEW.ZIP", zip_size, "A new upload\r\n"),
        ("NOTES.TXT", "5", "No Description"),
    ]
    assert editor.names_model.rowCount() == 3
    assert editor.findChild(QLabel, "lblTotalFileCt").text() == "3"
    assert session.ChangesMade
    assert seen == {
        "visible": True,
        "parent": editor,
        "playing": True,
        "status": STATUS_SEARCHING,
        "path": str(area),
    }
    QCoreApplication.processEvents()
    assert not [form for form in search_forms() if form.isVisible()]
    assert port.busy_depth == 0


def test_the_search_form_names_its_controls_and_shows_the_last_new_file(session, qtbot):
    form = frmFileSearch(session)
    qtbot.addWidget(form)
    assert form.objectName() == "frmFileSearch"
    captions = [label.text() for label in form.findChildren(QLabel)]
    for caption in ("Searching Path  :", "Found New File  :", "Number of New Files Found:"):
        assert caption in captions
    for name, kind in (
        ("lblSearchPath", QLabel),
        ("lblFoundFile", QLabel),
        ("lblFileCount", QLabel),
        ("prbSearch", QProgressBar),
        ("sbSearch", QStatusBar),
        ("cmdQuitSearch", QPushButton),
        ("aniSearch", QWidget),
    ):
        assert isinstance(form.findChild(kind, name), kind), name
    form.set_found_file("NEW.ZIP")
    form.set_count("12")
    form.set_status(STATUS_READING)
    form.set_range(40)
    form.set_value(7)
    assert form.lblFoundFile.text() == "NEW.ZIP"
    assert form.lblFileCount.text() == "12"
    assert form.sbSearch.currentMessage() == STATUS_READING
    assert (form.prbSearch.maximum(), form.prbSearch.value()) == (40, 7)


def test_a_missing_search_animation_shows_no_avi_search_and_the_scan_goes_on(
    session, port, area, open_editor
):
    install_animations(session, FINDFILE)  # no SEARCH.AVI
    (area / "NEW.TXT").write_bytes(b"new")
    write_list(session, area, [])
    editor = open_editor()
    port.expect_alert("NoAVISearch", main_node_path="", app_path=session.app_path)

    action(editor, "mnuFileScan").trigger()

    assert editor.entries.names() == ["NEW.TXT"]


def test_pressing_cmd_quit_search_stops_the_scan_between_files_keeping_the_entries_added(
    session, port, area, open_editor, monkeypatch, qtbot
):
    install_animations(session, FINDFILE, SEARCH)
    names = [f"FILE{number:02d}.TXT" for number in range(1, 11)]
    for name in names:
        (area / name).write_bytes(b"data")
    write_list(session, area, [])
    editor = open_editor()
    original = frmFileSearch.process_events
    calls: list[str] = []

    def press_quit_at_the_fourth_file(form: frmFileSearch) -> None:
        calls.append(form.lblSearchPath.text())
        if len(calls) == 4:
            qtbot.mouseClick(form.cmdQuitSearch, Qt.MouseButton.LeftButton)
            assert session.SearchCancel
        original(form)

    monkeypatch.setattr(frmFileSearch, "process_events", press_quit_at_the_fourth_file)

    action(editor, "mnuFileScan").trigger()

    # The press is seen while the fourth file's events run: it is finished, no later one.
    assert len(calls) == 4
    assert editor.entries.names() == names[:4]
    assert editor.names_model.rowCount() == 4
    assert session.ChangesMade
    assert not [form for form in search_forms() if form.isVisible()]


def test_the_scan_command_reports_an_error_under_mnu_file_scan_click(
    session, port, area, open_editor, monkeypatch
):
    install_animations(session, FINDFILE, SEARCH)
    (area / "NEW.TXT").write_bytes(b"new")
    write_list(session, area, [])
    editor = open_editor()

    def fail(*_args: object) -> None:
        raise OSError("the disk went away")

    monkeypatch.setattr(file_scan_form, "run_file_scan", fail)
    port.expect_error("mnuFileScan_Click")

    action(editor, "mnuFileScan").trigger()

    assert not [form for form in search_forms() if form.isVisible()]


def test_a_new_files_name_and_the_counter_are_painted_at_once(session, qtbot):
    """Step 7.2: both labels repainted at once, before the archive is read (no event turn)."""
    from PySide6.QtCore import QEvent, QObject

    form = frmFileSearch(session)
    qtbot.addWidget(form)
    QWidget.show(form)  # on screen without loading the animation
    qtbot.waitExposed(form)
    painted: list[str] = []

    class PaintSpy(QObject):
        def eventFilter(self, watched, event):  # noqa: N802 - Qt's name
            if event.type() == QEvent.Type.Paint:
                painted.append(watched.objectName())
            return False

    spy = PaintSpy(form)
    form.lblFoundFile.installEventFilter(spy)
    form.lblFileCount.installEventFilter(spy)
    QCoreApplication.processEvents()  # the first painting of the shown form
    painted.clear()

    form.set_found_file("SLOW.ZIP")
    form.set_count("1")

    assert "lblFoundFile" in painted and "lblFileCount" in painted
