"""A scripted user port for tests (after qutebrowser's messagemock).

A test says which boxes it expects, in order, and how each is answered; any
box it did not expect fails the test at once.  ``UnexpectedBox`` derives from
``BaseException`` so that no procedure's error trap can swallow it.
"""

from __future__ import annotations

import contextlib
from collections import deque
from collections.abc import Callable, Iterator
from dataclasses import dataclass

from kelvane.board.alerts import CATALOGUE, AlertContext
from kelvane.board.user_port import Answer, Buttons, Icon, MessageBox


class UnexpectedBox(BaseException):
    """A message box that the test did not script."""


@dataclass
class Expectation:
    title: str | None
    text: str | None
    contains: str | None
    buttons: Buttons | None
    icon: Icon | None
    answer: Answer | None

    def check(self, box: MessageBox) -> None:
        problems = []
        if self.title is not None and box.title != self.title:
            problems.append(f"title {box.title!r} != {self.title!r}")
        if self.text is not None and box.text != self.text:
            problems.append(f"text {box.text!r} != {self.text!r}")
        if self.contains is not None and self.contains not in box.text:
            problems.append(f"text {box.text!r} does not contain {self.contains!r}")
        if self.buttons is not None and box.buttons != self.buttons:
            problems.append(f"buttons {box.buttons} != {self.buttons}")
        if self.icon is not None and box.icon != self.icon:
            problems.append(f"icon {box.icon} != {self.icon}")
        if problems:
            raise UnexpectedBox("box did not match: " + "; ".join(problems))


class ScriptedPort:
    def __init__(self) -> None:
        self.expected: deque[Expectation] = deque()
        self.shown: list[MessageBox] = []
        self.busy_depth = 0
        self.busy_count = 0
        self.events = 0
        self.on_process_events: Callable[[], None] | None = None
        self.folders: deque[str] = deque()
        self.browse_prompts: list[str] = []

    # -- scripting ------------------------------------------------------------------

    def expect(
        self,
        *,
        title: str | None = None,
        text: str | None = None,
        contains: str | None = None,
        buttons: Buttons | None = None,
        icon: Icon | None = None,
        answer: Answer | None = None,
    ) -> None:
        self.expected.append(Expectation(title, text, contains, buttons, icon, answer))

    def expect_alert(
        self,
        key: str,
        answer: Answer | None = None,
        *,
        main_node_path: str | None = None,
        app_path: str | None = None,
    ) -> None:
        """Expect the catalogue's box for *key*; texts that name paths are checked when given."""
        alert = CATALOGUE[key]
        text = None
        if main_node_path is not None and app_path is not None:
            text = alert.text(AlertContext(main_node_path, app_path))
        elif key not in ("NoFareaDatFile", "InValidPath", "NoAVISearch", "NoAVIFileMove"):
            text = alert.text(AlertContext("", ""))
        self.expect(
            title="Kelvane Alert!", text=text, buttons=alert.buttons, icon=alert.icon, answer=answer
        )

    def expect_error(self, procedure_name: str, answer: Answer = Answer.CANCEL) -> None:
        self.expect(
            title="Kelvane Error Alert!",
            contains="Procedure Name: " + procedure_name,
            buttons=Buttons.RETRY_CANCEL,
            icon=Icon.CRITICAL,
            answer=answer,
        )

    def verify(self) -> None:
        if self.expected:
            pending = ", ".join(repr(e.title or e.text or e.contains) for e in self.expected)
            raise AssertionError(f"expected boxes were never shown: {pending}")

    # -- the port --------------------------------------------------------------------

    def message_box(self, box: MessageBox) -> Answer:
        if not self.expected:
            raise UnexpectedBox(f"unexpected box {box.title!r}: {box.text!r}")
        expectation = self.expected.popleft()
        expectation.check(box)
        self.shown.append(box)
        if expectation.answer is not None:
            return expectation.answer
        return {
            Buttons.OK: Answer.OK,
            Buttons.OK_HELP: Answer.OK,
            Buttons.OK_CANCEL: Answer.OK,
            Buttons.YES_NO: Answer.YES,
            Buttons.RETRY_CANCEL: Answer.CANCEL,
        }[box.buttons]

    def process_events(self) -> None:
        self.events += 1
        if self.on_process_events is not None:
            self.on_process_events()

    @contextlib.contextmanager
    def busy(self) -> Iterator[None]:
        self.busy_depth += 1
        self.busy_count += 1
        try:
            yield
        finally:
            self.busy_depth -= 1

    def browse_for_folder(self, prompt: str) -> str:
        self.browse_prompts.append(prompt)
        return self.folders.popleft() if self.folders else ""
