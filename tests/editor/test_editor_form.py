"""The editor form (Part 2.1), its models and the sort view's load and unload (Part 3.1)."""

from __future__ import annotations

import os
import re

import pytest

from kelvane.board.files_list import Entry
from kelvane.board.user_port import Answer, Buttons, Icon
from kelvane.editor.commands import TOOLBAR_KEYS
from tests.spec.test_part_2_1_editor import TITLE, editor_opener, entry, expect_saved

pytestmark = pytest.mark.gui

PLACEHOLDER_TEXT = "Sorry, this feature is not available yet!"


def entries_named(count: int) -> list[Entry]:
    return [entry(f"FILE{number:04d}.ZIP", f"Description {number}\r\n") for number in range(count)]


class FakeMainFrame:
    """The parts of the main frame the editor uses."""

    def __init__(self) -> None:
        from PySide6.QtWidgets import QStatusBar, QToolBar

        self.sbStatusBar2 = QStatusBar()
        self.tbToolBar2 = QToolBar()
        self.sbStatusBar2.show()
        self.tbToolBar2.show()
        self.closed_calls = 0

    def editor_closed(self) -> None:
        self.closed_calls += 1


@pytest.fixture
def open_editor(qtbot, session, tmp_path):
    with editor_opener(qtbot, session, tmp_path) as factory:
        yield factory


@pytest.fixture
def main_frame(qtbot):
    frame = FakeMainFrame()
    qtbot.addWidget(frame.sbStatusBar2)
    qtbot.addWidget(frame.tbToolBar2)
    return frame


# -- opening ----------------------------------------------------------------------------------


def test_opening_shows_the_first_entry_and_the_counts(open_editor, session):
    area = open_editor(
        [entry("ONE.ZIP", "Line one\r\nLine two\r\n", size=" 12345"), entry("TWO.ZIP")]
    )
    editor = area.editor

    assert editor.objectName() == "frmEditFileArea"
    assert editor.windowTitle() == "Editing File Area: " + TITLE
    assert editor.current_index() == 0
    assert editor.lblFileName.text() == "ONE.ZIP"
    assert editor.lblFileSize.text() == "12345"
    assert editor.lblFileDate.text() == "01-02-99"
    assert editor.txtFileDescription.toPlainText() == "Line one\nLine two\n"
    assert not editor.txtFileDescription.isReadOnly()
    assert editor.lblTotalFileCt.text() == "2"
    assert editor.lblFilesTagged.text() == "0"
    assert not editor.description_changed
    assert not session.ChangesMade
    assert editor.animation is not None
    assert editor.lstFileNames.uniformItemSizes()


def test_a_missing_findfile_animation_shows_the_box_and_the_editor_goes_on_without_it(
    open_editor, session, port
):
    expected = (
        "Unable to Find/Open \r"
        + session.app_path
        + os.sep
        + "AVI"
        + os.sep
        + "FINDFILE.AVI\r\rKelvane will skip this operation!"
    )
    port.expect(
        title="Kelvane Alert Message!", text=expected, buttons=Buttons.OK, icon=Icon.INFORMATION
    )

    area = open_editor([entry("ONE.ZIP")], animation=False)

    assert area.editor.animation is None
    assert not area.editor.start_animation()
    area.editor.stop_animation()
    assert area.editor.lblTotalFileCt.text() == "1"


def test_the_animation_starts_and_stops(open_editor):
    area = open_editor([entry("ONE.ZIP")])

    assert area.editor.start_animation()
    assert area.editor.animation.is_playing
    area.editor.stop_animation()
    assert not area.editor.animation.is_playing


# -- the status bar -----------------------------------------------------------------------------


