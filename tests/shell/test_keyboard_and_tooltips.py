"""Keyboard access and tooltips of the shell's forms: Enter, Escape, shortcuts, toolbar tips."""

from __future__ import annotations

import pytest
from PySide6.QtCore import Qt
from PySide6.QtGui import QKeySequence

from kelvane.board.board_tool import add_simple_area, init_board

pytest_plugins = ["tests.helpers.qt_boxes"]


def _board(tmp_path, *titles):
    node = tmp_path / "node"
    init_board(node)
    for number, title in enumerate(titles, start=1):
        add_simple_area(node, title, tmp_path / f"area{number}")
    return node


@pytest.mark.gui
def test_every_toolbar_button_has_a_tooltip_naming_its_command(frame_factory):
    frame = frame_factory()
    tips = {action.objectName(): action.toolTip() for action in frame.tbToolBar2.actions()}
    assert tips["SaveWork"] == "Save Work"
    assert tips["EraseFilesListsOnly"] == "Erase File / List Only"
    assert tips["UnselectAllFiles"] == "No Select all Files"
    assert tips["RemoveUploadedBy"] == 'Remove "Uploaded By"'
    assert all(tip and "&" not in tip for tip in tips.values())
    assert frame.actOpenFileAreas.toolTip() == "Open File Areas"
    assert frame.actExit.toolTip() == "Exit"


@pytest.mark.gui
def test_escape_closes_options_without_applying(frame_factory, qtbot):
    frame = frame_factory()
    frame.session.area.MainNodePath = "kept"
    frame.mnuViewOptions.trigger()
    form = frame.options_form
    assert form is not None and form.cmdOK.isDefault()
    form.txtMainNode.setText("changed")
    qtbot.keyClick(form, Qt.Key.Key_Escape)
    qtbot.waitUntil(lambda: frame.options_form is None)
    assert frame.session.area.MainNodePath == "kept"


@pytest.mark.gui
def test_chooser_opens_at_its_designed_size(frame_factory, tmp_path, qtbot):
    node = _board(tmp_path, "Uploads")
    frame = frame_factory()
    frame.resize(1000, 700)
    frame.show()
    qtbot.waitExposed(frame)
    frame.session.area.MainNodePath = str(node)
    frame.mnuOpenFileAreas.trigger()
    window = frame.chooser.parentWidget()
    assert window.width() >= 500 and window.height() >= 360


@pytest.mark.gui
def test_enter_in_the_chooser_opens_the_chosen_area(frame_factory, tmp_path, qtbot):
    node = _board(tmp_path, "Uploads", "Games")
    frame = frame_factory()
    frame.session.area.MainNodePath = str(node)
    frame.mnuOpenFileAreas.trigger()
    chooser = frame.chooser
    chooser.lsvFileAreaTitles.select_row(1)
    qtbot.keyClick(chooser.lsvFileAreaTitles.currentWidget(), Qt.Key.Key_Return)
    assert frame.chooser is None
    assert frame.editor is not None
    assert frame.editor.windowTitle() == "Editing File Area: Games"


@pytest.mark.gui
def test_enter_on_the_focused_cancel_button_cancels(frame_factory, tmp_path, qtbot):
    node = _board(tmp_path, "Uploads")
    frame = frame_factory()
    frame.session.area.MainNodePath = str(node)
    frame.mnuOpenFileAreas.trigger()
    chooser = frame.chooser
    chooser.cmdCancel.setFocus()
    qtbot.keyClick(chooser, Qt.Key.Key_Return)
    assert frame.chooser is None and frame.editor is None


@pytest.mark.gui
def test_escape_in_the_chooser_is_cancel(frame_factory, tmp_path, qtbot):
    node = _board(tmp_path, "Uploads")
    frame = frame_factory()
    frame.session.area.MainNodePath = str(node)
    frame.mnuOpenFileAreas.trigger()
    qtbot.keyClick(frame.chooser.lsvFileAreaTitles.currentWidget(), Qt.Key.Key_Escape)
    assert frame.chooser is None and frame.editor is None
    assert frame.mnuOpenFileAreas.isEnabled()


@pytest.mark.gui
def test_escape_closes_the_help_window(frame_factory, qtbot):
    frame = frame_factory()
    frame.mnuHelpContents.trigger()
    window = frame.help_window
    assert window is not None and window.isVisible()
    qtbot.keyClick(window.lstTopics, Qt.Key.Key_Escape)
    assert not window.isVisible()


@pytest.mark.gui
def test_editor_keys_save_work_and_erase_from_the_list(frame_factory, tmp_path):
    node = _board(tmp_path, "Uploads")
    frame = frame_factory()
    frame.session.area.MainNodePath = str(node)
    frame.mnuOpenFileAreas.trigger()
    frame.chooser.cmdOK.click()
    editor = frame.editor
    save = editor.file_operation_actions["mnuSaveWork"]
    erase = editor.file_operation_actions["mnuEraseFilesListOnly"]
    assert save.shortcut() == QKeySequence(QKeySequence.StandardKey.Save)
    assert erase.shortcut() == QKeySequence(QKeySequence.StandardKey.Delete)
    # Delete belongs to the file list only: in the description box it edits the text.
    assert erase.shortcutContext() == Qt.ShortcutContext.WidgetShortcut
    assert erase in editor.lstFileNames.actions()
    assert erase not in editor.txtFileDescription.actions()


@pytest.mark.gui
def test_customize_dialog_shows_every_button_caption(frame_factory):
    from kelvane.shell.main_frame import ToolbarCustomizeDialog

    frame = frame_factory()
    dialog = ToolbarCustomizeDialog(frame.tbToolBar2, frame)
    rows = dialog.lstButtons.count()
    assert rows == 15
    assert dialog.lstButtons.minimumHeight() >= rows * dialog.lstButtons.sizeHintForRow(0)
    dialog.deleteLater()
