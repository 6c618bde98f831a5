"""Benchmark: the real Qt forms (offscreen) at scale, where the other benchmarks stop.

Builds every case in a temporary directory and times it through the forms a
user drives, with ``QT_QPA_PLATFORM=offscreen``.  Each figure is the best of
``--runs`` runs and is printed with PASS or FAIL against these targets:

1. File Scan through ``frmFileSearch`` (``mnuFileScan`` of a shown editor) of
   a directory of 20,000 new files (half ZIPs with a FILE_ID.DIZ): within
   ``SCAN_RATIO`` (2x) of the core scan (``run_file_scan`` with a quiet
   progress and a ``ListEditorView``, as bench/scan.py); and a press of
   ``cmdQuitSearch`` during the scan stops it within ``QUIT_LATENCY`` (0.1 s).
2. Make Index through a shown ``frmMakeIndex`` (``wait_seconds=0``) of an area
   of 100,000 files in three directories: within ``MAKE_INDEX_RATIO`` (2x) of
   ``Make_Index_File`` with a ``NullProgress`` (as bench/make_index.py).
3. The editor (``frmEditFileArea``, shown) of an area of 100,000 entries:
   every user action under ``ACTION_LIMIT`` (0.5 s): ``Update_All_Controls``,
   a mouse click on a name, typing in the description box, a click after
   typing, Save Work, Select all Files, Delete Files of 10,000 tagged entries
   (every tenth, with their files), and closing with the ChangesMade question
   answered Yes (which saves).
4. The area chooser (``frmFileAreaTitles`` in a ``MainFrame``) of a board of
   5,000 area records: Open File Areas to a shown chooser in each of the four
   view modes, and OK (opening an area of a few entries), each under
   ``ACTION_LIMIT``.

Exit status 0 when every figure passed.

    QT_QPA_PLATFORM=offscreen .venv/bin/python bench/gui_scale.py [--runs N] [--only CASE]
"""

from __future__ import annotations

import argparse
import os
import sys
import tempfile
import time
import zipfile
from collections.abc import Callable
from pathlib import Path

os.environ.setdefault("QT_QPA_PLATFORM", "offscreen")

SCAN_RATIO = 2.0
QUIT_LATENCY = 0.1
MAKE_INDEX_RATIO = 2.0
ACTION_LIMIT = 0.5

SCAN_ARCHIVES = 10_000
SCAN_OTHERS = 10_000
INDEX_FILES = 100_000
EDITOR_ENTRIES = 100_000
DELETED_ENTRIES = 10_000
CHOOSER_AREAS = 5_000

_results: list[bool] = []


def report(label: str, seconds: float, limit: float, note: str = "") -> None:
    passed = seconds < limit
    _results.append(passed)
    extra = f"  ({note})" if note else ""
    print(
        f"{'PASS' if passed else 'FAIL'}  {label:<46} {seconds * 1000:9.1f} ms"
        f"  (limit {limit * 1000:.0f} ms){extra}",
        flush=True,
    )


def best_of(runs: int, action: Callable[[], float]) -> float:
    return min(action() for _ in range(runs))


def app() -> object:
    from PySide6.QtCore import qInstallMessageHandler
    from PySide6.QtWidgets import QApplication

    def quiet(_kind: object, _context: object, message: str) -> None:
        if "propagateSizeHints" not in message:  # the offscreen plugin's, once per window
            print(message, file=sys.stderr)

    if QApplication.instance() is None:
        qInstallMessageHandler(quiet)
    return QApplication.instance() or QApplication([])


def process_events() -> None:
    from PySide6.QtWidgets import QApplication

    QApplication.processEvents()


def install_animations(program: Path) -> None:
    from kelvane.shell.avi_files import AVI_DIRECTORY, FINDFILE, SEARCH, write_program_animation

    (program / AVI_DIRECTORY).mkdir(parents=True, exist_ok=True)
    for name in (FINDFILE, SEARCH):
        write_program_animation(program / AVI_DIRECTORY, name)


