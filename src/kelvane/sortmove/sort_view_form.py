"""The sort view of Part 3.1 (``frmEditFileArealsv``): the owner of the open area's entries.

The form is loaded with the area and stays loaded, hidden: its entry list
(``self.entries``) is the one list of the area's entries (Part 1.2), and its
table ``lsvEditFileArea`` is a view over it (:class:`EntryTableModel`).  The
editor (Part 2.1) shows and edits the same list through its file-name list.

This module holds the form, its loading and its unloading.  The sort commands
(column clicks, the Sort by menu, closing with the write-back
``Update_lsvEditFileArealsv``) belong to Part 3.1's command module, which
connects them to the controls made here (``lsvEditFileArea``'s header,
``cmdClose``).  The spec's scratch table ``ListView1`` exists only inside that
write-back; with the entries held in a list it needs no control of its own.
"""

from __future__ import annotations

from collections.abc import Callable

from PySide6.QtWidgets import (
    QAbstractItemView,
    QHBoxLayout,
    QHeaderView,
    QLabel,
    QPushButton,
    QStatusBar,
    QTableView,
    QVBoxLayout,
    QWidget,
)

from kelvane.board.files_list import EntryList, Load_fEditFileArealsv, SaveWork
from kelvane.board.session import Session
from kelvane.editor.entry_models import EntryTableModel

CAPTION_PREFIX = "Sort File Area: "
READY_TEXT = "Click Title Column Bar above to sort that area"

#: Initial column widths of ``lsvEditFileArea``, in characters of the font.
COLUMN_CHARACTERS = (14, 10, 10, 48)


class frmEditFileArealsv(QWidget):
    """The sort view: entry list, table ``lsvEditFileArea``, status bar ``sbStatBarSort``.

    *status* puts a text into the main frame's first status pane (the
    "Loading ..." text of the form's load); without it the text goes nowhere.
    """

    def __init__(
        self,
        session: Session,
        parent: QWidget | None = None,
        status: Callable[[str], None] | None = None,
    ) -> None:
        super().__init__(parent)
        self.session = session
        self._status = status
        self.setObjectName("frmEditFileArealsv")
        self.entries = EntryList()
        self.entry_model = EntryTableModel(self.entries, self)

        table = QTableView(self)
        table.setObjectName("lsvEditFileArea")
        table.setModel(self.entry_model)
        table.setSelectionBehavior(QAbstractItemView.SelectionBehavior.SelectRows)
        table.setSelectionMode(QAbstractItemView.SelectionMode.SingleSelection)
        table.setEditTriggers(QAbstractItemView.EditTrigger.NoEditTriggers)
        table.setWordWrap(False)
        table.setShowGrid(False)
        table.setVerticalScrollMode(QAbstractItemView.ScrollMode.ScrollPerItem)
        # Uniform rows: one fixed height, never measured per row.
        rows = table.verticalHeader()
        rows.setSectionResizeMode(QHeaderView.ResizeMode.Fixed)
        rows.setDefaultSectionSize(table.fontMetrics().height() + 6)
        rows.setVisible(False)
        columns = table.horizontalHeader()
        columns.setSectionResizeMode(QHeaderView.ResizeMode.Interactive)
        columns.setStretchLastSection(True)
        character = table.fontMetrics().averageCharWidth()
        for column, characters in enumerate(COLUMN_CHARACTERS):
            table.setColumnWidth(column, characters * character)
        table.setVisible(False)
        self.lsvEditFileArea = table

        self.cmdClose = QPushButton("&Close", self)
        self.cmdClose.setObjectName("cmdClose")

        self.sbStatBarSort = QStatusBar(self)
        self.sbStatBarSort.setObjectName("sbStatBarSort")
        self.sbStatBarSort.setSizeGripEnabled(False)
        #: The status bar's first panel, which carries every message of Part 3.1.
        self.status_panel = QLabel(self.sbStatBarSort)
        self.status_panel.setObjectName("sbStatBarSortPanel1")
        self.sbStatBarSort.addWidget(self.status_panel, 1)

        buttons = QHBoxLayout()
        buttons.addStretch(1)
        buttons.addWidget(self.cmdClose)
        layout = QVBoxLayout(self)
        layout.addWidget(table, 1)
        layout.addLayout(buttons)
        layout.addWidget(self.sbStatBarSort)
        self.resize(640, 420)
        self.setVisible(False)

    # -- the status panel -----------------------------------------------------------------

    def status_text(self) -> str:
        """The text of ``sbStatBarSort``'s first panel."""
        return self.status_panel.text()

    def set_status_text(self, text: str) -> None:
        self.status_panel.setText(text)

    # -- loading and unloading -----------------------------------------------------------

    def Form_Load(self) -> bool:
        """Read the area's Files List into the entry list; true when it was read."""
        session = self.session
        title = session.area.AreaTitle
        try:
            if self._status is not None:
                self._status("Loading " + title + ", Please wait...")
            loaded = Load_fEditFileArealsv(session, self.entries)
            self.entry_model.reset()
            self.setWindowTitle(CAPTION_PREFIX + title)
            self.set_status_text(READY_TEXT)
            return bool(loaded)
        except Exception as error:
            session.ReportError("Load_frmEditFileArealsv", error)
            return False

    def Form_Unload(self) -> None:
        """Ask about unsaved work (Yes saves), then forget the changes and empty the table."""
        session = self.session
        try:
            if session.ChangesMade and session.ShowAlert("ChangesMade"):
                SaveWork(session, self.entries)
            session.ChangesMade = False
            self.entries.replace_all([])
            self.entry_model.reset()
        except Exception as error:
            session.ReportError("Unload_frmEditFileArealsv", error)
