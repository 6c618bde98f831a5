"""Benchmark of the new-file scan (Part 2.3) against one ``unzip -p`` per archive.

Builds one area directory of 20,000 files (10,000 new ZIP archives carrying a
FILE_ID.DIZ of a few lines, 10,000 other files) on a board made with the
board tool in a temporary directory, then times:

1. the core scan, ``run_file_scan`` with a quiet progress and a
   ``ListEditorView`` (no screen), and
2. a loop that runs one external ``unzip -p ARCHIVE FILE_ID.DIZ`` per archive
   over the same 10,000 archives (skipped, with a note, when ``unzip`` is not
   installed).

Targets: the scan takes under 10 s and is at least 5 times faster than the
loop.  Run it with ``.venv/bin/python bench/scan.py`` (``--archives N`` and
``--others N`` change the counts).
"""

from __future__ import annotations

import argparse
import os
import shutil
import subprocess
import sys
import tempfile
import time
import zipfile
from pathlib import Path

from kelvane.board.board_tool import add_simple_area, init_board
from kelvane.board.current_area import Farea_Dat_Initialize
from kelvane.board.files_list import EntryList, Load_fEditFileArealsv
from kelvane.board.session import Session
from kelvane.board.user_port import SilentPort
from kelvane.editor.editor_view import ListEditorView
from kelvane.editor.file_scan import QuietScanProgress, run_file_scan

TIME_LIMIT = 10.0
MIN_RATIO = 5.0


def build_area(root: Path, archives: int, others: int) -> tuple[Path, Path]:
    """A board with one area of *archives* ZIPs and *others* plain files."""
    main_node = root / "board"
    area_dir = root / "files"
    init_board(main_node)
    add_simple_area(main_node, "Bench Area", area_dir)
    for number in range(archives):
        diz = (
            f"BENCH{number:05d} - a benchmark archive\r\n"
            "  with a description of a few lines,\r\n"
            "  as uploads to a board carry them.\r\n"
        ).encode("ascii")
        with zipfile.ZipFile(area_dir / f"BENCH{number:05d}.ZIP", "w", zipfile.ZIP_DEFLATED) as zf:
            zf.writestr("README.TXT", b"The program's own documentation.\r\n" * 20)
            zf.writestr("FILE_ID.DIZ", diz)
            zf.writestr("PROGRAM.EXE", os.urandom(512))
    payload = b"plain file contents\n" * 8
    for number in range(others):
        (area_dir / f"other{number:05d}.txt").write_bytes(payload)
    return main_node, area_dir


def time_scan(main_node: Path, program_dir: Path) -> tuple[float, int]:
    session = Session(SilentPort(), program_dir=program_dir)
    session.area.MainNodePath = str(main_node)
    session.area.AreaNumber = 1
    if not Farea_Dat_Initialize(session):
        raise SystemExit("the bench area could not be loaded")
    entries = EntryList()
    Load_fEditFileArealsv(session, entries)
    view = ListEditorView(entries)
    started = time.perf_counter()
    added = run_file_scan(session, view, QuietScanProgress())
    elapsed = time.perf_counter() - started
    described = sum(1 for entry in entries if entry.description.startswith("BENCH"))
    print(f"scan: {added} new files ({described} with a DIZ description) in {elapsed:.2f} s")
    return elapsed, described


def time_unzip_loop(area_dir: Path, unzip: str) -> float:
    archives = sorted(area_dir.glob("*.ZIP"))
    started = time.perf_counter()
    for archive in archives:
        subprocess.run(
            [unzip, "-p", str(archive), "FILE_ID.DIZ"],
            stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL,
            check=False,
        )
    elapsed = time.perf_counter() - started
    print(f"unzip -p loop: {len(archives)} archives in {elapsed:.2f} s")
    return elapsed


def main(argv: list[str] | None = None) -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--archives", type=int, default=10_000)
    parser.add_argument("--others", type=int, default=10_000)
    args = parser.parse_args(argv)
    with tempfile.TemporaryDirectory(prefix="kelvane-bench-") as temporary:
        root = Path(temporary)
        print(f"building {args.archives} archives and {args.others} other files ...")
        main_node, area_dir = build_area(root, args.archives, args.others)
        program_dir = root / "program"
        program_dir.mkdir()
        scan_seconds, described = time_scan(main_node, program_dir)
        print(f"scan: {args.archives / scan_seconds:,.0f} archives/second")
        ok = scan_seconds < TIME_LIMIT and described == args.archives
        print(
            f"{'PASS' if scan_seconds < TIME_LIMIT else 'FAIL'}: scan under {TIME_LIMIT:.0f} s"
            f" ({scan_seconds:.2f} s)"
        )
        unzip = shutil.which("unzip")
        if unzip is None:
            print("unzip is not installed: the comparison loop is skipped")
        else:
            loop_seconds = time_unzip_loop(area_dir, unzip)
            print(f"unzip -p loop: {args.archives / loop_seconds:,.0f} archives/second")
            ratio = loop_seconds / scan_seconds
            print(
                f"{'PASS' if ratio >= MIN_RATIO else 'FAIL'}: scan {ratio:.1f}x faster than"
                f" the unzip -p loop (target {MIN_RATIO:.0f}x)"
            )
            ok = ok and ratio >= MIN_RATIO
        print("PASS" if ok else "FAIL")
    return 0 if ok else 1


if __name__ == "__main__":
    sys.exit(main())
