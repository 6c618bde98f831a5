"""The main frame: menus, toolbar dispatch by key, the switch, shut-down order, help."""

from __future__ import annotations

import pytest

from kelvane.board.board_tool import add_simple_area, init_board
from kelvane.board.user_port import Answer, Buttons, Icon
from kelvane.editor.commands import TOOLBAR_KEYS
from kelvane.shell.settings import ShellSettings

pytest_plugins = ["tests.helpers.qt_boxes"]


def _board(tmp_path, *titles):
    node = tmp_path / "node"
    init_board(node)
    for number, title in enumerate(titles, start=1):
        add_simple_area(node, title, tmp_path / f"area{number}")
    return node


def _open_first_area(frame, node):
    frame.session.area.MainNodePath = str(node)
    frame.mnuOpenFileAreas.trigger()
    frame.chooser.cmdOK.click()
    assert frame.editor is not None


@pytest.mark.gui
def test_menus_carry_the_spec_captions_and_names(frame_factory):
    frame = frame_factory()
    menus = [
        (menu.title(), menu.objectName()) for menu in (frame.mnuFile, frame.mnuView, frame.mnuHelp)
    ]
    assert menus == [("&File", "mnuFile"), ("&View", "mnuView"), ("&Help", "mnuHelp")]
    items = [
        (a.text(), a.objectName())
        for a in frame.mnuFile.actions() + frame.mnuView.actions() + frame.mnuHelp.actions()
    ]
    assert items == [
        ("&Open File Areas", "mnuOpenFileAreas"),
        ("", ""),
        ("E&xit", "mnuExit"),
        ("&Toolbar", "mnuViewToolbar"),
        ("Status &Bar", "mnuViewStatusBar"),
        ("", ""),
        ("&Options...", "mnuViewOptions"),
        ("&Contents", "mnuHelpContents"),
        ("&Search For Help On...", "mnuHelpSearch"),
        ("", ""),
        ("&About Kelvane...", "mnuHelpAbout"),
        ("&Technical Support Info", "mnuTechSupportInfo"),
    ]
    assert frame.mnuViewToolbar.isCheckable() and frame.mnuViewToolbar.isChecked()
    assert frame.mnuViewStatusBar.isCheckable() and frame.mnuViewStatusBar.isChecked()
    assert frame.objectName() == "MainFrame"


@pytest.mark.gui
def test_start_up_hides_the_area_bars_and_fills_the_date_pane(frame_factory):
    frame = frame_factory()
    assert frame.tbToolBar1.isVisibleTo(frame)
    assert frame.sbStatusBar1.isVisibleTo(frame)
    for bar in (frame.tbToolBar2, frame.tbToolBar3, frame.sbStatusBar2):
        assert not bar.isVisibleTo(frame)
    assert frame.sbStatusBar1Date.text() != ""
    assert frame.frmMakeIndex is not None and not frame.frmMakeIndex.isVisible()
    assert frame.help_file.endswith("KELV32.HLP")
    assert frame.cboToolbar3.toolTip() == "Allows selection of a new File Area."
    assert frame.findChild(type(frame.cboToolBar3), "cboToolBar3") is frame.cboToolBar3


@pytest.mark.gui
def test_the_editor_toolbar_has_one_button_per_key_in_table_order(frame_factory):
    frame = frame_factory()
    keys = [action.objectName() for action in frame.tbToolBar2.actions()]
    assert keys == [key for key, _menu in TOOLBAR_KEYS]
    assert all(
        not action.icon().isNull() and action.toolTip() for action in frame.tbToolBar2.actions()
    )


class _FakeEditor:
    def __init__(self):
        self.calls = []

    def handler_for_key(self, key):
        return lambda: self.calls.append(key)


@pytest.mark.gui
def test_toolbar_dispatch_calls_the_editor_handler_of_the_exact_key(frame_factory):
    frame = frame_factory()
    editor = _FakeEditor()
    frame.editor = editor
    for action in frame.tbToolBar2.actions():
        action.trigger()
    frame.Tool_Bar_Click("savework")  # keys compare exactly: no match, nothing happens
    frame.Tool_Bar_Click("Unknown")
    frame.editor = None
    assert editor.calls == [key for key, _menu in TOOLBAR_KEYS]