def test_the_status_panes_show_the_area_flags_with_their_tooltips(open_editor):
    area = open_editor([entry("ONE.ZIP")], private="Yes", cdrom="No", alias="Yes", master="Yes")
    panes = area.editor.status_panes

    assert [pane.text() for pane in panes[:5]] == [
        "Private:  Yes",
        "CDRom:  No",
        "Alias:  Yes",
        "Offline:  No",
        "Master:  Yes",
    ]
    assert [pane.toolTip() for pane in panes] == [
        "Shows if this is a Private File Area.",
        "Shows if this is a CDROM File Area.",
        "Shows if Alias Names are allowed for File Area.",
        "Shows if this is an Offline File Area.",
        "Shows if File Area uses the Master Index System.",
        "Displays System's current Date.",
        "Displays System's current Time.",
    ]
    assert panes[6].text() != ""


def test_the_status_panes_widths_come_from_twips_at_the_screen_dpi(open_editor):
    from kelvane.editor.editor_form import twips_to_pixels

    area = open_editor([entry("ONE.ZIP")])
    panes = area.editor.status_panes
    dots_per_inch = area.editor.sbStatusBar2.logicalDpiX()

    assert twips_to_pixels(1440, 96) == 96
    assert twips_to_pixels(1300, 96) == 87
    for pane in panes[1:5]:
        assert pane.minimumWidth() == twips_to_pixels(1300, dots_per_inch)
    for pane in panes[5:]:
        assert pane.minimumWidth() == twips_to_pixels(1050, dots_per_inch)


def test_the_date_pane_reads_month_point_day_comma_year(open_editor):
    from PySide6.QtCore import QDate, QLocale

    from kelvane.editor.editor_form import DATE_PANE_FORMAT

    english = QLocale(QLocale.Language.English, QLocale.Country.UnitedStates)
    assert english.toString(QDate(2026, 11, 21), DATE_PANE_FORMAT) == "Nov. 21, 2026"
    assert english.toString(QDate(2027, 3, 4), DATE_PANE_FORMAT) == "Mar. 4, 2027"

    area = open_editor([entry("ONE.ZIP")])
    assert area.editor.status_panes[5].text() == QLocale().toString(
        QDate.currentDate(), DATE_PANE_FORMAT
    )
    assert re.fullmatch(r"\S+ \d{1,2}, \d{4}", area.editor.status_panes[5].text())


def test_the_time_pane_is_kept_current_by_a_timer(open_editor, qtbot):
    area = open_editor([entry("ONE.ZIP")])
    time_pane = area.editor.status_panes[6]
    time_pane.setText("")

    qtbot.waitUntil(lambda: time_pane.text() != "", timeout=3000)


def test_the_status_panes_go_into_the_main_frames_second_status_bar(open_editor, main_frame):
    from PySide6.QtWidgets import QLabel

    area = open_editor([entry("ONE.ZIP")], main_frame=main_frame)

    assert area.editor.sbStatusBar2 is main_frame.sbStatusBar2
    assert len(main_frame.sbStatusBar2.findChildren(QLabel)) == 7


# -- the description box --------------------------------------------------------------------------


def test_an_edit_goes_to_the_entry_that_was_shown_not_the_newly_highlighted_one(
    open_editor, session
):
    area = open_editor([entry("ONE.ZIP", "One\r\n"), entry("TWO.ZIP", "Two\r\n")])
    area.type_description("Edited ")

    area.click_row(1)

    assert area.entries[0].description == "Edited One\r\n"
    assert area.entries[1].description == "Two\r\n"
    assert area.editor.txtFileDescription.toPlainText() == "Two\n"
    assert not area.editor.description_changed
    assert session.ChangesMade


def test_losing_the_focus_writes_the_description_back(open_editor, session):
    from PySide6.QtCore import QEvent, Qt
    from PySide6.QtGui import QFocusEvent
    from PySide6.QtWidgets import QApplication

    area = open_editor([entry("ONE.ZIP", "One\r\n")])
    area.type_description("New ")
    assert area.editor.description_changed

    QApplication.sendEvent(
        area.editor.txtFileDescription,
        QFocusEvent(QEvent.Type.FocusOut, Qt.FocusReason.TabFocusReason),
    )

    assert area.entries[0].description == "New One\r\n"
    assert session.ChangesMade


