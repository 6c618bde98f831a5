"""The Make Index form of Part 4.1 (``frmMakeIndex``), the Qt side of ``Make_Index_File``.

The form is created hidden at start-up and lives for the whole run: its
hidden ``lstMakeIdx`` is a live view of ``session.make_index_list`` (the
pending area numbers).  While ``Make_Index_File`` runs, the form is its
progress port: ``prbMakeIdx``, the captions ``lblFilePath`` and ``lblStatus``,
and ``lsvMakeIdx``, the working list of the current area's files, a view over
a small table model (an area can hold 100,000 files: rows are added to the
model in batches, never as one widget item each).
"""

from __future__ import annotations

from typing import Any

from PySide6.QtCore import (
    QAbstractListModel,
    QAbstractTableModel,
    QCoreApplication,
    QEventLoop,
    QModelIndex,
    QPersistentModelIndex,
    Qt,
    QTimer,
)
from PySide6.QtWidgets import (
    QDialog,
    QGroupBox,
    QLabel,
    QListView,
    QProgressBar,
    QSizePolicy,
    QTreeView,
    QVBoxLayout,
    QWidget,
)

from kelvane.board.session import Session
from kelvane.index.make_index import AreaResult

CAPTION = "Kelvane - Make Index"
COLUMNS = ("FileName", "Area")
#: ``prbMakeIdx`` is moved in steps of 1/PROGRESS_STEPS of its range (its percentage's).
PROGRESS_STEPS = 100

_Index = QModelIndex | QPersistentModelIndex


class MakeIndexRowsModel(QAbstractTableModel):
    """The rows of ``lsvMakeIdx``: (FileName, Area) pairs.

    ``append`` only buffers a row; ``flush`` inserts every buffered row in one
    ``beginInsertRows`` / ``endInsertRows``.  ``rows`` flushes first.
    """

    def __init__(self, parent: QWidget | None = None) -> None:
        super().__init__(parent)
        self._rows: list[tuple[str, str]] = []
        self._buffer: list[tuple[str, str]] = []

    def append(self, name: str, area_text: str) -> None:
        self._buffer.append((name, area_text))

    def flush(self) -> None:
        if not self._buffer:
            return
        first = len(self._rows)
        self.beginInsertRows(QModelIndex(), first, first + len(self._buffer) - 1)
        self._rows.extend(self._buffer)
        self._buffer = []
        self.endInsertRows()

    def clear(self) -> None:
        self.beginResetModel()
        self._rows = []
        self._buffer = []
        self.endResetModel()

    def rows(self) -> list[tuple[str, str]]:
        self.flush()
        return list(self._rows)

    def rowCount(self, parent: _Index = QModelIndex()) -> int:  # noqa: B008
        return 0 if parent.isValid() else len(self._rows)

    def columnCount(self, parent: _Index = QModelIndex()) -> int:  # noqa: B008
        return 0 if parent.isValid() else len(COLUMNS)

    def data(self, index: _Index, role: int = Qt.ItemDataRole.DisplayRole) -> Any:
        if role != Qt.ItemDataRole.DisplayRole or not index.isValid():
            return None
        return self._rows[index.row()][index.column()]

    def headerData(
        self, section: int, orientation: Qt.Orientation, role: int = Qt.ItemDataRole.DisplayRole
    ) -> Any:
        if orientation == Qt.Orientation.Horizontal and role == Qt.ItemDataRole.DisplayRole:
            return COLUMNS[section]
        return None


class PendingAreasModel(QAbstractListModel):
    """``lstMakeIdx``: reads ``session.make_index_list`` live; ``refresh`` tells the views."""

    def __init__(self, session: Session, parent: QWidget | None = None) -> None:
        super().__init__(parent)
        self.session = session

    def refresh(self) -> None:
        self.beginResetModel()
        self.endResetModel()

    def entries(self) -> list[str]:
        return list(self.session.make_index_list)

    def rowCount(self, parent: _Index = QModelIndex()) -> int:  # noqa: B008
        return 0 if parent.isValid() else len(self.session.make_index_list)

    def data(self, index: _Index, role: int = Qt.ItemDataRole.DisplayRole) -> Any:
        if role != Qt.ItemDataRole.DisplayRole or not index.isValid():
            return None
        entries = self.session.make_index_list
        return entries[index.row()] if index.row() < len(entries) else None


