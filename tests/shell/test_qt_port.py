"""QtPort: every box built in one place, answers, Help, busy pointer, folder browser."""

from __future__ import annotations

import pytest
from PySide6.QtCore import Qt
from PySide6.QtGui import QGuiApplication
from PySide6.QtWidgets import QFileDialog, QMessageBox

from kelvane.board.user_port import Answer, Buttons, Icon, MessageBox
from kelvane.shell.qt_port import QtPort

pytest_plugins = ["tests.helpers.qt_boxes"]

SB = QMessageBox.StandardButton


@pytest.mark.gui
@pytest.mark.parametrize(
    ("buttons", "shown", "escape"),
    [
        (Buttons.OK, SB.Ok, SB.Ok),
        (Buttons.OK_CANCEL, SB.Ok | SB.Cancel, SB.Cancel),
        (Buttons.YES_NO, SB.Yes | SB.No, SB.No),
        (Buttons.RETRY_CANCEL, SB.Retry | SB.Cancel, SB.Cancel),
        (Buttons.OK_HELP, SB.Ok | SB.Help, SB.Ok),
    ],
)
def test_build_box_gives_title_text_with_line_breaks_icon_and_buttons(
    qtbot, buttons, shown, escape
):
    dialog = QtPort().build_box(
        MessageBox("Kelvane Alert!", "one\rtwo\r\rfour", buttons, Icon.CRITICAL)
    )
    assert dialog.windowTitle() == "Kelvane Alert!"
    assert dialog.text() == "one\ntwo\n\nfour"
    assert dialog.textFormat() == Qt.TextFormat.PlainText
    assert dialog.icon() == QMessageBox.Icon.Critical
    assert dialog.standardButtons() == shown
    assert dialog.escapeButton() is dialog.button(escape)
    assert dialog.windowModality() == Qt.WindowModality.ApplicationModal
    dialog.deleteLater()


@pytest.mark.gui
@pytest.mark.parametrize(
    ("icon", "qt_icon"),
    [
        (Icon.NONE, QMessageBox.Icon.NoIcon),
        (Icon.QUESTION, QMessageBox.Icon.Question),
        (Icon.INFORMATION, QMessageBox.Icon.Information),
    ],
)
def test_build_box_icons(qtbot, icon, qt_icon):
    dialog = QtPort().build_box(MessageBox("t", "x", Buttons.OK, icon))
    assert dialog.icon() == qt_icon
    dialog.deleteLater()


@pytest.mark.gui
@pytest.mark.parametrize("answer", [Answer.YES, Answer.NO])
def test_message_box_returns_the_button_pressed(qt_boxes, answer):
    qt_boxes.expect(
        title="Q", text="Save?", buttons=Buttons.YES_NO, icon=Icon.QUESTION, answer=answer
    )
    assert QtPort().message_box(MessageBox("Q", "Save?", Buttons.YES_NO, Icon.QUESTION)) == answer


@pytest.mark.gui
def test_help_opens_the_help_at_the_context_and_the_box_stays(qt_boxes):
    opened = []
    port = QtPort(open_help=opened.append)
    box = MessageBox(
        "Kelvane Alert!", "No Files", Buttons.OK_HELP, Icon.INFORMATION, help_context=13
    )
    qt_boxes.expect(title="Kelvane Alert!", answer="Help")
    qt_boxes.expect(title="Kelvane Alert!", answer=Answer.OK)
    assert port.message_box(box) == Answer.OK
    assert opened == [13]


@pytest.mark.gui
def test_a_box_closed_without_a_button_gets_its_safe_answer(qtbot, monkeypatch):
    monkeypatch.setattr(QMessageBox, "exec", lambda dialog: 0)
    assert QtPort().message_box(MessageBox("t", "x", Buttons.OK_CANCEL)) == Answer.CANCEL


@pytest.mark.gui
def test_busy_sets_the_busy_pointer_and_restores_it_even_after_an_error(qtbot):
    port = QtPort()
    with pytest.raises(RuntimeError), port.busy():
        assert QGuiApplication.overrideCursor().shape() == Qt.CursorShape.BusyCursor
        raise RuntimeError
    assert QGuiApplication.overrideCursor() is None


@pytest.mark.gui
def test_process_events_runs_pending_events(qtbot):
    from PySide6.QtCore import QTimer

    fired = []
    QTimer.singleShot(0, lambda: fired.append(True))
    QtPort().process_events()
    assert fired == [True]


@pytest.mark.gui
def test_browse_for_folder_uses_the_directory_dialog_with_the_prompt(qtbot, monkeypatch):
    calls = []

    def chooser(parent, prompt):
        calls.append(prompt)
        return "/boards/main"

    monkeypatch.setattr(QFileDialog, "getExistingDirectory", chooser)
    assert QtPort().browse_for_folder("Select the Folder") == "/boards/main"
    assert calls == ["Select the Folder"]
