"""Part 5.3, "Edge cases worth testing": one test per bullet."""

from __future__ import annotations

import os

import pytest

from kelvane.board.board_tool import init_board
from kelvane.board.user_port import Buttons, Icon
from kelvane.shell.settings import ShellSettings

pytest_plugins = ["tests.helpers.qt_boxes"]


def _options(frame):
    frame.mnuViewOptions.trigger()
    assert frame.options_form is not None
    return frame.options_form


@pytest.mark.gui
def test_a_path_typed_with_a_trailing_backslash_is_stored_without_it(frame_factory, tmp_path):
    node = tmp_path / "node"
    init_board(node)
    frame = frame_factory()
    form = _options(frame)

    form.txtMainNode.setText(str(node) + "\\")
    form.cmdOK.click()

    assert frame.session.area.MainNodePath == str(node)
    assert ShellSettings().main_node_path() == str(node)
    if os.sep == "/":  # a trailing "/" other than the root goes the same way
        form = _options(frame)
        form.txtMainNode.setText(str(node) + "/")
        form.cmdApply.setEnabled(True)
        form.cmdApply.click()
        assert ShellSettings().main_node_path() == str(node)


@pytest.mark.gui
def test_a_folder_without_mwork_farea_dat_shows_the_message_empties_the_box_disables_apply_and_keeps_the_previous_path(
    frame_factory, qt_boxes, tmp_path
):
    node = tmp_path / "node"
    init_board(node)
    ShellSettings().save_main_node_path(str(node))
    empty = tmp_path / "empty"
    empty.mkdir()
    frame = frame_factory()
    form = _options(frame)
    form.txtMainNode.setText(str(empty))
    form.Check2.setChecked(True)
    assert form.cmdApply.isEnabled()

    tested = os.path.join(str(empty), "MWORK", "FAREA.DAT").upper()
    qt_boxes.expect(
        title="Kelvane",
        text="Can Not find the Path to the needed file \r"
        + tested
        + "\rPlease select another folder!",
        buttons=Buttons.OK,
        icon=Icon.CRITICAL,
    )
    form.cmdApply.click()

    assert form.txtMainNode.text() == ""
    assert not form.cmdApply.isEnabled()
    assert frame.session.area.MainNodePath == str(node)
    assert ShellSettings().main_node_path() == str(node)
    assert ShellSettings().real_file_dates() is False


@pytest.mark.gui
def test_checking_check1_and_applying_makes_the_next_start_maximized_and_the_shut_down_never_changes_mainwindowstate(
    frame_factory, tmp_path
):
    node = tmp_path / "node"
    init_board(node)
    frame = frame_factory()
    frame.session.area.MainNodePath = str(node)
    form = _options(frame)
    form.Check1.click()
    assert form.cmdApply.isEnabled()
    form.cmdApply.click()
    assert ShellSettings().main_window_state() == 2
    form.cmdCancel.click()
    frame.close()
    assert ShellSettings().main_window_state() == 2

    next_start = frame_factory()
    next_start.show()
    assert next_start.isMaximized()
    next_start.close()
    assert ShellSettings().main_window_state() == 2


@pytest.mark.gui
def test_opening_options_once_in_a_run_turns_realfiledates_on_when_the_store_says_so(frame_factory):
    ShellSettings().save_real_file_dates(True)
    frame = frame_factory()
    assert frame.session.RealFileDates is False  # start-up does not read it

    form = _options(frame)

    assert frame.session.RealFileDates is True
    assert form.Check2.isChecked()
    assert not form.cmdApply.isEnabled()