class frmMakeIndex(QDialog):
    """The Make Index form; implements ``MakeIndexProgress``.

    *main_frame* is the window disabled while the index is built;
    *wait_seconds* is the pause after showing the form (one second in the
    spec; tests pass 0).
    """

    def __init__(
        self,
        session: Session,
        main_frame: QWidget | None = None,
        parent: QWidget | None = None,
        *,
        wait_seconds: float = 1.0,
    ) -> None:
        super().__init__(parent)
        self.session = session
        self.main_frame = main_frame
        self.wait_seconds = wait_seconds
        self.setObjectName("frmMakeIndex")
        self.setWindowTitle(CAPTION)
        self.setModal(False)

        self.FraMakeIdx = QGroupBox(self)
        self.FraMakeIdx.setObjectName("FraMakeIdx")
        self.prbMakeIdx = QProgressBar(self.FraMakeIdx)
        self.prbMakeIdx.setObjectName("prbMakeIdx")
        self.prbMakeIdx.setRange(0, 1)
        self.prbMakeIdx.setValue(0)
        #: What ``set_value`` last gave the bar, the bar's maximum, the step it moves by.
        self._bar_value = 0
        self._bar_maximum = 1
        self._value_step = 1
        self.lblFilePath = QLabel(self.FraMakeIdx)
        self.lblFilePath.setObjectName("lblFilePath")
        self.lblStatus = QLabel(self.FraMakeIdx)
        self.lblStatus.setObjectName("lblStatus")
        for label in (self.lblFilePath, self.lblStatus):
            # Long paths must not resize the form while the texts change.
            label.setSizePolicy(QSizePolicy.Policy.Ignored, QSizePolicy.Policy.Fixed)

        self.rows_model = MakeIndexRowsModel(self)
        self.lsvMakeIdx = QTreeView(self.FraMakeIdx)
        self.lsvMakeIdx.setObjectName("lsvMakeIdx")
        self.lsvMakeIdx.setRootIsDecorated(False)
        self.lsvMakeIdx.setUniformRowHeights(True)
        self.lsvMakeIdx.setItemsExpandable(False)
        self.lsvMakeIdx.setModel(self.rows_model)

        self.pending_model = PendingAreasModel(session, self)
        self.lstMakeIdx = QListView(self.FraMakeIdx)
        self.lstMakeIdx.setObjectName("lstMakeIdx")
        self.lstMakeIdx.setUniformItemSizes(True)
        self.lstMakeIdx.setModel(self.pending_model)
        self.lstMakeIdx.setVisible(False)

        frame_layout = QVBoxLayout(self.FraMakeIdx)
        frame_layout.addWidget(self.lblFilePath)
        frame_layout.addWidget(self.lblStatus)
        frame_layout.addWidget(self.prbMakeIdx)
        frame_layout.addWidget(self.lsvMakeIdx)
        frame_layout.addWidget(self.lstMakeIdx)
        layout = QVBoxLayout(self)
        layout.addWidget(self.FraMakeIdx)
        self.resize(480, 360)

    # -- the pending list ----------------------------------------------------------

    def refresh_pending(self) -> None:
        """Show the current ``session.make_index_list`` in ``lstMakeIdx``."""
        self.pending_model.refresh()

    # -- MakeIndexProgress -------------------------------------------------------------

    def begin(self) -> None:
        if self.main_frame is not None:
            self.main_frame.setEnabled(False)
        self.refresh_pending()
        self.show()
        QCoreApplication.processEvents()
        if self.wait_seconds > 0:
            loop = QEventLoop(self)
            QTimer.singleShot(round(self.wait_seconds * 1000), loop.quit)
            loop.exec()

    def set_range(self, maximum: int) -> None:
        self.rows_model.flush()
        self.prbMakeIdx.setRange(0, maximum)
        self.prbMakeIdx.setValue(0)
        self._bar_value = 0
        self._bar_maximum = maximum
        self._value_step = max(1, maximum // PROGRESS_STEPS)

    def set_value(self, value: int) -> None:
        """``prbMakeIdx``'s value, when it moves the bar: by a step, or to either end.

        ``QProgressBar.setValue`` costs about 10 us (it works out whether to
        repaint at once) and a visible change repaints the bar at once (about
        120 us offscreen); for each of 100,000 files that is several times the
        run itself.  A change smaller than 1/``PROGRESS_STEPS`` of the range
        (the bar's percentage) is left for the next step.
        """
        if (
            abs(value - self._bar_value) >= self._value_step
            or value == self._bar_maximum
            or value == 0
        ):
            self._bar_value = value
            self.prbMakeIdx.setValue(value)

    def set_file_path(self, text: str) -> None:
        self.lblFilePath.setText(text)

    def set_status(self, text: str) -> None:
        self.lblStatus.setText(text)

    def add_row(self, name: str, area_text: str) -> None:
        self.rows_model.append(name, area_text)

    def clear_rows(self) -> None:
        self.rows_model.clear()

    def process_events(self) -> None:
        self.rows_model.flush()
        QCoreApplication.processEvents()

    def area_done(self, result: AreaResult) -> None:
        return None

    def end(self) -> None:
        """The form's unload: hidden again, the main frame enabled, the lists emptied."""
        self.rows_model.clear()
        self.hide()
        if self.main_frame is not None:
            self.main_frame.setEnabled(True)
        self.refresh_pending()
