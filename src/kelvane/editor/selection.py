"""The selection convention of the Overview, written once.

An operation works on the selected names of ``lstFileNames`` in list order;
processed entries are deselected; entries whose files were found in no
directory stay selected and are listed after "Files listed below were not
found!".  Read DIZ, File Date, File Length, Move and the command line all go
through :func:`for_each_selected_file`.
"""

from __future__ import annotations

from collections.abc import Callable, Sequence
from dataclasses import dataclass, field

from kelvane.board.user_port import Buttons, Icon, MessageBox, UserPort
from kelvane.editor.editor_view import EditorView

NOT_FOUND_HEADING = "Files listed below were not found!"


@dataclass
class SelectionOutcome:
    processed: list[int] = field(default_factory=list)
    not_found: list[int] = field(default_factory=list)


def for_each_selected_file(
    view: EditorView,
    locate: Callable[[int], str | None],
    process: Callable[[int, str], None],
) -> SelectionOutcome:
    """Run *process(index, path)* on each selected entry whose file *locate* finds.

    Processed entries are deselected (all at once, one repaint); the others stay
    selected.  Returns which were processed and which were not found.
    """
    outcome = SelectionOutcome()
    for index in view.selected_indices():
        path = locate(index)
        if path is None:
            outcome.not_found.append(index)
            continue
        process(index, path)
        outcome.processed.append(index)
    if outcome.processed:
        view.set_selected(outcome.processed, False)
    return outcome


def not_found_text(names: Sequence[str]) -> str:
    """The heading, two CRs, then every name followed by one blank."""
    return NOT_FOUND_HEADING + "\r\r" + "".join(name + " " for name in names)


def show_not_found(port: UserPort, names: Sequence[str], title: str) -> None:
    """The not-found box (information icon, the command's own title), when any name is left."""
    if names:
        port.message_box(MessageBox(title, not_found_text(names), Buttons.OK, Icon.INFORMATION))
