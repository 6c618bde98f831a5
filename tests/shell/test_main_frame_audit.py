"""The main frame audited against Parts 5.1, 5.2 and 2.1: one editor, the right bars, traps."""

from __future__ import annotations

import pytest

from kelvane.board.board_tool import add_simple_area, init_board
from tests.shell.test_main_frame import _board, _open_first_area

pytest_plugins = ["tests.helpers.qt_boxes"]


@pytest.mark.gui
def test_open_file_areas_is_unavailable_while_an_area_is_open(frame_factory, tmp_path):
    """One editor at a time (Part 2.1); the chooser's load would set AreaNumber to
    AreaCount + 1 under the open area (Part 5.2), and its OK would open a second
    editor whose load clears ChangesMade of the first."""
    node = _board(tmp_path, "Uploads", "Games")
    frame = frame_factory()
    _open_first_area(frame, node)

    assert not frame.mnuOpenFileAreas.isEnabled()
    assert not frame.actOpenFileAreas.isEnabled()
    frame.mnuOpenFileAreas.trigger()
    assert frame.chooser is None
    assert frame.session.area.AreaNumber == 1
    assert len(frame.mdiArea.subWindowList()) == 1

    frame.editor.mnuClose.trigger()
    assert frame.editor is None
    assert frame.mnuOpenFileAreas.isEnabled()
    assert frame.actOpenFileAreas.isEnabled()


@pytest.mark.gui
def test_a_failed_switch_makes_open_file_areas_available_again(frame_factory, qt_boxes, tmp_path):
    node = tmp_path / "node"
    init_board(node)
    add_simple_area(node, "Uploads", tmp_path / "uploads")
    add_simple_area(node, "Gone", tmp_path / "gone", create=False)
    frame = frame_factory()
    _open_first_area(frame, node)

    frame.cboToolbar3.setCurrentIndex(1)
    qt_boxes.expect_alert("CanNotFindFileAreaPath")
    frame.actSwitchArea.trigger()

    assert frame.editor is None
    assert frame.mnuOpenFileAreas.isEnabled()
    assert frame.actOpenFileAreas.isEnabled()


@pytest.mark.gui
def test_closing_the_editor_window_after_a_switch_returns_to_the_no_area_bars(
    frame_factory, tmp_path, qtbot
):
    """The window's close box is the Close command: after a switch (which leaves
    SwitchingAreas true) it must not leave the editor toolbar over no editor."""
    node = _board(tmp_path, "Uploads", "Games")
    frame = frame_factory()
    _open_first_area(frame, node)
    frame.cboToolbar3.setCurrentIndex(1)
    frame.actSwitchArea.trigger()
    assert frame.editor is not None
    assert frame.session.SwitchingAreas

    frame.mdiArea.subWindowList()[0].close()
    qtbot.wait(1)

    assert frame.editor is None
    assert frame.tbToolBar1.isVisibleTo(frame)
    assert not frame.tbToolBar2.isVisibleTo(frame)
    assert not frame.tbToolBar3.isVisibleTo(frame)
    assert not frame.sbStatusBar2.isVisibleTo(frame)
    assert frame.mnuOpenFileAreas.isEnabled()


@pytest.mark.gui
def test_an_error_in_an_editor_toolbar_handler_is_reported_not_raised(
    frame_factory, qt_boxes, tmp_path, monkeypatch
):
    node = _board(tmp_path, "Uploads")
    frame = frame_factory()
    _open_first_area(frame, node)

    def broken() -> None:
        raise RuntimeError("broken")

    monkeypatch.setattr(frame.editor, "mnuDownOneFile_Click", broken)
    qt_boxes.expect_error("tbToolBar2_ButtonClick")
    next(a for a in frame.tbToolBar2.actions() if a.objectName() == "DownOneFile").trigger()


@pytest.mark.gui
def test_an_error_in_the_help_is_reported_not_raised(frame_factory, qt_boxes, monkeypatch):
    frame = frame_factory()

    def broken(*_args):
        raise RuntimeError("broken")

    monkeypatch.setattr("kelvane.shell.help_window.load_help", broken)
    qt_boxes.expect_error("mnuHelpContents_Click")
    frame.mnuHelpContents.trigger()


@pytest.mark.gui
def test_ok_that_meets_an_error_reports_it_and_still_unloads_the_chooser(
    frame_factory, qt_boxes, tmp_path, monkeypatch
):
    """Part 5.2: "OK always ends with the chooser unloaded, whether the area opened or not"."""
    node = _board(tmp_path, "Uploads")
    frame = frame_factory()
    frame.session.area.MainNodePath = str(node)
    frame.mnuOpenFileAreas.trigger()
    chooser = frame.chooser

    def broken(*_args):
        raise RuntimeError("broken")

    monkeypatch.setattr(frame, "fill_area_box", broken)
    qt_boxes.expect_error("frmFileAreaTitles_cmdOk")
    chooser.cmdOK.click()

    assert frame.chooser is None
    assert frame.mdiArea.subWindowList() == []
    assert frame.mnuOpenFileAreas.isEnabled()
