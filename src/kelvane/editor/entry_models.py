"""Qt models over the one entry list of the open area (Parts 1.2, 2.1, 3.1).

The entries live once, in the sort view's ``EntryList``.  Two models read it:

- :class:`FileNamesModel` backs the editor's ``lstFileNames``: one row per
  entry, its File Name.
- :class:`EntryTableModel` backs the sort view's ``lsvEditFileArea``: the
  columns "File Name", "Size", "Date", "Description".

Neither copies the entries, and neither creates one item per entry, so a
list of 100,000 entries costs no more than its strings.

Whoever changes the list tells the models afterwards, in bulk, with
:meth:`rows_appended`, :meth:`rows_removed`, :meth:`rows_changed` or
:meth:`reset`.  To keep the views consistent in between, a model reports the
row count it last announced (``rowCount`` is that count, not ``len`` of the
list), and it reads an entry only below the length the list has now.  Rows are
removed in contiguous runs from the end, so that every run's positions are
still the positions the views know; past :data:`RESET_RUNS` runs one model
reset is cheaper than many removals (each removal walks every persistent index
and every selection range), and the caller restores what a reset loses.
"""

from __future__ import annotations

from collections.abc import Iterable, Sequence
from typing import TYPE_CHECKING, Any

from PySide6.QtCore import (
    QAbstractListModel,
    QAbstractTableModel,
    QModelIndex,
    QObject,
    QPersistentModelIndex,
    Qt,
)

if TYPE_CHECKING:
    from kelvane.board.files_list import Entry

ModelIndex = QModelIndex | QPersistentModelIndex

#: More removal runs than this and one reset is cheaper than the removals.
RESET_RUNS = 32

#: The raw field of an entry (Size with its blank, Description with its CR LFs).
RawTextRole = Qt.ItemDataRole.UserRole + 1

NO_ENTRIES: tuple[Entry, ...] = ()


def contiguous_runs(indices: Iterable[int]) -> list[tuple[int, int]]:
    """Ascending (first, last) runs of consecutive positions; duplicates are merged."""
    runs: list[tuple[int, int]] = []
    for index in sorted(set(indices)):
        if runs and index == runs[-1][1] + 1:
            runs[-1] = (runs[-1][0], index)
        else:
            runs.append((index, index))
    return runs


class _EntryRows:
    """The bookkeeping both models share: the entries and the announced row count.

    A mixin for a ``QAbstractItemModel`` subclass; the model calls
    :meth:`_attach` from its ``__init__``.
    """

    _entries: Sequence[Entry]
    _count: int
    #: Columns of the model (a list model's ``columnCount`` is private to Qt).
    _columns = 1

    def _attach(self, entries: Sequence[Entry]) -> None:
        self._entries = entries
        self._count = len(entries)

    # What the model's ``rowCount`` and ``data`` use.

    def _row_count(self, parent: ModelIndex) -> int:
        return 0 if parent.isValid() else self._count

    def _entry(self, index: ModelIndex) -> Entry | None:
        row = index.row()
        if not index.isValid() or row >= self._count or row >= len(self._entries):
            return None
        return self._entries[row]

    def row_index(self, row: int, column: int = 0) -> QModelIndex:
        """The index of *row* without a bounds check through ``rowCount`` (bulk selections)."""
        return self._model().createIndex(row, column)

    # Bulk notifications: the list has already changed.

    @property
    def entries(self) -> Sequence[Entry]:
        return self._entries

    def set_entries(self, entries: Sequence[Entry]) -> None:
        """Show another list (or :data:`NO_ENTRIES`): one reset."""
        model = self._model()
        model.beginResetModel()
        self._entries = entries
        self._count = len(entries)
        model.endResetModel()

    def clear(self) -> None:
        """Show no rows, whatever the list holds (the editor's ``lstFileNames.Clear``)."""
        self.set_entries(NO_ENTRIES)

    def reset(self) -> None:
        """The whole list changed (read anew, re-ordered, replaced)."""
        self.set_entries(self._entries)

    def rows_appended(self) -> None:
        """Entries were appended at the end of the list: one insertion of all of them."""
        model = self._model()
        new_count = len(self._entries)
        if new_count <= self._count:
            if new_count < self._count:
                self.reset()
            return
        model.beginInsertRows(QModelIndex(), self._count, new_count - 1)
        self._count = new_count
        model.endInsertRows()

    def rows_removed(self, indices: Iterable[int]) -> bool:
        """These positions (as they were before the removal) were removed from the list.

        Removes the rows in contiguous runs from the end, or resets the model
        when there are more than :data:`RESET_RUNS` runs.  Returns true when the
        model was reset (the views' selection and current index are gone).
        """
        runs = contiguous_runs(i for i in indices if 0 <= i < self._count)
        if not runs:
            if len(self._entries) != self._count:
                self.reset()
                return True
            return False
        removed = sum(last - first + 1 for first, last in runs)
        if len(runs) > RESET_RUNS or self._count - removed != len(self._entries):
            self.reset()
            return True
        model = self._model()
        for first, last in reversed(runs):
            model.beginRemoveRows(QModelIndex(), first, last)
            self._count -= last - first + 1
            model.endRemoveRows()
        return False

    def rows_changed(self, indices: Iterable[int]) -> None:
        """Fields of these entries changed in place: ``dataChanged`` per run, or once over all."""
        runs = contiguous_runs(i for i in indices if 0 <= i < self._count)
        if not runs:
            return
        model = self._model()
        last_column = self._columns - 1
        if len(runs) > RESET_RUNS:
            runs = [(runs[0][0], runs[-1][1])]
        for first, last in runs:
            model.dataChanged.emit(model.index(first, 0), model.index(last, last_column))

    def _model(self) -> QAbstractListModel | QAbstractTableModel:
        assert isinstance(self, QAbstractListModel | QAbstractTableModel)
        return self