def test_moving_without_typing_writes_nothing_back(open_editor, session):
    area = open_editor([entry("ONE.ZIP", "One\r\n"), entry("TWO.ZIP", "Two\r\n")])

    area.click_row(1)
    area.click_row(0)

    assert not session.ChangesMade
    assert area.entries[0].description == "One\r\n"


def test_save_work_with_nothing_changed_writes_and_shows_nothing(open_editor, session):
    area = open_editor([entry("ONE.ZIP")])
    before = area.files_list.read_bytes()

    area.trigger("mnuSaveWork")

    assert area.files_list.read_bytes() == before
    assert not (area.files_list.parent / "FILES.BAK").exists()
    assert not session.ChangesMade


def test_save_work_after_an_operation_change_saves_and_clears_changes_made(
    open_editor, session, port
):
    area = open_editor([entry("ONE.ZIP")])
    session.ChangesMade = True
    expect_saved(port, area.files_list)

    area.editor.handler_for_key("SaveWork")()

    assert not session.ChangesMade
    assert (area.files_list.parent / "FILES.BAK").exists()


# -- the list: clicks, keys, selection ----------------------------------------------------------


def test_ctrl_and_shift_clicks_tag_entries_and_the_counter_follows(open_editor):
    from PySide6.QtCore import Qt

    area = open_editor(entries_named(6))
    area.click_row(1)
    area.click_row(3, Qt.KeyboardModifier.ControlModifier)
    assert area.editor.selected_indices() == [1, 3]
    assert area.editor.lblFilesTagged.text() == "2"

    area.click_row(5, Qt.KeyboardModifier.ShiftModifier)

    assert area.editor.selected_indices() == [1, 3, 4, 5]
    assert area.editor.lblFilesTagged.text() == "4"
    assert area.editor.lblFileName.text() == "FILE0005.ZIP"


def test_the_right_button_focuses_the_list_and_opens_file_operations_without_changing_tags(
    open_editor, qtbot
):
    from PySide6.QtCore import Qt

    area = open_editor(entries_named(3))
    area.editor.set_selected([2], True)
    view = area.editor.lstFileNames

    qtbot.mouseClick(
        view.viewport(),
        Qt.MouseButton.RightButton,
        Qt.KeyboardModifier.NoModifier,
        view.visualRect(area.editor.names_model.index(0, 0)).center(),
    )

    menu = area.editor.mnuFileOperations
    assert menu.objectName() == "mnuFileOperations"
    assert menu.isVisible()
    assert area.editor.selected_indices() == [2]
    menu.hide()


def test_set_selected_select_all_and_deselect_all(open_editor):
    area = open_editor(entries_named(10))
    editor = area.editor

    editor.set_selected([1, 2, 3, 7, 9, 42, -1], True)
    assert editor.selected_indices() == [1, 2, 3, 7, 9]
    assert editor.lblFilesTagged.text() == "5"
    editor.set_selected([2, 9], False)
    assert editor.selected_indices() == [1, 3, 7]
    editor.select_all()
    assert editor.selected_indices() == list(range(10))
    assert editor.lblFilesTagged.text() == "10"
    editor.deselect_all()
    assert editor.selected_indices() == []
    assert editor.lblFilesTagged.text() == "0"


def test_set_current_index_moves_the_highlight_without_tagging(open_editor):
    area = open_editor(entries_named(5))

    area.editor.set_current_index(3)
    area.editor.Update_All_Controls()

    assert area.editor.current_index() == 3
    assert area.editor.selected_indices() == []
    assert area.editor.lblFileName.text() == "FILE0003.ZIP"


# -- the toolbar keys ------------------------------------------------------------------------------


def test_every_editor_toolbar_key_has_a_handler_and_others_have_none(open_editor):
    area = open_editor(entries_named(2))

    for key, _menu in TOOLBAR_KEYS:
        assert callable(area.editor.handler_for_key(key)), key
    assert area.editor.handler_for_key("savework") is None
    assert area.editor.handler_for_key("OpenFileAreas") is None
    assert area.editor.handler_for_key("") is None