def open_session(main_node: Path, program: Path, area_number: int = 1) -> object:
    from kelvane.board.current_area import Farea_Dat_Initialize
    from kelvane.board.session import Session
    from kelvane.board.user_port import AGREEING_ANSWER, SilentPort

    session = Session(SilentPort(AGREEING_ANSWER), program_dir=program)
    session.area.MainNodePath = os.fspath(main_node)
    session.area.AreaNumber = area_number
    session.area.AreaTitle = "Bench"
    if not Farea_Dat_Initialize(session):
        raise SystemExit("the bench area could not be loaded")
    return session


def open_editor(session: object) -> tuple[object, object]:
    from kelvane.editor.editor_form import frmEditFileArea
    from kelvane.sortmove.sort_view_form import frmEditFileArealsv

    sort_view = frmEditFileArealsv(session)  # type: ignore[arg-type]
    if not sort_view.Form_Load():
        raise SystemExit("the Files List was not read")
    editor = frmEditFileArea(session, sort_view)  # type: ignore[arg-type]
    editor.Form_Load()
    editor.resize(900, 600)
    editor.show()
    process_events()
    return editor, sort_view


def unexpected_boxes(session: object, allowed: tuple[str, ...] = ()) -> None:
    shown = [box for box in session.port.shown if box.text not in allowed]  # type: ignore[attr-defined]
    errors = [box for box in shown if "Error" in box.title]
    if errors:
        raise SystemExit(f"an error was reported: {errors[0].text!r}")


# -- 1. File Scan -------------------------------------------------------------------------


def build_scan_area(root: Path) -> Path:
    from kelvane.board.board_tool import add_simple_area, init_board

    main_node = root / "board"
    area_dir = root / "files"
    init_board(main_node)
    add_simple_area(main_node, "Bench", area_dir)
    for number in range(SCAN_ARCHIVES):
        diz = f"BENCH{number:05d} - a benchmark archive\r\n  of two lines.\r\n".encode("ascii")
        with zipfile.ZipFile(area_dir / f"BENCH{number:05d}.ZIP", "w", zipfile.ZIP_DEFLATED) as zf:
            zf.writestr("README.TXT", b"The program's own documentation.\r\n" * 20)
            zf.writestr("FILE_ID.DIZ", diz)
    for number in range(SCAN_OTHERS):
        (area_dir / f"other{number:05d}.txt").write_bytes(b"plain file contents\n" * 8)
    return main_node


def case_scan(root: Path, runs: int) -> None:
    from PySide6.QtCore import QTimer
    from PySide6.QtGui import QAction

    from kelvane.board.files_list import EntryList, Load_fEditFileArealsv
    from kelvane.editor.editor_view import ListEditorView
    from kelvane.editor.file_scan import QuietScanProgress, run_file_scan
    from kelvane.editor.file_scan_form import frmFileSearch

    main_node = build_scan_area(root)
    program = root / "program"
    install_animations(program)
    expected = SCAN_ARCHIVES + SCAN_OTHERS
    app()

    def core() -> float:
        session = open_session(main_node, program)
        entries = EntryList()
        Load_fEditFileArealsv(session, entries)  # type: ignore[arg-type]
        started = time.perf_counter()
        added = run_file_scan(session, ListEditorView(entries), QuietScanProgress())  # type: ignore[arg-type]
        seconds = time.perf_counter() - started
        if added != expected:
            raise SystemExit(f"the core scan added {added}, not {expected}")
        return seconds

    def form(quit_after_ms: int | None = None) -> tuple[float, float]:
        session = open_session(main_node, program)
        editor, sort_view = open_editor(session)
        action = editor.findChild(QAction, "mnuFileScan")  # type: ignore[attr-defined]
        pressed: list[float] = []

        def press_quit() -> None:
            search = editor.findChild(frmFileSearch)  # type: ignore[attr-defined]
            if search is not None:
                pressed.append(time.perf_counter())
                search.cmdQuitSearch.click()

        if quit_after_ms is not None:
            QTimer.singleShot(quit_after_ms, press_quit)
        started = time.perf_counter()
        action.trigger()
        process_events()
        ended = time.perf_counter()
        added = len(editor.entries)  # type: ignore[attr-defined]
        unexpected_boxes(session)
        if quit_after_ms is None and added != expected:
            raise SystemExit(f"the form's scan added {added}, not {expected}")
        latency = float("inf")
        if quit_after_ms is not None:
            if not pressed or added >= expected:
                raise SystemExit("the quit button was not pressed during the scan")
            latency = ended - pressed[0]
        session.ChangesMade = False  # type: ignore[attr-defined]
        editor.close()  # type: ignore[attr-defined]
        sort_view.deleteLater()  # type: ignore[attr-defined]
        process_events()
        return ended - started, latency

    core_seconds = best_of(runs, core)
    form_seconds = best_of(runs, lambda: form()[0])
    latency = min(form(quit_after_ms=300)[1] for _ in range(runs))
    print(f"      core scan (run_file_scan, quiet): {core_seconds * 1000:.1f} ms")
    report(
        "File Scan through frmFileSearch",
        form_seconds,
        SCAN_RATIO * core_seconds,
        f"{form_seconds / core_seconds:.2f}x the core; target {SCAN_RATIO:g}x",
    )
    report("cmdQuitSearch press to the scan's end", latency, QUIT_LATENCY)


