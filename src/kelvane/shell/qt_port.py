"""The user port of the desktop program: Qt message boxes, the busy pointer, the folder browser.

Every message box of the program is built by :meth:`QtPort.build_box` and
opened modally with ``QMessageBox.exec()``; the answer is read from the
standard button that ``exec()`` returns, so a test that replaces
``QMessageBox.exec`` answers every box of the program.
"""

from __future__ import annotations

import contextlib
from collections.abc import Callable, Iterator

from PySide6.QtCore import Qt
from PySide6.QtGui import QCursor, QGuiApplication
from PySide6.QtWidgets import QApplication, QFileDialog, QMessageBox, QWidget

from kelvane.board.user_port import SAFE_ANSWER, Answer, Buttons, Icon, MessageBox

StandardButton = QMessageBox.StandardButton

#: The spec's buttons, in the order shown, with the one that Escape presses.
BUTTONS: dict[Buttons, tuple[tuple[StandardButton, ...], StandardButton]] = {
    Buttons.OK: ((StandardButton.Ok,), StandardButton.Ok),
    Buttons.OK_CANCEL: ((StandardButton.Ok, StandardButton.Cancel), StandardButton.Cancel),
    Buttons.YES_NO: ((StandardButton.Yes, StandardButton.No), StandardButton.No),
    Buttons.RETRY_CANCEL: ((StandardButton.Retry, StandardButton.Cancel), StandardButton.Cancel),
    Buttons.OK_HELP: ((StandardButton.Ok, StandardButton.Help), StandardButton.Ok),
}

ICONS: dict[Icon, QMessageBox.Icon] = {
    Icon.NONE: QMessageBox.Icon.NoIcon,
    Icon.CRITICAL: QMessageBox.Icon.Critical,
    Icon.QUESTION: QMessageBox.Icon.Question,
    Icon.INFORMATION: QMessageBox.Icon.Information,
}

ANSWERS: dict[StandardButton, Answer] = {
    StandardButton.Ok: Answer.OK,
    StandardButton.Cancel: Answer.CANCEL,
    StandardButton.Yes: Answer.YES,
    StandardButton.No: Answer.NO,
    StandardButton.Retry: Answer.RETRY,
}


def box_text(text: str) -> str:
    """The spec's texts break lines with single CRs; the box shows each as a line break."""
    return text.replace("\r\n", "\n").replace("\r", "\n")


class QtPort:
    """``UserPort`` over Qt.

    *parent* gives the window that owns the boxes and the folder browser
    (the main frame); *open_help* opens the help window at a context number
    (the Help button of an OK-and-Help box).
    """

    def __init__(
        self,
        parent: Callable[[], QWidget | None] | None = None,
        open_help: Callable[[int | None], None] | None = None,
    ) -> None:
        self._parent = parent
        self.open_help = open_help

    def parent_widget(self) -> QWidget | None:
        if self._parent is not None:
            widget = self._parent()
            if widget is not None:
                return widget
        return QApplication.activeWindow()

    # -- message boxes ----------------------------------------------------------------

    def build_box(self, box: MessageBox) -> QMessageBox:
        """The one place where a message box is made: title, text, icon and buttons."""
        buttons, escape = BUTTONS[box.buttons]
        dialog = QMessageBox(self.parent_widget())
        dialog.setWindowTitle(box.title)
        dialog.setTextFormat(Qt.TextFormat.PlainText)
        dialog.setText(box_text(box.text))
        dialog.setIcon(ICONS[box.icon])
        combined = StandardButton.NoButton
        for button in buttons:
            combined |= button
        dialog.setStandardButtons(combined)
        dialog.setDefaultButton(buttons[0])
        dialog.setEscapeButton(escape)
        dialog.setWindowModality(Qt.WindowModality.ApplicationModal)
        return dialog

    def message_box(self, box: MessageBox) -> Answer:
        dialog = self.build_box(box)
        try:
            while True:
                pressed = self._pressed(dialog, dialog.exec())
                if pressed == StandardButton.Help:
                    # Help opens the help window at the box's context; the box stays.
                    if self.open_help is not None:
                        self.open_help(box.help_context)
                    continue
                return ANSWERS.get(pressed, SAFE_ANSWER[box.buttons])
        finally:
            dialog.deleteLater()

    @staticmethod
    def _pressed(dialog: QMessageBox, result: object) -> StandardButton:
        """The standard button pressed: the value ``exec()`` returned, else the clicked one."""
        try:
            pressed = StandardButton(int(result))  # type: ignore[call-overload]
        except (TypeError, ValueError):
            pressed = StandardButton.NoButton
        if pressed == StandardButton.NoButton and dialog.clickedButton() is not None:
            pressed = dialog.standardButton(dialog.clickedButton())
        return pressed

    # -- the rest of the port ---------------------------------------------------------

    def process_events(self) -> None:
        QApplication.processEvents()

    @contextlib.contextmanager
    def busy(self) -> Iterator[None]:
        QGuiApplication.setOverrideCursor(QCursor(Qt.CursorShape.BusyCursor))
        try:
            yield
        finally:
            QGuiApplication.restoreOverrideCursor()

    def browse_for_folder(self, prompt: str) -> str:
        return QFileDialog.getExistingDirectory(self.parent_widget(), prompt)
