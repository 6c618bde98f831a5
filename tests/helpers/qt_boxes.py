"""Message boxes of the desktop program, intercepted (a pytest plugin).

``QtPort`` opens every box with ``QMessageBox.exec()``; the ``qt_boxes``
fixture replaces that method, records each box as (title, text, buttons,
icon) with the spec's CR line breaks, answers it from the test's script and
fails on any box the test did not expect.  The ``frame_factory`` fixture makes
main frames on the isolated settings and program directory of the run and
disposes of them without running their shut-down.

Use it from a test module with ``pytest_plugins = ["tests.helpers.qt_boxes"]``.
"""

from __future__ import annotations

from collections import deque
from dataclasses import dataclass

import pytest
from PySide6.QtWidgets import QMessageBox

from kelvane.board.alerts import CATALOGUE, AlertContext
from kelvane.board.user_port import SAFE_ANSWER, Answer, Buttons, Icon
from kelvane.shell.qt_port import ANSWERS, BUTTONS, ICONS
from tests.helpers.messagemock import UnexpectedBox

_BUTTONS_BY_SET = {frozenset(buttons): kind for kind, (buttons, _escape) in BUTTONS.items()}
_ICONS_BY_QT = {qt_icon: icon for icon, qt_icon in ICONS.items()}
_BUTTON_FOR_ANSWER = {answer: button for button, answer in ANSWERS.items()}


@dataclass(frozen=True)
class RecordedBox:
    title: str
    text: str  # line breaks as the spec's single CRs
    buttons: Buttons
    icon: Icon


@dataclass
class _Expectation:
    title: str | None
    text: str | None
    contains: str | None
    buttons: Buttons | None
    icon: Icon | None
    answer: Answer | str | None

    def problems(self, box: RecordedBox) -> list[str]:
        found = []
        if self.title is not None and box.title != self.title:
            found.append(f"title {box.title!r} != {self.title!r}")
        if self.text is not None and box.text != self.text:
            found.append(f"text {box.text!r} != {self.text!r}")
        if self.contains is not None and self.contains not in box.text:
            found.append(f"text {box.text!r} does not contain {self.contains!r}")
        if self.buttons is not None and box.buttons != self.buttons:
            found.append(f"buttons {box.buttons} != {self.buttons}")
        if self.icon is not None and box.icon != self.icon:
            found.append(f"icon {box.icon} != {self.icon}")
        return found


def record(dialog: QMessageBox) -> RecordedBox:
    shown = set()
    for button in (
        BUTTONS[Buttons.OK_HELP][0] + BUTTONS[Buttons.YES_NO][0] + BUTTONS[Buttons.RETRY_CANCEL][0]
    ):
        if dialog.standardButtons() & button:
            shown.add(button)
    buttons = _BUTTONS_BY_SET.get(frozenset(shown))
    if buttons is None:
        raise UnexpectedBox(
            f"box {dialog.windowTitle()!r} has buttons outside the spec's sets: {shown}"
        )
    return RecordedBox(
        dialog.windowTitle(),
        dialog.text().replace("\n", "\r"),
        buttons,
        _ICONS_BY_QT[dialog.icon()],
    )


class BoxScript:
    """The boxes a test expects, in order, with their answers."""

    def __init__(self) -> None:
        self.expected: deque[_Expectation] = deque()
        self.shown: list[RecordedBox] = []
        self.failures: list[str] = []

    def expect(
        self,
        *,
        title: str | None = None,
        text: str | None = None,
        contains: str | None = None,
        buttons: Buttons | None = None,
        icon: Icon | None = None,
        answer: Answer | str | None = None,
    ) -> None:
        """Expect one box; *answer* is an ``Answer`` or "Help" (the box then stays)."""
        self.expected.append(_Expectation(title, text, contains, buttons, icon, answer))

    def expect_alert(
        self,
        key: str,
        answer: Answer | None = None,
        *,
        main_node_path: str = "",
        app_path: str = "",
    ) -> None:
        alert = CATALOGUE[key]
        text = alert.text(AlertContext(main_node_path, app_path))
        self.expect(
            title="Kelvane Alert!", text=text, buttons=alert.buttons, icon=alert.icon, answer=answer
        )

    def expect_error(self, procedure_name: str) -> None:
        self.expect(
            title="Kelvane Error Alert!",
            contains="Procedure Name: " + procedure_name,
            buttons=Buttons.RETRY_CANCEL,
            icon=Icon.CRITICAL,
            answer=Answer.CANCEL,
        )

    def exec_box(self, dialog: QMessageBox) -> int:
        box = record(dialog)
        self.shown.append(box)
        if not self.expected:
            message = f"unexpected box {box.title!r}: {box.text!r}"
            self.failures.append(message)
            raise UnexpectedBox(message)
        expectation = self.expected.popleft()
        problems = expectation.problems(box)
        if problems:
            message = "box did not match: " + "; ".join(problems)
            self.failures.append(message)
            raise UnexpectedBox(message)
        if expectation.answer == "Help":
            return QMessageBox.StandardButton.Help.value
        answer = (
            expectation.answer
            if isinstance(expectation.answer, Answer)
            else SAFE_ANSWER[box.buttons]
        )
        if expectation.answer is None and box.buttons in (Buttons.OK_CANCEL, Buttons.YES_NO):
            answer = {Buttons.OK_CANCEL: Answer.OK, Buttons.YES_NO: Answer.YES}[box.buttons]
        return _BUTTON_FOR_ANSWER[answer].value

    def verify(self) -> None:
        if self.failures:
            raise AssertionError("; ".join(self.failures))
        if self.expected:
            pending = ", ".join(repr(e.title or e.text or e.contains) for e in self.expected)
            raise AssertionError(f"expected boxes were never shown: {pending}")


@pytest.fixture
def qt_boxes(qtbot, monkeypatch):
    """Every ``QMessageBox.exec()`` answered from the test's script."""
    script = BoxScript()
    monkeypatch.setattr(QMessageBox, "exec", lambda dialog: script.exec_box(dialog))
    yield script
    script.verify()


@pytest.fixture
def frame_factory(qtbot, qt_boxes):
    """``make()`` builds a ``MainFrame`` (start-up run); teardown skips its shut-down.

    The program's directory gets its first-start resources (animations, help)
    unless ``install=False``.
    """
    from kelvane.shell.application import install_resources
    from kelvane.shell.main_frame import MainFrame

    made: list[MainFrame] = []

    def make(*, install: bool = True, **kwargs) -> MainFrame:
        if install:
            install_resources()
        frame = MainFrame(**kwargs)
        made.append(frame)
        return frame

    yield make
    for frame in made:
        frame._unloaded = True  # the test ran the shut-down it wanted, or none
        for window in frame.mdiArea.subWindowList():
            widget = window.widget()
            if widget is not None and hasattr(widget, "_unloaded"):
                widget._unloaded = True
        frame.close()
        frame.deleteLater()
    qtbot.wait(1)
