"""The one small port through which operations talk to the user.

The Qt forms implement it with message boxes (``shell.qt_port``), the command
line with text and flags (``cli.text_port``), and tests with a script of
answers that fails on any box the test did not expect
(``tests/helpers/messagemock.py``).  The operations never ask which one they
were given.
"""

from __future__ import annotations

import contextlib
import enum
from collections.abc import Iterator, Mapping
from dataclasses import dataclass
from typing import Protocol


class Buttons(enum.Enum):
    OK = "OK"
    OK_CANCEL = "OK and Cancel"
    YES_NO = "Yes and No"
    RETRY_CANCEL = "Retry and Cancel"
    OK_HELP = "OK and Help"


class Icon(enum.Enum):
    NONE = "none"
    CRITICAL = "critical"
    QUESTION = "question"
    INFORMATION = "information"


class Answer(enum.Enum):
    OK = "OK"
    CANCEL = "Cancel"
    YES = "Yes"
    NO = "No"
    RETRY = "Retry"


#: The answer a box gets when nobody can answer it: the safe one.
SAFE_ANSWER: dict[Buttons, Answer] = {
    Buttons.OK: Answer.OK,
    Buttons.OK_HELP: Answer.OK,
    Buttons.OK_CANCEL: Answer.CANCEL,
    Buttons.YES_NO: Answer.NO,
    Buttons.RETRY_CANCEL: Answer.CANCEL,
}

#: The answer that agrees (``--yes`` on the command line).
AGREEING_ANSWER: dict[Buttons, Answer] = {
    Buttons.OK: Answer.OK,
    Buttons.OK_HELP: Answer.OK,
    Buttons.OK_CANCEL: Answer.OK,
    Buttons.YES_NO: Answer.YES,
    Buttons.RETRY_CANCEL: Answer.RETRY,
}


@dataclass(frozen=True)
class MessageBox:
    """One modal message box.  Line breaks in *text* are single CR characters."""

    title: str
    text: str
    buttons: Buttons = Buttons.OK
    icon: Icon = Icon.NONE
    help_context: int | None = None

    @property
    def lines(self) -> list[str]:
        return self.text.split("\r")


class UserPort(Protocol):
    def message_box(self, box: MessageBox) -> Answer:
        """Show *box* modally and return the button pressed."""
        ...

    def process_events(self) -> None:
        """Let the event loop run once (the spec's ``DoEvents``)."""
        ...

    def busy(self) -> contextlib.AbstractContextManager[None]:
        """The busy pointer (arrow with hourglass) for the duration of a block."""
        ...

    def browse_for_folder(self, prompt: str) -> str:
        """The platform's folder chooser; the chosen path, or "" when cancelled."""
        ...


class SilentPort:
    """A port with nobody to ask: every box gets a fixed answer, nothing is shown.

    Used where no user can be reached (a background rebuild, a library caller
    that passes no port, a benchmark).  By default every box gets its safe
    answer; ``SilentPort(AGREEING_ANSWER)`` agrees to everything.  Boxes are
    kept in ``shown`` for whoever wants them.
    """

    def __init__(self, answers: Mapping[Buttons, Answer] = SAFE_ANSWER) -> None:
        self.answers = answers
        self.shown: list[MessageBox] = []

    def message_box(self, box: MessageBox) -> Answer:
        self.shown.append(box)
        return self.answers[box.buttons]

    def process_events(self) -> None:
        return None

    @contextlib.contextmanager
    def busy(self) -> Iterator[None]:
        yield

    def browse_for_folder(self, prompt: str) -> str:
        return ""