# -- 2. Make Index ------------------------------------------------------------------------


def case_make_index(root: Path, runs: int) -> None:
    from kelvane.board.board_tool import add_simple_area, init_board
    from kelvane.board.current_area import AddToMakeIndexList
    from kelvane.board.session import Session
    from kelvane.index.make_index import RECORD_SIZE, Make_Index_File, NullProgress
    from kelvane.index.make_index_form import frmMakeIndex

    node = root / "node"
    init_board(node)
    directories = [root / f"dir{i}" for i in range(3)]
    for directory in directories:
        directory.mkdir()
    for number in range(INDEX_FILES):
        name = f"Long file name number {number}.zip" if number % 10 == 0 else f"F{number:07d}.ZIP"
        (directories[number % 3] / name).touch()
    index_path = root / "idx" / "AREA.IDX"
    add_simple_area(
        node,
        "Bench",
        directories[0],
        index=os.fspath(index_path),
        alt=[os.fspath(d) for d in directories[1:]],
    )
    app()

    def run(progress_factory: Callable[[Session], object]) -> float:
        session = Session(program_dir=root)
        session.area.MainNodePath = os.fspath(node)
        AddToMakeIndexList(session, 1)
        progress = progress_factory(session)
        started = time.perf_counter()
        Make_Index_File(session, progress)  # type: ignore[arg-type]
        process_events()
        seconds = time.perf_counter() - started
        if index_path.stat().st_size != INDEX_FILES * RECORD_SIZE:
            raise SystemExit("the index does not hold one record per file")
        index_path.unlink()
        return seconds

    forms: list[frmMakeIndex] = []

    def make_form(session: Session) -> frmMakeIndex:
        form = frmMakeIndex(session, wait_seconds=0)
        forms.append(form)
        return form

    core = best_of(runs, lambda: run(lambda _session: NullProgress()))
    form = best_of(runs, lambda: run(make_form))
    print(f"      core Make_Index_File (NullProgress): {core * 1000:.1f} ms")
    report(
        "Make Index through frmMakeIndex",
        form,
        MAKE_INDEX_RATIO * core,
        f"{form / core:.2f}x the core; target {MAKE_INDEX_RATIO:g}x",
    )
    for made in forms:
        made.deleteLater()
    process_events()


# -- 3. The editor ------------------------------------------------------------------------