@pytest.mark.gui
def test_toolbar1_buttons_open_file_areas_and_exit(frame_factory, qt_boxes, monkeypatch):
    frame = frame_factory()
    qt_boxes.expect_alert("NoPath")
    frame.actOpenFileAreas.trigger()
    closed = []
    monkeypatch.setattr(frame, "close", lambda: closed.append(True))
    frame.actExit.trigger()
    frame.mnuExit.trigger()
    assert closed == [True, True]


@pytest.mark.gui
def test_view_toggles_flip_the_check_mark_and_the_bar(frame_factory):
    frame = frame_factory()
    frame.mnuViewToolbar.trigger()
    assert not frame.mnuViewToolbar.isChecked() and not frame.tbToolBar1.isVisibleTo(frame)
    frame.mnuViewStatusBar.trigger()
    assert not frame.mnuViewStatusBar.isChecked() and not frame.sbStatusBar1.isVisibleTo(frame)
    frame.mnuViewToolbar.trigger()
    frame.mnuViewStatusBar.trigger()
    assert frame.tbToolBar1.isVisibleTo(frame) and frame.sbStatusBar1.isVisibleTo(frame)


@pytest.mark.gui
def test_opening_an_area_shows_the_editor_and_the_area_bars(frame_factory, tmp_path):
    node = _board(tmp_path, "Uploads", "Games")
    frame = frame_factory()
    _open_first_area(frame, node)
    assert frame.editor.windowTitle() == "Editing File Area: Uploads"
    assert frame.session.area.AreaNumber == 1
    assert not frame.tbToolBar1.isVisibleTo(frame)
    assert frame.tbToolBar2.isVisibleTo(frame) and frame.tbToolBar3.isVisibleTo(frame)
    assert frame.sbStatusBar2.isVisibleTo(frame)
    # One editor at a time (Part 2.1): Open File Areas is an area-dependent item,
    # unavailable while an area is open (test_main_frame_audit.py).
    assert frame.chooser is None and not frame.mnuOpenFileAreas.isEnabled()
    assert frame.cboToolbar3.currentIndex() == 0


@pytest.mark.gui
def test_the_switch_opens_the_area_chosen_in_the_box(frame_factory, tmp_path):
    node = _board(tmp_path, "Uploads", "Games")
    frame = frame_factory()
    _open_first_area(frame, node)
    first = frame.editor

    frame.cboToolbar3.setCurrentIndex(1)
    assert frame.editor is first  # choosing alone does not switch
    frame.actSwitchArea.trigger()

    assert frame.editor is not first
    assert frame.editor.windowTitle() == "Editing File Area: Games"
    assert frame.session.area.AreaNumber == 2
    assert frame.session.SwitchingAreas is True
    assert frame.session.area.FilePaths[0] == str(tmp_path / "area2")
    assert len(frame.mdiArea.subWindowList()) == 1
    assert frame.cboToolbar3.currentIndex() == 1


@pytest.mark.gui
def test_the_switch_asks_about_unsaved_changes_through_the_editor_unload(
    frame_factory, qt_boxes, tmp_path
):
    node = _board(tmp_path, "Uploads", "Games")
    frame = frame_factory()
    _open_first_area(frame, node)
    frame.session.ChangesMade = True
    frame.cboToolbar3.setCurrentIndex(1)
    qt_boxes.expect_alert("ChangesMade", Answer.NO)
    frame.actSwitchArea.trigger()
    assert frame.editor.windowTitle() == "Editing File Area: Games"


@pytest.mark.gui
def test_closing_the_editor_returns_to_the_no_area_bars(frame_factory, tmp_path, qtbot):
    node = _board(tmp_path, "Uploads")
    frame = frame_factory()
    _open_first_area(frame, node)
    frame.Tool_Bar_Click("Close")
    qtbot.wait(1)
    assert frame.editor is None and frame.sort_view is None
    assert frame.mdiArea.subWindowList() == []
    assert frame.tbToolBar1.isVisibleTo(frame)
    assert not frame.tbToolBar2.isVisibleTo(frame) and not frame.sbStatusBar2.isVisibleTo(frame)


