"""Benchmark: File Date, File Length, the uploader cut and Erase on 100,000 entries.

Builds, in a temporary directory, a board with one area whose directory holds
100,000 small real files and whose Files List names every one of them (each
description carries an "Uploaded By" line).  With every entry selected it
times each operation:

1. on a plain ``ListEditorView`` (the core, no Qt);
2. when PySide6 can be imported and the editor form exists, on the real
   ``frmEditFileArea`` (offscreen), triggering the File Operations menu
   action and letting the event loop repaint once.

Each line gives the seconds taken and PASS or FAIL against the 2-second
limit.  Exit status: 0 when every operation passed, 1 otherwise.

    .venv/bin/python bench/editor_operations.py [--entries N] [--limit SECONDS]
"""

from __future__ import annotations

import argparse
import importlib.util
import os
import sys
import tempfile
import time
from collections.abc import Callable
from pathlib import Path

from kelvane.board.board_tool import add_simple_area, init_board
from kelvane.board.files_list import Entry, EntryList, Load_fEditFileArealsv, SaveWork
from kelvane.board.session import Session
from kelvane.board.user_port import AGREEING_ANSWER, SilentPort
from kelvane.editor.delete_erase import mnuEraseFilesListOnly_Click
from kelvane.editor.editor_view import EditorView, ListEditorView
from kelvane.editor.refresh import mnuFileDate_Click, mnuFileLength_Click
from kelvane.editor.remove_uploaders import mnuRemoveUploadBy_Click

ENTRIES = 100_000
LIMIT_SECONDS = 2.0
DESCRIPTION = "A small file of the benchmark\r\nUploaded By: Bench Mark\r\nThird line\r\n"

#: (label, menu name, core handler), in the order run; Erase last, as it empties the list.
OPERATIONS: tuple[tuple[str, str, Callable[[Session, EditorView], None]], ...] = (
    ("File Date", "mnuFileDate", mnuFileDate_Click),
    ("File Length", "mnuFileLength", mnuFileLength_Click),
    ('Remove "Uploaded By"', "mnuRemoveUploadBy", mnuRemoveUploadBy_Click),
    ("Erase File / List Only", "mnuEraseFilesListOnly", mnuEraseFilesListOnly_Click),
)


def file_name(index: int) -> str:
    return f"F{index:07d}.ZIP"


def build_board(root: Path, count: int) -> tuple[Path, Path]:
    """A board under *root* with one area of *count* files and a Files List naming them."""
    main_node = root / "node"
    area = root / "area"
    area.mkdir(parents=True)
    for index in range(count):
        with open(area / file_name(index), "wb") as stream:
            stream.write(b"x" * (index % 97 + 1))
    init_board(main_node)
    add_simple_area(main_node, "Benchmark", area)
    session = open_session(main_node, root / "program")
    SaveWork(
        session, EntryList(Entry(file_name(i), " 1", "01-01-90", DESCRIPTION) for i in range(count))
    )
    return main_node, area


def open_session(main_node: Path, program_dir: Path) -> Session:
    from kelvane.board.current_area import Farea_Dat_Initialize

    program_dir.mkdir(exist_ok=True)
    session = Session(SilentPort(AGREEING_ANSWER), program_dir=program_dir)
    session.area.MainNodePath = str(main_node)
    session.area.AreaNumber = 1
    session.area.AreaTitle = "Benchmark"
    if not Farea_Dat_Initialize(session):
        raise SystemExit("the benchmark area could not be loaded")
    return session


def report(where: str, label: str, seconds: float, limit: float) -> bool:
    passed = seconds < limit
    print(f"{where:<16} {label:<24} {seconds:7.3f} s  {'PASS' if passed else 'FAIL'}", flush=True)
    return passed


