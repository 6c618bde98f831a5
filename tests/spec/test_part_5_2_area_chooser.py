"""Part 5.2, "Edge cases worth testing": one test per bullet."""

from __future__ import annotations

import pytest
from PySide6.QtWidgets import QListView

from kelvane.board.board_tool import add_simple_area, init_board
from kelvane.shell.area_chooser import ARRANGE_NONE, VIEW_LARGE_ICONS
from kelvane.shell.settings import KELVANE_STARTUP, ShellSettings, twips_to_pixels

pytest_plugins = ["tests.helpers.qt_boxes"]


def _open_chooser(frame_factory, node):
    frame = frame_factory()
    frame.session.area.MainNodePath = str(node)
    frame.mnuOpenFileAreas.trigger()
    assert frame.chooser is not None
    return frame, frame.chooser


@pytest.mark.gui
def test_first_use_with_an_empty_settings_store_shows_large_icons_no_arrangement_and_columns_1440_and_720_twips_wide(
    frame_factory, tmp_path
):
    node = tmp_path / "node"
    init_board(node)
    add_simple_area(node, "Uploads", tmp_path / "uploads")
    _frame, chooser = _open_chooser(frame_factory, node)
    view = chooser.lsvFileAreaTitles

    assert view.View == VIEW_LARGE_ICONS
    assert view.currentWidget() is view.icons
    assert view.icons.viewMode() == QListView.ViewMode.IconMode
    assert chooser.mnuLargeIcons.isChecked()
    assert view.Arrange == ARRANGE_NONE
    assert chooser.mnuArrangeNone.isChecked()
    assert view.details.columnWidth(0) == twips_to_pixels(1440)
    assert view.details.columnWidth(1) == twips_to_pixels(720)
    assert view.column_width_twips(0) == 1440
    assert view.column_width_twips(1) == 720


@pytest.mark.gui
def test_ok_on_an_area_whose_directory_is_missing_shows_the_alert_opens_no_editor_hides_the_filled_area_box_and_unloads_the_chooser(
    frame_factory, qt_boxes, tmp_path
):
    node = tmp_path / "node"
    init_board(node)
    add_simple_area(node, "Uploads", tmp_path / "uploads")
    add_simple_area(node, "Gone", tmp_path / "gone", create=False)
    frame, chooser = _open_chooser(frame_factory, node)
    chooser.lsvFileAreaTitles.select_row(1)

    qt_boxes.expect_alert("CanNotFindFileAreaPath")
    chooser.cmdOK.click()

    assert frame.editor is None
    assert [frame.cboToolbar3.itemText(i) for i in range(frame.cboToolbar3.count())] == [
        "Uploads",
        "Gone",
    ]
    assert not frame.tbToolBar3.isVisibleTo(frame)
    assert not frame.tbToolBar2.isVisibleTo(frame)
    assert frame.tbToolBar1.isVisibleTo(frame)
    assert frame.session.area.AreaNumber == 0
    assert frame.chooser is None
    assert frame.mdiArea.subWindowList() == []
    assert frame.mnuOpenFileAreas.isEnabled()
    assert frame.status_text() == ""
    # OK saved the chooser's settings on the way.
    assert ShellSettings().single(KELVANE_STARTUP, "FATF.ColumnHeaders(1).Width", 0) == 1440


@pytest.mark.gui
def test_a_board_with_no_area_records_gives_an_empty_list(frame_factory, tmp_path):
    node = tmp_path / "node"
    init_board(node)
    frame, chooser = _open_chooser(frame_factory, node)

    assert chooser.titles_model.rowCount() == 0
    assert chooser.lsvFileAreaTitles.selected_row() == -1
    assert frame.status_text() == ""
    assert frame.session.area.AreaNumber == 1  # AreaCount + 1, as the spec keeps it
    assert not chooser.cmdOK.isEnabled()