def test_down_one_file_and_up_one_file_move_the_highlight_and_stop_at_the_ends(open_editor):
    area = open_editor(entries_named(3))
    down = area.editor.handler_for_key("DownOneFile")
    up = area.editor.handler_for_key("UpOneFile")

    down()
    assert area.editor.current_index() == 1
    assert area.editor.lblFileName.text() == "FILE0001.ZIP"
    assert area.editor.txtFileDescription.toPlainText() == "Description 1\n"
    down()
    down()
    assert area.editor.current_index() == 2
    up()
    assert area.editor.current_index() == 1
    assert area.editor.selected_indices() == [1]
    up()
    up()
    assert area.editor.current_index() == 0


def test_down_one_file_writes_a_pending_edit_back_first(open_editor, session):
    area = open_editor(entries_named(2))
    area.type_description("X")

    area.editor.handler_for_key("DownOneFile")()

    assert area.entries[0].description == "XDescription 0\r\n"
    assert area.entries[1].description == "Description 1\r\n"
    assert session.ChangesMade


@pytest.mark.parametrize("menu_name", ["mnuDefaultArchiveType", "mnuVirusCheck", "mnuWriteNewDIZ"])
def test_placeholder_commands_show_the_placeholder_box_through_run_command(
    open_editor, port, session, menu_name
):
    area = open_editor(entries_named(2))
    port.expect(title="Kelvane Alert Message!", text=PLACEHOLDER_TEXT, buttons=Buttons.OK)

    area.trigger(menu_name)

    assert not session.ChangesMade
    assert len(area.entries) == 2


def test_a_toolbar_key_runs_the_same_command_as_its_menu_item(open_editor):
    area = open_editor(entries_named(4))

    area.editor.handler_for_key("SelectAllFiles")()
    assert area.editor.lblFilesTagged.text() == "4"
    area.editor.handler_for_key("UnselectAllFiles")()
    assert area.editor.lblFilesTagged.text() == "0"


def test_the_file_operations_menu_holds_every_command(open_editor):
    area = open_editor(entries_named(1))
    names = {action.objectName() for action in area.editor.mnuFileOperations.actions()}

    for name in (
        "mnuFileScan",
        "mnuReadDIZ",
        "mnuFileDate",
        "mnuFileLength",
        "mnuEraseFilesListOnly",
        "mnuDeleteFiles",
        "mnuMoveFiles",
        "mnuRemoveUploadBy",
        "mnuSelectAllFiles",
        "mnuNoSelectAllFiles",
        "mnuSortFile",
        "mnuDefaultArchiveType",
        "mnuVirusCheck",
        "mnuWriteNewDIZ",
        "mnuSaveWork",
        "mnuClose",
    ):
        assert name in names
    assert area.editor.mnuRemoveUploadBy.text() == 'Remove "&Uploaded By"'
    assert area.editor.mnuSortFile.text() == "&Sort Files"


# -- bulk changes and the models ---------------------------------------------------------------------


def test_bulk_removal_updates_both_models_and_keeps_the_other_tags(open_editor):
    area = open_editor(entries_named(10))
    editor = area.editor
    editor.set_selected([0, 2, 3, 5, 8], True)

    editor.remove_entries([0, 2, 3])
    editor.Update_All_Controls()

    names = [entry.name for entry in area.entries]
    assert names == [f"FILE{n:04d}.ZIP" for n in (1, 4, 5, 6, 7, 8, 9)]
    assert editor.names_model.rowCount() == 7
    assert area.sort_view.entry_model.rowCount() == 7
    assert [editor.names_model.name(row) for row in range(7)] == names
    assert editor.selected_indices() == [2, 5]
    assert editor.lblTotalFileCt.text() == "7"
    assert editor.lblFilesTagged.text() == "2"


def test_a_removal_of_many_runs_resets_the_models_and_restores_tags_and_highlight(open_editor):
    from kelvane.editor.entry_models import RESET_RUNS

    count = 4 * (RESET_RUNS + 10)
    area = open_editor(entries_named(count))
    editor = area.editor
    editor.set_selected([1, 3], True)
    editor.set_current_index(3)
    removed = list(range(0, count, 4))

    editor.remove_entries(removed)

    left = count - len(removed)
    assert editor.names_model.rowCount() == left
    assert area.sort_view.entry_model.rowCount() == left
    assert editor.selected_indices() == [0, 2]
    assert editor.current_index() == 2
    assert editor.names_model.name(2) == "FILE0003.ZIP"


