"""Opening an area of 100,000 entries: time to a shown editor, peak memory, select-all time.

Builds a board in a temporary directory (``kelvane.board.board_tool``) with
one area whose FILES.LST holds 100,000 entries of 1 to 5 description lines,
then opens it headless in a fresh process, as the area chooser does: sort
view ``Form_Load`` (reads the list), editor ``Form_Load``, show, one turn of
the event loop.  A second fresh process repeats the opening under
``tracemalloc`` for the Python heap's peak (tracing slows the opening, so the
time is taken from the first process).

Targets: shown in under 2 s, peak memory under 250 MB (both the traced
Python peak and the process's maximum resident size).

    .venv/bin/python bench/open_area.py [--entries N]
"""

from __future__ import annotations

import argparse
import json
import os
import random
import resource
import subprocess
import sys
import tempfile
import time
from pathlib import Path

OPEN_SECONDS_TARGET = 2.0
MEMORY_MB_TARGET = 250.0
DEFAULT_ENTRIES = 100_000
WORDS = (
    "utility", "archive", "shareware", "update", "graphics", "driver", "modem",
    "terminal", "game", "editor", "viewer", "compression", "network", "board",
    "door", "registered", "version", "files", "classic", "fast", "small",
    "complete", "new", "improved", "support", "tools", "music", "players",
)  # fmt: skip


def files_list_bytes(count: int, seed: int = 1) -> bytes:
    """A Files List of *count* entries in the fixed-column layout of Part 1.2."""
    rng = random.Random(seed)
    lines: list[str] = []
    add = lines.append
    for number in range(count):
        name = f"F{number:07d}.ZIP"
        size = str(rng.randint(100, 99_999_999)).rjust(9)
        date = (
            " "
            + f"{rng.randint(1, 12):02d}-{rng.randint(1, 28):02d}-{rng.randint(0, 99):02d}"
            + " "
        ).rjust(10)
        for line_number in range(rng.randint(1, 5)):
            text = " ".join(rng.choice(WORDS) for _ in range(rng.randint(2, 6)))[:45].ljust(45)
            if line_number == 0:
                add(name.ljust(12) + size + date + text)
            else:
                add(" " * 31 + text)
    return ("\r\n".join(lines) + "\r\n").encode("cp1252")


def build_board(root: Path, count: int) -> tuple[str, str]:
    """The board under *root* with one area; (main node path, program directory)."""
    from kelvane.board.board_tool import add_simple_area, init_board
    from kelvane.shell.avi_files import AVI_DIRECTORY, FINDFILE, write_program_animation

    main_node = root / "board"
    init_board(main_node)
    area = root / "files"
    add_simple_area(main_node, "Bench Area", area)
    (area / "FILES.LST").write_bytes(files_list_bytes(count))
    program = root / "program"
    (program / AVI_DIRECTORY).mkdir(parents=True)
    write_program_animation(program / AVI_DIRECTORY, FINDFILE)
    return os.fspath(main_node), os.fspath(program)


def max_rss_mb() -> float:
    peak = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
    # Linux reports kilobytes, macOS bytes.
    return peak / (1024 * 1024) if sys.platform == "darwin" else peak / 1024


def open_area(main_node: str, program: str, traced: bool) -> dict[str, float]:
    """Open the area in this process; what was measured."""
    os.environ["QT_QPA_PLATFORM"] = "offscreen"
    from PySide6.QtWidgets import QApplication

    from kelvane.board.current_area import Farea_Dat_Initialize
    from kelvane.board.session import Session
    from kelvane.board.user_port import SilentPort
    from kelvane.editor.editor_form import frmEditFileArea
    from kelvane.sortmove.sort_view_form import frmEditFileArealsv

    app = QApplication.instance() or QApplication([])
    port = SilentPort()
    session = Session(port, program_dir=program)
    session.area.MainNodePath = main_node
    session.area.AreaNumber = 1
    session.area.AreaTitle = "Bench Area"
    if not Farea_Dat_Initialize(session):
        raise SystemExit("the bench area did not load")
    if traced:
        import tracemalloc

        tracemalloc.start()
    started = time.perf_counter()
    sort_view = frmEditFileArealsv(session)
    if not sort_view.Form_Load():
        raise SystemExit("the Files List was not read")
    editor = frmEditFileArea(session, sort_view)
    editor.Form_Load()
    editor.resize(900, 600)
    editor.show()
    app.processEvents()
    opened = time.perf_counter() - started
    result = {"open_seconds": opened, "entries": float(len(sort_view.entries))}
    if traced:
        import tracemalloc

        result["tracemalloc_peak_mb"] = tracemalloc.get_traced_memory()[1] / (1024 * 1024)
        tracemalloc.stop()
    else:
        started = time.perf_counter()
        editor.select_all()
        app.processEvents()
        result["select_all_seconds"] = time.perf_counter() - started
        result["tagged"] = float(editor.lblFilesTagged.text())
        started = time.perf_counter()
        selected = editor.selected_indices()
        result["selected_indices_seconds"] = time.perf_counter() - started
        result["selected"] = float(len(selected))
        started = time.perf_counter()
        editor.deselect_all()
        editor.set_selected(range(0, len(sort_view.entries), 2), True)
        app.processEvents()
        result["tag_every_other_seconds"] = time.perf_counter() - started
        started = time.perf_counter()
        editor.set_selected(range(0, len(sort_view.entries), 4), False)
        app.processEvents()
        result["untag_every_fourth_seconds"] = time.perf_counter() - started
        started = time.perf_counter()
        editor.remove_entries(editor.selected_indices())
        editor.Update_All_Controls()
        app.processEvents()
        result["remove_tagged_seconds"] = time.perf_counter() - started
        result["left"] = float(len(sort_view.entries))
        started = time.perf_counter()
        editor.lstFileNames.scrollToBottom()
        editor.mnuUpOneFile_Click()
        app.processEvents()
        result["scroll_seconds"] = time.perf_counter() - started
        result["max_rss_mb"] = max_rss_mb()
    if port.shown:
        raise SystemExit("unexpected boxes: " + "; ".join(box.text for box in port.shown))
    editor.close()
    return result