def build_editor_area(root: Path) -> Path:
    from kelvane.board.board_tool import add_simple_area, init_board

    main_node = root / "board"
    area = root / "files"
    init_board(main_node)
    add_simple_area(main_node, "Bench", area)
    from kelvane.board.files_list import Entry, EntryList, SaveWork

    # Written by SaveWork: the list is in the writer's layout, as a list Kelvane saved.
    description = "First line\r\nsecond line of the description\r\n"
    entries = (
        Entry(f"F{n:07d}.ZIP", " 1234", "01-02-93", description) for n in range(EDITOR_ENTRIES)
    )
    (root / "program").mkdir()
    SaveWork(open_session(main_node, root / "program"), EntryList(entries))  # type: ignore[arg-type]
    for number in range(0, EDITOR_ENTRIES, EDITOR_ENTRIES // DELETED_ENTRIES):
        (area / f"F{number:07d}.ZIP").write_bytes(b"x")
    return main_node


def case_editor(root: Path, runs: int) -> None:
    from PySide6.QtCore import QPoint, Qt
    from PySide6.QtGui import QAction
    from PySide6.QtTest import QTest

    main_node = build_editor_area(root)
    program = root / "program"
    install_animations(program)
    app()
    figures: dict[str, float] = {}

    def timed(label: str, action: Callable[[], object]) -> None:
        started = time.perf_counter()
        action()
        process_events()
        seconds = time.perf_counter() - started
        figures[label] = min(figures.get(label, float("inf")), seconds)

    def one_run() -> None:
        backup = (root / "files" / "FILES.LST").read_bytes()
        session = open_session(main_node, program)
        editor, sort_view = open_editor(session)
        names = editor.lstFileNames  # type: ignore[attr-defined]
        model = names.model()

        def click(row: int) -> None:
            index = model.index(row, 0)
            names.scrollTo(index)
            process_events()
            rect = names.visualRect(index)
            QTest.mouseClick(names.viewport(), Qt.MouseButton.LeftButton, pos=QPoint(rect.center()))

        def trigger(name: str) -> Callable[[], None]:
            return editor.findChild(QAction, name).trigger  # type: ignore[attr-defined,no-any-return]

        timed("Update_All_Controls", editor.Update_All_Controls)  # type: ignore[attr-defined]
        timed("lstFileNames click (row 50,000)", lambda: click(50_000))
        if editor.current_index() != 50_000:  # type: ignore[attr-defined]
            raise SystemExit("the click did not move the highlight")
        box = editor.txtFileDescription  # type: ignore[attr-defined]
        box.setFocus()
        timed("typing 20 keys in the description box", lambda: QTest.keyClicks(box, "x" * 20))
        timed("click after typing (writes the edit back)", lambda: click(50_001))
        if "x" * 20 not in editor.entries[50_000].description:  # type: ignore[attr-defined]
            raise SystemExit("the typed text was not written back")
        timed("Save Work (one entry changed)", trigger("mnuSaveWork"))
        timed("Select all Files", trigger("mnuSelectAllFiles"))
        if editor.selected_count() != EDITOR_ENTRIES:  # type: ignore[attr-defined]
            raise SystemExit("Select all Files did not tag every entry")
        editor.deselect_all()  # type: ignore[attr-defined]
        editor.set_selected(range(0, EDITOR_ENTRIES, EDITOR_ENTRIES // DELETED_ENTRIES), True)  # type: ignore[attr-defined]
        timed(f"Delete Files of {DELETED_ENTRIES:,} tagged entries", trigger("mnuDeleteFiles"))
        if len(editor.entries) != EDITOR_ENTRIES - DELETED_ENTRIES:  # type: ignore[attr-defined]
            raise SystemExit("Delete Files did not remove the tagged entries")
        timed("close (ChangesMade: Yes saves)", editor.close)  # type: ignore[attr-defined]
        if not any(box.text and "save" in box.text.lower() for box in session.port.shown):  # type: ignore[attr-defined]
            raise SystemExit("closing did not ask about the changes")
        unexpected_boxes(session)
        sort_view.deleteLater()  # type: ignore[attr-defined]
        process_events()
        # The next run starts from the same list and files.
        (root / "files" / "FILES.LST").write_bytes(backup)
        for number in range(0, EDITOR_ENTRIES, EDITOR_ENTRIES // DELETED_ENTRIES):
            (root / "files" / f"F{number:07d}.ZIP").write_bytes(b"x")

    for _ in range(runs):
        one_run()
    for label, seconds in figures.items():
        report(label, seconds, ACTION_LIMIT)


# -- 4. The area chooser -------------------------------------------------------------------


def case_chooser(root: Path, runs: int) -> None:
    from kelvane.board.board_tool import farea_path, init_board, make_record
    from kelvane.board.session import Session
    from kelvane.board.user_port import AGREEING_ANSWER, SilentPort
    from kelvane.platform.farea_format import encode_record
    from kelvane.shell.area_chooser import (
        VIEW_DETAILS,
        VIEW_LARGE_ICONS,
        VIEW_LIST,
        VIEW_SMALL_ICONS,
    )
    from kelvane.shell.main_frame import MainFrame
    from kelvane.shell.settings import CHOOSER_VIEW, KELVANE_STARTUP

    os.environ["KELVANE_SETTINGS"] = os.fspath(root / "Vandor.ini")
    os.environ["KELVANE_HOME"] = os.fspath(root / "home")
    node = root / "node"
    init_board(node)
    area_dir = root / "area"
    area_dir.mkdir()
    (area_dir / "FILES.LST").write_bytes(b"ONE.ZIP          1 01-01-90 One file\r\n")
    records = b"".join(
        encode_record(
            make_record(
                title=f"File Area number {n} of the bench board",
                path=os.fspath(area_dir),
                files_list=os.fspath(area_dir / "FILES.LST"),
            )
        )
        for n in range(1, CHOOSER_AREAS + 1)
    )
    farea_path(node).write_bytes(records)
    app()
    session = Session(SilentPort(AGREEING_ANSWER), program_dir=root / "home")
    frame = MainFrame(session=session)
    frame.show()
    process_events()
    modes = (
        ("large icons", VIEW_LARGE_ICONS),
        ("small icons", VIEW_SMALL_ICONS),
        ("list", VIEW_LIST),
        ("details", VIEW_DETAILS),
    )
    for label, mode in modes:
        load = float("inf")
        ok = float("inf")
        for _ in range(runs):
            frame.settings.save_number(KELVANE_STARTUP, CHOOSER_VIEW, mode)
            session.area.MainNodePath = os.fspath(node)
            started = time.perf_counter()
            frame.mnuOpenFileAreas.trigger()
            process_events()
            load = min(load, time.perf_counter() - started)
            chooser = frame.chooser
            if chooser is None or chooser.titles_model.rowCount() != CHOOSER_AREAS:
                raise SystemExit("the chooser did not list every area")
            chooser.lsvFileAreaTitles.select_row(CHOOSER_AREAS - 1)
            process_events()
            started = time.perf_counter()
            chooser.cmdOK.click()
            process_events()
            ok = min(ok, time.perf_counter() - started)
            if frame.editor is None or session.area.AreaNumber != CHOOSER_AREAS:
                raise SystemExit("OK did not open the chosen area")
            frame.editor.mnuClose_Click()
            process_events()
        report(f"chooser of {CHOOSER_AREAS:,} areas, load ({label})", load, ACTION_LIMIT)
        report(f"chooser OK ({label})", ok, ACTION_LIMIT)
    unexpected_boxes(session)
    frame._unloaded = True
    frame.close()
    process_events()


CASES: dict[str, Callable[[Path, int], None]] = {
    "scan": case_scan,
    "make_index": case_make_index,
    "editor": case_editor,
    "chooser": case_chooser,
}


def main(argv: list[str] | None = None) -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--runs", type=int, default=3, help="runs of each figure (best taken)")
    parser.add_argument("--only", choices=sorted(CASES), action="append", help="run these cases")
    args = parser.parse_args(argv)
    for name in args.only or list(CASES):
        with tempfile.TemporaryDirectory(prefix="kelvane-bench-") as temporary:
            print(f"== {name}", flush=True)
            CASES[name](Path(temporary), args.runs)
    passed = all(_results)
    print("PASS" if passed else "FAIL")
    return 0 if passed else 1


if __name__ == "__main__":
    sys.exit(main())