def test_removing_every_entry_empties_both_views_and_locks_the_box(open_editor):
    area = open_editor(entries_named(3))

    area.editor.remove_entries([0, 1, 2])
    area.editor.Update_All_Controls()

    assert area.editor.names_model.rowCount() == 0
    assert area.sort_view.entry_model.rowCount() == 0
    assert area.editor.txtFileDescription.isReadOnly()
    assert area.editor.lblFileSize.text() == "0"


def test_appending_entries_extends_both_models(open_editor):
    area = open_editor(b"")
    editor = area.editor

    editor.append_entries([entry("NEW1.ZIP"), entry("NEW2.ZIP")])
    editor.Update_All_Controls()

    assert editor.names_model.rowCount() == 2
    assert area.sort_view.entry_model.rowCount() == 2
    assert editor.current_index() == 0
    assert editor.lblFileName.text() == "NEW1.ZIP"
    assert not editor.txtFileDescription.isReadOnly()


def test_entries_changed_refreshes_the_table_cells(open_editor, qtbot):
    area = open_editor(entries_named(3))
    model = area.sort_view.entry_model
    area.entries[1].size = " 999"

    with qtbot.waitSignal(model.dataChanged) as blocker:
        area.editor.entries_changed([1])

    first, last = blocker.args[:2]
    assert (first.row(), first.column(), last.row(), last.column()) == (1, 0, 1, 3)
    assert model.data(model.index(1, 1)) == "999"


def test_the_entry_table_model_shows_the_four_columns():
    from PySide6.QtCore import Qt

    from kelvane.editor.entry_models import EntryTableModel, FileNamesModel, RawTextRole

    entries = [Entry("A.ZIP", " 12", "01-02-03", "One\r\nTwo\r\n")]
    table = EntryTableModel(entries)
    names = FileNamesModel(entries)

    assert [table.headerData(c, Qt.Orientation.Horizontal) for c in range(4)] == [
        "File Name",
        "Size",
        "Date",
        "Description",
    ]
    assert [table.data(table.index(0, c)) for c in range(4)] == [
        "A.ZIP",
        "12",
        "01-02-03",
        "One Two",
    ]
    assert table.data(table.index(0, 1), RawTextRole) == " 12"
    assert table.data(table.index(0, 3), RawTextRole) == "One\r\nTwo\r\n"
    assert names.rowCount() == 1
    assert names.data(names.index(0, 0)) == "A.ZIP"


def test_contiguous_runs():
    from kelvane.editor.entry_models import contiguous_runs

    assert contiguous_runs([]) == []
    assert contiguous_runs([5, 1, 2, 3, 3, 9, 8]) == [(1, 3), (5, 5), (8, 9)]


# -- the toggles and closing -----------------------------------------------------------------------------


def test_the_status_bar_and_toolbar_toggles_flip_check_marks_and_the_frames_bars(
    open_editor, main_frame
):
    area = open_editor([entry("ONE.ZIP")], main_frame=main_frame)
    editor = area.editor
    assert editor.mnuStatusBar.isChecked() and editor.mnuToolBar.isChecked()

    editor.Status_Bar_Click()
    assert not editor.mnuStatusBar.isChecked()
    assert not main_frame.sbStatusBar2.isVisible()
    editor.Tool_Bar_Click()
    assert not editor.mnuToolBar.isChecked()
    assert not main_frame.tbToolBar2.isVisible()
    editor.Status_Bar_Click()
    editor.Tool_Bar_Click()
    assert main_frame.sbStatusBar2.isVisible() and main_frame.tbToolBar2.isVisible()


