"""The Make Index form (Part 4.1): names, columns, what it shows during a run, the pending list."""

from __future__ import annotations

import os

import pytest
from PySide6.QtCore import Qt
from PySide6.QtWidgets import QGroupBox, QLabel, QListView, QProgressBar, QTreeView, QWidget

from kelvane.board.board_tool import add_simple_area, init_board
from kelvane.board.current_area import AddToMakeIndexList
from kelvane.index.make_index import Make_Index_File
from kelvane.index.make_index_form import frmMakeIndex

pytestmark = pytest.mark.gui


@pytest.fixture
def form(qtbot, session):
    main_frame = QWidget()
    qtbot.addWidget(main_frame)
    made = frmMakeIndex(session, main_frame, wait_seconds=0)
    qtbot.addWidget(made)
    return made


def test_the_caption_and_the_names_of_the_form_and_its_controls(form):
    assert form.objectName() == "frmMakeIndex"
    assert form.windowTitle() == "Kelvane - Make Index"
    for name, kind in (
        ("FraMakeIdx", QGroupBox),
        ("prbMakeIdx", QProgressBar),
        ("lsvMakeIdx", QTreeView),
        ("lstMakeIdx", QListView),
        ("lblFilePath", QLabel),
        ("lblStatus", QLabel),
    ):
        assert isinstance(form.findChild(kind, name), kind), name
    assert form.isHidden()
    assert form.lstMakeIdx.isHidden()


def test_the_file_list_has_the_columns_filename_and_area_with_uniform_rows(form):
    model = form.lsvMakeIdx.model()
    headings = [model.headerData(i, Qt.Orientation.Horizontal) for i in range(model.columnCount())]
    assert headings == ["FileName", "Area"]
    assert form.lsvMakeIdx.uniformRowHeights()


def test_the_pending_list_holds_each_area_number_once_in_the_order_added(form, session):
    for number in (5, 3, 5, 12, 0, 3):
        AddToMakeIndexList(session, number)
    form.refresh_pending()

    model = form.lstMakeIdx.model()
    shown = [model.data(model.index(row, 0)) for row in range(model.rowCount())]
    assert shown == ["5", "3", "12"]


def test_what_the_form_shows_during_a_run(form, session, tmp_path):
    node = tmp_path / "node"
    init_board(node)
    files = tmp_path / "files"
    files.mkdir()
    for name in ("b.zip", "a.zip", "OLD.BAK"):
        (files / name).write_bytes(b"")
    index_path = tmp_path / "idx" / "AREA.IDX"
    add_simple_area(node, "Files", files, index=os.fspath(index_path))
    session.area.MainNodePath = os.fspath(node)
    AddToMakeIndexList(session, 1)
    session.IndexPending = True
    form.refresh_pending()
    assert form.lstMakeIdx.model().rowCount() == 1

    seen: list[tuple[str, object]] = []

    def watch(method_name: str, what) -> None:
        method = getattr(form, method_name)

        def watched(*args):
            method(*args)
            seen.append((method_name, what()))

        setattr(form, method_name, watched)

    watch("begin", lambda: (form.isVisible(), form.main_frame.isEnabled()))
    watch("set_file_path", form.lblFilePath.text)
    watch("set_status", form.lblStatus.text)
    watch(
        "set_range",
        lambda: (form.prbMakeIdx.maximum(), form.prbMakeIdx.value(), form.rows_model.rows()),
    )
    watch("set_value", form.prbMakeIdx.value)
    watch("end", lambda: (form.isVisible(), form.main_frame.isEnabled(), form.rows_model.rows()))

    Make_Index_File(session, form)

    assert seen == [
        ("begin", (True, False)),
        ("set_range", (3, 0, [])),
        ("set_file_path", "Scanning File Directory: " + os.fspath(files)),
        ("set_value", 0),
        ("set_status", "Reading File: A.ZIP"),
        ("set_value", 1),
        ("set_status", "Reading File: B.ZIP"),
        ("set_value", 2),
        ("set_status", "Reading File: OLD.BAK"),
        ("set_range", (3, 0, [("A.ZIP", "0"), ("B.ZIP", "0"), ("OLD.BAK", "0")])),
        ("set_file_path", "Writing File: " + os.fspath(index_path)),
        ("set_value", 1),
        ("set_status", "Writing File Name: A.ZIP"),
        ("set_value", 2),
        ("set_status", "Writing File Name: B.ZIP"),
        ("set_value", 3),
        ("end", (False, True, [])),
    ]
    assert index_path.read_bytes() == b"\x00\x00A.ZIP\x00       \x00\x00B.ZIP\x00       "
    assert form.lstMakeIdx.model().rowCount() == 0
    assert session.IndexPending is False