def one_line(description: str) -> str:
    """A Description as one line of a table cell: its lines joined by single blanks."""
    lines = description.split("\r\n")
    if lines and lines[-1] == "":
        lines.pop()
    return " ".join(lines)


class FileNamesModel(_EntryRows, QAbstractListModel):
    """``lstFileNames``: one row per entry, its File Name."""

    def __init__(
        self, entries: Sequence[Entry] = NO_ENTRIES, parent: QObject | None = None
    ) -> None:
        QAbstractListModel.__init__(self, parent)
        self._attach(entries)

    def rowCount(self, parent: ModelIndex = QModelIndex()) -> int:  # noqa: B008
        # Inlined ``_row_count``: a list view calls this about twice per row
        # each time it lays out its rows (100,000 rows after a removal).
        return 0 if parent.isValid() else self._count

    def data(self, index: ModelIndex, role: int = Qt.ItemDataRole.DisplayRole) -> Any:
        if role not in (Qt.ItemDataRole.DisplayRole, RawTextRole, Qt.ItemDataRole.EditRole):
            return None
        entry = self._entry(index)
        return None if entry is None else entry.name

    def name(self, row: int) -> str:
        """The File Name shown at *row*; "" outside the list (VB's ``List(-1)``)."""
        entry = self._entry(self.index(row, 0))
        return "" if entry is None else entry.name


class EntryTableModel(_EntryRows, QAbstractTableModel):
    """``lsvEditFileArea``: the entries in the four columns of Part 3.1."""

    HEADERS = ("File Name", "Size", "Date", "Description")
    NAME, SIZE, DATE, DESCRIPTION = range(4)
    _columns = len(HEADERS)

    def __init__(
        self, entries: Sequence[Entry] = NO_ENTRIES, parent: QObject | None = None
    ) -> None:
        QAbstractTableModel.__init__(self, parent)
        self._attach(entries)

    def rowCount(self, parent: ModelIndex = QModelIndex()) -> int:  # noqa: B008
        return self._row_count(parent)

    def columnCount(self, parent: ModelIndex = QModelIndex()) -> int:  # noqa: B008
        return 0 if parent.isValid() else self._columns

    def headerData(
        self, section: int, orientation: Qt.Orientation, role: int = Qt.ItemDataRole.DisplayRole
    ) -> Any:
        if (
            orientation == Qt.Orientation.Horizontal
            and role == Qt.ItemDataRole.DisplayRole
            and 0 <= section < len(self.HEADERS)
        ):
            return self.HEADERS[section]
        return None

    def data(self, index: ModelIndex, role: int = Qt.ItemDataRole.DisplayRole) -> Any:
        if role == Qt.ItemDataRole.TextAlignmentRole:
            if index.column() == self.SIZE:
                return int(Qt.AlignmentFlag.AlignRight | Qt.AlignmentFlag.AlignVCenter)
            return None
        if role not in (Qt.ItemDataRole.DisplayRole, RawTextRole, Qt.ItemDataRole.ToolTipRole):
            return None
        entry = self._entry(index)
        if entry is None:
            return None
        column = index.column()
        if column == self.NAME:
            return entry.name
        if column == self.SIZE:
            return entry.size if role == RawTextRole else entry.size.strip(" ")
        if column == self.DATE:
            return entry.date
        if column == self.DESCRIPTION:
            if role == RawTextRole:
                return entry.description
            if role == Qt.ItemDataRole.ToolTipRole:
                return entry.description.replace("\r\n", "\n").rstrip("\n")
            return one_line(entry.description)
        return None