def test_the_close_key_closes_the_area_and_tells_the_main_frame(
    open_editor, main_frame, qtbot, session
):
    area = open_editor([entry("ONE.ZIP")], main_frame=main_frame)
    session.SwitchingAreas = True

    with qtbot.waitSignal(area.editor.closed):
        area.editor.handler_for_key("Close")()

    assert not session.SwitchingAreas
    assert main_frame.closed_calls == 1
    assert session.area.AreaNumber == 0
    assert area.editor.names_model.rowCount() == 0
    assert len(area.sort_view.entries) == 0
    assert not area.editor.animation.is_playing


def test_closing_while_switching_areas_leaves_the_main_frame_alone(
    open_editor, main_frame, session
):
    area = open_editor([entry("ONE.ZIP")], main_frame=main_frame)
    session.SwitchingAreas = True

    area.editor.close()

    assert main_frame.closed_calls == 0
    assert session.area.AreaNumber == 0
    assert session.SwitchingAreas


def test_closing_writes_a_pending_edit_back_then_asks_and_yes_saves(open_editor, session, port):
    area = open_editor([entry("ONE.ZIP", "Old\r\n")])
    area.type_description("Typed ")
    port.expect_alert("ChangesMade", Answer.YES)
    expect_saved(port, area.files_list)

    area.trigger("mnuClose")

    assert b"Typed Old" in area.files_list.read_bytes()
    assert not session.ChangesMade


# -- the sort view: load and unload ---------------------------------------------------------------------------


def test_the_sort_view_loads_hidden_with_its_texts(open_editor):
    statuses: list[str] = []
    area = open_editor(entries_named(3), status=statuses.append)
    sort_view = area.sort_view

    assert statuses == ["Loading " + TITLE + ", Please wait..."]
    assert sort_view.objectName() == "frmEditFileArealsv"
    assert sort_view.windowTitle() == "Sort File Area: " + TITLE
    assert sort_view.status_text() == "Click Title Column Bar above to sort that area"
    assert not sort_view.isVisible()
    assert not sort_view.lsvEditFileArea.isVisible()
    assert sort_view.lsvEditFileArea.objectName() == "lsvEditFileArea"
    assert sort_view.entry_model.rowCount() == 3


def test_the_sort_views_unload_asks_and_no_keeps_the_list_on_disk(open_editor, session, port):
    area = open_editor(entries_named(2))
    before = area.files_list.read_bytes()
    area.entries[0].description = "Changed\r\n"
    session.ChangesMade = True
    port.expect_alert("ChangesMade", Answer.NO)

    area.sort_view.Form_Unload()

    assert area.files_list.read_bytes() == before
    assert not session.ChangesMade
    assert len(area.sort_view.entries) == 0
    assert area.sort_view.entry_model.rowCount() == 0


def test_the_sort_views_unload_without_changes_asks_nothing(open_editor, session):
    area = open_editor(entries_named(2))

    area.sort_view.Form_Unload()

    assert len(area.sort_view.entries) == 0
    assert not session.ChangesMade


# -- audit: a failed save, the traps ----------------------------------------------------------------


def test_save_work_that_fails_keeps_the_work_changed_so_closing_still_asks(
    open_editor, session, port, tmp_path
):
    area = open_editor([entry("ONE.ZIP", "Old\r\n")])
    area.type_description("Typed ")
    good = area.files_list.read_bytes()
    session.area.FileListPath = os.fspath(tmp_path / "no such directory" / "FILES.LST")
    port.expect_error("SaveWork")

    area.trigger("mnuSaveWork")

    assert session.ChangesMade
    assert area.files_list.read_bytes() == good


@pytest.mark.parametrize(
    ("handler", "procedure"),
    [
        ("mnuDownOneFile_Click", "mnuDownOneFile_Click"),
        ("mnuUpOneFile_Click", "mnuUpOneFile_Click"),
    ],
)
def test_an_error_in_down_or_up_one_file_is_reported_under_its_name(
    open_editor, port, monkeypatch, handler, procedure
):
    area = open_editor(entries_named(3))

    def broken(_delta):
        raise RuntimeError("broken")

    monkeypatch.setattr(area.editor, "_step", broken)
    port.expect_error(procedure)
    getattr(area.editor, handler)()
