"""The command line's user port: boxes printed as text, questions asked or answered.

A question is answered by ``--yes`` (OK/Yes) or, without it, with the
safe answer (No/Cancel) when no terminal is attached, and asked at the
terminal when one is.
"""

from __future__ import annotations

import sys
from typing import TextIO

from kelvane.board.user_port import (
    AGREEING_ANSWER,
    SAFE_ANSWER,
    Answer,
    Buttons,
    MessageBox,
    SilentPort,
)

_CHOICES: dict[Buttons, tuple[tuple[str, Answer], ...]] = {
    Buttons.OK_CANCEL: (("ok", Answer.OK), ("cancel", Answer.CANCEL)),
    Buttons.YES_NO: (("yes", Answer.YES), ("no", Answer.NO)),
    Buttons.RETRY_CANCEL: (("retry", Answer.RETRY), ("cancel", Answer.CANCEL)),
}


class TextPort(SilentPort):
    """Boxes as text on the terminal; questions asked there, or answered by the flags."""

    def __init__(
        self,
        *,
        assume_yes: bool = False,
        stdin: TextIO | None = None,
        stdout: TextIO | None = None,
        stderr: TextIO | None = None,
        interactive: bool | None = None,
    ) -> None:
        self.assume_yes = assume_yes
        self.stdin = stdin if stdin is not None else sys.stdin
        self.stdout = stdout if stdout is not None else sys.stdout
        self.stderr = stderr if stderr is not None else sys.stderr
        if interactive is None:
            try:
                interactive = bool(self.stdin and self.stdin.isatty())
            except (ValueError, OSError):
                interactive = False
        self.interactive = interactive
        super().__init__()

    def _print_box(self, box: MessageBox, stream: TextIO) -> None:
        # The box's own text, every character kept; each CR starts an indented line.
        stream.write(f"{box.title}: " + "\n  ".join(box.text.split("\r")) + "\n")
        stream.flush()

    def message_box(self, box: MessageBox) -> Answer:
        self.shown.append(box)
        if box.buttons in (Buttons.OK, Buttons.OK_HELP):
            # Alerts and errors ("Kelvane Alert!", "Kelvane Alert Message!", ...) on
            # standard error, information ("Kelvane Information") on standard output.
            stream = self.stderr if "Error" in box.title or "Alert" in box.title else self.stdout
            self._print_box(box, stream)
            return Answer.OK
        self._print_box(box, self.stderr)
        if self.assume_yes and box.buttons is not Buttons.RETRY_CANCEL:
            # --yes agrees to OK/Yes questions only.  Retry would loop for ever
            # on a box that asks for something only a person can do (the
            # offline CD, Part 1.1): it is asked at a terminal, else Cancel.
            answer = AGREEING_ANSWER[box.buttons]
            self.stderr.write(f"  -> {answer.value} (--yes)\n")
            return answer
        if not self.interactive:
            answer = SAFE_ANSWER[box.buttons]
            self.stderr.write(f"  -> {answer.value} (no terminal to ask; pass --yes to agree)\n")
            return answer
        choices = _CHOICES[box.buttons]
        prompt = "/".join(word for word, _ in choices)
        agree, refuse = AGREEING_ANSWER[box.buttons], SAFE_ANSWER[box.buttons]
        while True:
            self.stderr.write(f"  [{prompt}]? ")
            self.stderr.flush()
            reply = self.stdin.readline()
            if not reply:
                return SAFE_ANSWER[box.buttons]
            word = reply.strip().lower()
            for choice, answer in choices:
                if word and choice.startswith(word):
                    return answer
            # "y"/"yes" and "n"/"no" are understood whatever the buttons are called.
            if word in ("y", "yes"):
                return agree
            if word in ("n", "no"):
                return refuse


class TerminalProgress:
    """A one-line progress display on a terminal; silent when output is not one."""

    def __init__(self, stream: TextIO | None = None) -> None:
        self.stream = stream if stream is not None else sys.stderr
        try:
            self.enabled = self.stream.isatty()
        except (ValueError, OSError):
            self.enabled = False
        self._width = 0

    def show(self, text: str) -> None:
        if not self.enabled:
            return
        text = text[:100]
        padding = max(0, self._width - len(text))
        self.stream.write("\r" + text + " " * padding)
        self.stream.flush()
        self._width = len(text)

    def done(self) -> None:
        if self.enabled and self._width:
            self.stream.write("\r" + " " * self._width + "\r")
            self.stream.flush()
            self._width = 0
