"""What an editor operation needs of the editor: the ``EditorView`` protocol.

The operations of Parts 2.3 to 2.7 and 3.2 are written against this small
protocol, not against Qt: the Qt editor (``frmEditFileArea``) implements it
over its list view and models, the command line and the core tests use
:class:`ListEditorView`, a plain implementation over the same entry list.

Positions are 0-based list positions of ``lstFileNames`` (position i is entry
i + 1 of the spec's 1-based table).  Mutations go through the view so that a
Qt view can tell its models once (one repaint for a whole operation).
"""

from __future__ import annotations

from collections.abc import Iterable, Sequence
from typing import TYPE_CHECKING, Protocol

if TYPE_CHECKING:
    from kelvane.board.files_list import Entry, EntryList


class EditorView(Protocol):
    @property
    def entries(self) -> EntryList: ...

    def selected_indices(self) -> list[int]:
        """The selected positions of ``lstFileNames``, ascending."""
        ...

    def set_selected(self, indices: Iterable[int], selected: bool) -> None:
        """Select or deselect the given positions (one repaint)."""
        ...

    def select_all(self) -> None: ...

    def deselect_all(self) -> None: ...

    def remove_entries(self, indices: Sequence[int]) -> None:
        """Remove these positions from ``lstFileNames`` and their rows from the table together."""
        ...

    def append_entries(self, entries: Sequence[Entry]) -> None:
        """Append rows to the table and their names to ``lstFileNames``."""
        ...

    def entries_changed(self, indices: Sequence[int]) -> None:
        """Fields of these entries changed in place (size, date, description)."""
        ...

    def current_index(self) -> int:
        """The highlighted position, -1 when the list is empty."""
        ...

    def set_current_index(self, index: int) -> None: ...

    def Update_All_Controls(self) -> None: ...

    def start_animation(self) -> bool:
        """Start the editor's animation when it loaded; true when it was started."""
        ...

    def stop_animation(self) -> None: ...


class ListEditorView:
    """The editor's state without a screen: entry list, selection, current position."""

    def __init__(self, entries: EntryList) -> None:
        self._entries = entries
        self._selected: set[int] = set()
        self._current = 0 if len(entries) else -1
        self.updates = 0

    @property
    def entries(self) -> EntryList:
        return self._entries

    def selected_indices(self) -> list[int]:
        return sorted(self._selected)

    def set_selected(self, indices: Iterable[int], selected: bool) -> None:
        count = len(self._entries)
        if selected:
            self._selected.update(i for i in indices if 0 <= i < count)
        else:
            self._selected.difference_update(indices)

    def select_all(self) -> None:
        self._selected = set(range(len(self._entries)))

    def deselect_all(self) -> None:
        self._selected.clear()

    def remove_entries(self, indices: Sequence[int]) -> None:
        removed = sorted(set(indices))
        if not removed:
            return
        self._entries.remove_indices(removed)
        # Positions after a removed one move up; removed ones lose their selection.
        remaining = sorted(self._selected.difference(removed))
        shifted: set[int] = set()
        cursor = 0
        for index in remaining:
            while cursor < len(removed) and removed[cursor] < index:
                cursor += 1
            shifted.add(index - cursor)
        self._selected = shifted
        if self._current >= len(self._entries):
            self._current = len(self._entries) - 1

    def append_entries(self, entries: Sequence[Entry]) -> None:
        for entry in entries:
            self._entries.append(entry)
        if self._current < 0 and len(self._entries):
            self._current = 0

    def entries_changed(self, indices: Sequence[int]) -> None:
        return None

    def current_index(self) -> int:
        return self._current

    def set_current_index(self, index: int) -> None:
        self._current = index

    def Update_All_Controls(self) -> None:
        self.updates += 1

    def start_animation(self) -> bool:
        return False

    def stop_animation(self) -> None:
        return None