def run_child(main_node: str, program: str, traced: bool) -> dict[str, float]:
    command = [sys.executable, __file__, "--open", main_node, program]
    if traced:
        command.append("--traced")
    environment = dict(os.environ, QT_QPA_PLATFORM="offscreen")
    completed = subprocess.run(
        command, capture_output=True, text=True, env=environment, check=False
    )
    if completed.returncode != 0:
        raise SystemExit(f"the opening failed:\n{completed.stdout}{completed.stderr}")
    return json.loads(completed.stdout.strip().splitlines()[-1])


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--entries", type=int, default=DEFAULT_ENTRIES)
    parser.add_argument(
        "--open", nargs=2, metavar=("MAIN_NODE", "PROGRAM_DIR"), help=argparse.SUPPRESS
    )
    parser.add_argument("--traced", action="store_true", help=argparse.SUPPRESS)
    arguments = parser.parse_args()
    if arguments.open:
        print(json.dumps(open_area(*arguments.open, traced=arguments.traced)))
        return 0

    with tempfile.TemporaryDirectory(prefix="kelvane-bench-") as temporary:
        main_node, program = build_board(Path(temporary), arguments.entries)
        size_mb = (Path(temporary) / "files" / "FILES.LST").stat().st_size / (1024 * 1024)
        timed = run_child(main_node, program, traced=False)
        traced = run_child(main_node, program, traced=True)

    opened = timed["open_seconds"]
    rss = timed["max_rss_mb"]
    heap = traced["tracemalloc_peak_mb"]
    checks = {
        f"open < {OPEN_SECONDS_TARGET:g} s": opened < OPEN_SECONDS_TARGET,
        f"tracemalloc peak < {MEMORY_MB_TARGET:g} MB": heap < MEMORY_MB_TARGET,
        f"ru_maxrss < {MEMORY_MB_TARGET:g} MB": rss < MEMORY_MB_TARGET,
    }
    print(f"entries:                 {int(timed['entries'])} (FILES.LST {size_mb:.1f} MB)")
    print(f"open to shown editor:    {opened:.3f} s")
    print(f"tracemalloc peak:        {heap:.1f} MB (opening traced in its own process)")
    print(f"ru_maxrss:               {rss:.1f} MB")
    print(
        f"select all:              {timed['select_all_seconds'] * 1000:.1f} ms"
        f" (tagged {int(timed['tagged'])})"
    )
    print(
        f"selected_indices:        {timed['selected_indices_seconds'] * 1000:.1f} ms"
        f" ({int(timed['selected'])} positions)"
    )
    print(f"tag every other entry:   {timed['tag_every_other_seconds'] * 1000:.1f} ms")
    print(f"untag every fourth:      {timed['untag_every_fourth_seconds'] * 1000:.1f} ms")
    print(
        f"remove the tagged:       {timed['remove_tagged_seconds'] * 1000:.1f} ms"
        f" ({int(timed['left'])} entries left)"
    )
    print(f"scroll to end + up one:  {timed['scroll_seconds'] * 1000:.1f} ms")
    for name, passed in checks.items():
        print(f"{'PASS' if passed else 'FAIL'}  {name}")
    passed = all(checks.values())
    print("PASS" if passed else "FAIL")
    return 0 if passed else 1


if __name__ == "__main__":
    sys.exit(main())