def check_outcome(label: str, session: Session, view: EditorView, count: int) -> None:
    """Fail loudly when an operation did not do its work on every entry."""
    problems = [box for box in session.port.shown if box.title == "Kelvane Error Alert!"]  # type: ignore[attr-defined]
    if problems:
        raise SystemExit(f"{label}: an error was reported: {problems[0].text!r}")
    if view.selected_indices():
        raise SystemExit(f"{label}: {len(view.selected_indices())} entries are still selected")
    entries = view.entries
    if label == "File Date" and entries[count - 1].date == "01-01-90":
        raise SystemExit("File Date: the last entry's date was not refreshed")
    if label == "File Length" and entries[count - 1].size != str((count - 1) % 97 + 1):
        raise SystemExit("File Length: the last entry's size was not refreshed")
    if label.startswith("Remove") and "Uploaded By" in entries[count - 1].description:
        raise SystemExit("Remove Uploaded By: the last description was not cut")
    if label.startswith("Erase") and len(entries):
        raise SystemExit("Erase: entries are left")


def run_core(main_node: Path, program_dir: Path, count: int, limit: float) -> bool:
    session = open_session(main_node, program_dir)
    entries = EntryList()
    Load_fEditFileArealsv(session, entries)
    if len(entries) != count:
        raise SystemExit(f"the Files List holds {len(entries)} entries, not {count}")
    view = ListEditorView(entries)
    passed = True
    for label, _menu, handler in OPERATIONS:
        view.select_all()
        started = time.perf_counter()
        handler(session, view)
        seconds = time.perf_counter() - started
        check_outcome(label, session, view, count)
        passed = report("ListEditorView", label, seconds, limit) and passed
    return passed


def editor_form_available() -> bool:
    try:
        return (
            importlib.util.find_spec("PySide6") is not None
            and importlib.util.find_spec("kelvane.editor.editor_form") is not None
        )
    except ImportError:
        return False


def run_form(main_node: Path, program_dir: Path, count: int, limit: float) -> bool:
    os.environ.setdefault("QT_QPA_PLATFORM", "offscreen")
    from PySide6.QtGui import QAction
    from PySide6.QtWidgets import QApplication

    from kelvane.editor.editor_form import frmEditFileArea
    from kelvane.sortmove.sort_view_form import frmEditFileArealsv

    app = QApplication.instance() or QApplication([])
    session = open_session(main_node, program_dir)
    sort_view = frmEditFileArealsv(session)
    if not sort_view.Form_Load() or len(sort_view.entries) != count:
        raise SystemExit("the sort view did not load the benchmark's Files List")
    editor = frmEditFileArea(session, sort_view)
    editor.Form_Load()
    editor.resize(800, 600)
    editor.show()
    app.processEvents()
    passed = True
    for label, menu, _handler in OPERATIONS:
        editor.select_all()
        app.processEvents()
        action = editor.findChild(QAction, menu)
        if action is None:
            raise SystemExit(f"the editor has no action {menu}")
        started = time.perf_counter()
        action.trigger()
        app.processEvents()
        seconds = time.perf_counter() - started
        check_outcome(label, session, editor, count)
        passed = report("frmEditFileArea", label, seconds, limit) and passed
    session.ChangesMade = False
    editor.close()
    sort_view.close()
    app.processEvents()
    return passed


def main(argv: list[str] | None = None) -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--entries", type=int, default=ENTRIES, help="entries and files (100000)")
    parser.add_argument("--limit", type=float, default=LIMIT_SECONDS, help="seconds allowed (2)")
    args = parser.parse_args(argv)
    with tempfile.TemporaryDirectory(prefix="kelvane-bench-") as temporary:
        root = Path(temporary)
        started = time.perf_counter()
        main_node, _area = build_board(root, args.entries)
        print(
            f"Built {args.entries} files and their Files List in "
            f"{time.perf_counter() - started:.1f} s; every entry selected before each operation; "
            f"limit {args.limit:g} s.",
            flush=True,
        )
        passed = run_core(main_node, root / "program", args.entries, args.limit)
        if editor_form_available():
            passed = run_form(main_node, root / "program", args.entries, args.limit) and passed
        else:
            print("frmEditFileArea: not measured (PySide6 or kelvane.editor.editor_form missing)")
    print("PASS" if passed else "FAIL")
    return 0 if passed else 1


if __name__ == "__main__":
    sys.exit(main())