@pytest.mark.gui
def test_shut_down_runs_make_index_then_saves_and_releases_the_library(
    frame_factory, qt_boxes, tmp_path, monkeypatch
):
    import kelvane.index.make_index as make_index

    node = _board(tmp_path, "Uploads")
    frame = frame_factory()
    frame.session.area.MainNodePath = str(node)
    frame.session.make_index_list.append("1")
    frame.session.IndexPending = True
    steps = []
    monkeypatch.setattr(
        make_index, "Make_Index_File", lambda session, progress: steps.append(("index", progress))
    )
    form = frame.frmMakeIndex
    monkeypatch.setattr(form, "end", lambda: steps.append(("unload form", None)))
    original_save = frame.settings.save_main_node_path
    monkeypatch.setattr(
        frame.settings,
        "save_main_node_path",
        lambda path: (steps.append(("path", path)), original_save(path)),
    )
    monkeypatch.setattr(frame, "save_placement", lambda: steps.append(("placement", None)))
    monkeypatch.setattr(frame.session, "release_library", lambda: steps.append(("release", None)))

    qt_boxes.expect_alert("MakeIndex", Answer.OK)
    frame.close()

    assert steps == [
        ("index", form),
        ("unload form", None),
        ("path", str(node)),
        ("placement", None),
        ("release", None),
    ]
    assert ShellSettings().main_node_path() == str(node)
    assert frame.frmMakeIndex is None


@pytest.mark.gui
def test_shut_down_builds_the_pending_index(frame_factory, qt_boxes, tmp_path):
    node = tmp_path / "node"
    init_board(node)
    index_file = tmp_path / "index" / "UPLOADS.IDX"
    add_simple_area(node, "Uploads", tmp_path / "uploads", index=str(index_file))
    (tmp_path / "uploads" / "GAME.ZIP").write_bytes(b"PK")
    frame = frame_factory()
    frame.frmMakeIndex.wait_seconds = 0
    frame.session.area.MainNodePath = str(node)
    frame.session.make_index_list.append("1")
    frame.session.IndexPending = True
    qt_boxes.expect_alert("MakeIndex", Answer.OK)
    frame.close()
    assert index_file.read_bytes() == b"\x00\x00GAME.ZIP\x00    "


@pytest.mark.gui
def test_help_without_a_help_file_says_so(frame_factory, qt_boxes):
    frame = frame_factory(install=False)
    qt_boxes.expect(
        title="Kelvane",
        text="Unable to display Help Contents. There is no Help associated with this project.",
        buttons=Buttons.OK,
    )
    frame.mnuHelpContents.trigger()
    assert frame.help_window is None


@pytest.mark.gui
def test_help_contents_search_and_context_13(frame_factory):
    frame = frame_factory()
    frame.mnuHelpContents.trigger()
    window = frame.help_window
    assert window is not None and window.isVisible()
    assert window.current.name == "Welcome"
    frame.mnuHelpSearch.trigger()
    window.txtSearch.setText("sort")
    assert "Sorting" in window.visible_topic_names()
    frame.show_help_context(13)
    assert window.current.title == "Selecting files"
    frame.show_help_topic("Sorting")
    assert window.current.name == "Sorting"


@pytest.mark.gui
def test_about_and_technical_support_boxes(frame_factory, qt_boxes):
    frame = frame_factory()
    qt_boxes.expect(title="About Kelvane", contains="Kelvane 0.1.0", icon=Icon.INFORMATION)
    frame.mnuHelpAbout.trigger()
    qt_boxes.expect(title="Technical Support Info", contains="Kelvane.err")
    frame.mnuTechSupportInfo.trigger()
    text = qt_boxes.shown[-1].text
    assert "Program directory: " + frame.session.app_path in text
    assert "Vandor.ini" in text


@pytest.mark.gui
def test_the_editor_toolbar_customize_dialog_hides_unchecked_buttons(frame_factory):
    from PySide6.QtCore import Qt

    from kelvane.shell.main_frame import ToolbarCustomizeDialog

    frame = frame_factory()
    dialog = ToolbarCustomizeDialog(frame.tbToolBar2, frame)
    assert dialog.lstButtons.count() == 15
    dialog.lstButtons.item(0).setCheckState(Qt.CheckState.Unchecked)
    dialog.apply()
    assert not frame.tbToolBar2.actions()[0].isVisible()
    dialog.deleteLater()
