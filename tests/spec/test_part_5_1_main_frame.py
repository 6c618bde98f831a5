"""Part 5.1, "Edge cases worth testing": one test per bullet."""

from __future__ import annotations

import pytest

from kelvane.board.board_tool import add_simple_area, init_board
from kelvane.board.user_port import Answer
from kelvane.shell.settings import KELVANE_STARTUP, ShellSettings

pytest_plugins = ["tests.helpers.qt_boxes"]


def _board(node, *areas):
    init_board(node)
    for title, directory, create in areas:
        add_simple_area(node, title, directory, create=create)
    return node


@pytest.mark.gui
def test_first_start_with_an_empty_settings_store_centres_the_frame_at_three_quarters_and_open_file_areas_reports_nopath(
    frame_factory, qt_boxes
):
    frame = frame_factory()
    screen = frame.screen_geometry()
    assert frame.width() == round(screen.width() * 0.75)
    assert frame.height() == round(screen.height() * 0.75)
    assert frame.x() == screen.x() + (screen.width() - frame.width()) // 2
    assert frame.y() == screen.y() + (screen.height() - frame.height()) // 2
    assert frame.windowState() == frame.windowState().WindowNoState
    assert frame.session.area.MainNodePath == ""

    qt_boxes.expect_alert("NoPath")
    frame.mnuOpenFileAreas.trigger()
    assert frame.chooser is None
    assert frame.mnuOpenFileAreas.isEnabled()


@pytest.mark.gui
def test_a_main_node_path_of_three_characters_is_rejected_with_invalidpath_while_four_characters_are_accepted(
    frame_factory, qt_boxes, tmp_path, monkeypatch
):
    monkeypatch.chdir(tmp_path)
    _board(tmp_path / "node", ("Uploads", tmp_path / "uploads", True))
    frame = frame_factory()

    frame.session.area.MainNodePath = "/ab"
    qt_boxes.expect_alert("InValidPath", main_node_path="/ab")
    frame.mnuOpenFileAreas.trigger()
    assert frame.chooser is None

    frame.session.area.MainNodePath = "node"  # four characters; node/Mwork/Farea.dat exists
    frame.mnuOpenFileAreas.trigger()
    assert frame.chooser is not None
    assert frame.status_text() == "Uploads"
    assert not frame.mnuOpenFileAreas.isEnabled()
    assert not frame.actOpenFileAreas.isEnabled()


@pytest.mark.gui
def test_closing_the_program_while_maximized_keeps_the_previous_normal_placement_in_the_store(
    frame_factory,
):
    settings = ShellSettings()
    settings.save_placement(1500, 1200, 6000, 4500)
    settings.save_main_window_state(2)
    frame = frame_factory()
    frame.show()
    assert frame.isMaximized()

    frame.close()

    assert settings.single(KELVANE_STARTUP, "MainLeft", 0) == 1500
    assert settings.single(KELVANE_STARTUP, "MainTop", 0) == 1200
    assert settings.single(KELVANE_STARTUP, "MainWidth", 0) == 6000
    assert settings.single(KELVANE_STARTUP, "MainHeight", 0) == 4500
    assert settings.main_window_state() == 2


@pytest.mark.gui
def test_switching_to_an_area_whose_directory_is_missing_leaves_no_editor_empties_the_area_box_and_sets_areanumber_to_0(
    frame_factory, qt_boxes, tmp_path
):
    node = _board(
        tmp_path / "node",
        ("Uploads", tmp_path / "uploads", True),
        ("Gone", tmp_path / "gone", False),
    )
    frame = frame_factory()
    frame.session.area.MainNodePath = str(node)
    frame.mnuOpenFileAreas.trigger()
    frame.chooser.cmdOK.click()
    assert frame.editor is not None
    assert frame.cboToolbar3.count() == 2

    frame.cboToolbar3.setCurrentIndex(1)
    qt_boxes.expect_alert("CanNotFindFileAreaPath")
    frame.actSwitchArea.trigger()

    assert frame.editor is None
    assert frame.mdiArea.subWindowList() == []
    assert frame.cboToolbar3.count() == 0
    assert frame.session.area.AreaNumber == 0
    assert frame.tbToolBar1.isVisibleTo(frame)
    assert not frame.tbToolBar2.isVisibleTo(frame)
    assert not frame.tbToolBar3.isVisibleTo(frame)
    assert not frame.sbStatusBar2.isVisibleTo(frame)


@pytest.mark.gui
def test_answering_no_to_the_make_index_question_exits_without_building_and_the_pending_areas_are_forgotten(
    frame_factory, qt_boxes, tmp_path
):
    node = _board(tmp_path / "node")
    index_file = tmp_path / "index" / "UPLOADS.IDX"
    add_simple_area(node, "Uploads", tmp_path / "uploads", index=str(index_file))
    (tmp_path / "uploads" / "GAME.ZIP").write_bytes(b"PK")
    frame = frame_factory()
    frame.session.area.MainNodePath = str(node)
    frame.session.make_index_list.append("1")
    frame.session.IndexPending = True

    qt_boxes.expect_alert("MakeIndex", Answer.CANCEL)
    frame.close()

    assert not index_file.exists()
    assert frame.session.make_index_list == []
    assert frame.session.IndexPending is False
    next_run = frame_factory()
    assert next_run.session.IndexPending is False
    assert next_run.session.make_index_list == []
