"""Benchmark: rebuild the index of an area of 100,000 files (Part 4.1).

Builds a board in a temporary directory with one area whose files lie in
three directories (the main one and two additional ones; empty files, mostly
8.3 names and one in ten long), then times:

* listing the three directories alone (``list_directory_files``), and
* ``Make_Index_File`` with a no-op progress port, less the time it spends
  listing the directories (measured inside the run).

The rebuild must take under 1 s.  Usage: ``python bench/make_index.py [FILES]``.
"""

from __future__ import annotations

import os
import sys
import tempfile
import time
from pathlib import Path

from kelvane.board.board_tool import add_simple_area, init_board
from kelvane.board.current_area import AddToMakeIndexList
from kelvane.board.file_system import list_directory_files
from kelvane.board.session import Session
from kelvane.index import make_index
from kelvane.index.make_index import Make_Index_File, NullProgress

LIMIT_SECONDS = 1.0
DIRECTORIES = 3


def file_name(number: int) -> str:
    if number % 10 == 0:
        return f"Long file name number {number}.zip"
    return f"F{number:07d}.ZIP"


def build(root: Path, files: int) -> tuple[Path, list[Path], Path]:
    node = root / "node"
    init_board(node)
    directories = [root / f"dir{i}" for i in range(DIRECTORIES)]
    for directory in directories:
        directory.mkdir()
    for number in range(files):
        (directories[number % DIRECTORIES] / file_name(number)).touch()
    index_path = root / "idx" / "AREA.IDX"
    add_simple_area(
        node,
        "Bench",
        directories[0],
        index=os.fspath(index_path),
        alt=[os.fspath(d) for d in directories[1:]],
    )
    return node, directories, index_path


def main(argv: list[str]) -> int:
    files = int(argv[1]) if len(argv) > 1 else 100_000
    with tempfile.TemporaryDirectory(prefix="kelvane-bench-") as temporary:
        root = Path(temporary)
        started = time.perf_counter()
        node, directories, index_path = build(root, files)
        print(
            f"built {files} files in {DIRECTORIES} directories in {time.perf_counter() - started:.2f} s"
        )

        started = time.perf_counter()
        listed = sum(len(list_directory_files(os.fspath(d))) for d in directories)
        listing = time.perf_counter() - started
        print(f"listing the directories alone: {listing:.3f} s ({listed} files)")

        inside_listing = 0.0

        def timed_listing(directory: str) -> list[str]:
            nonlocal inside_listing
            begun = time.perf_counter()
            try:
                return list_directory_files(directory)
            finally:
                inside_listing += time.perf_counter() - begun

        make_index.list_directory_files = timed_listing  # type: ignore[assignment]
        session = Session(program_dir=root)
        session.area.MainNodePath = os.fspath(node)
        AddToMakeIndexList(session, 1)
        started = time.perf_counter()
        Make_Index_File(session, NullProgress())
        total = time.perf_counter() - started
        rebuild = total - inside_listing

        size = index_path.stat().st_size
        print(f"index written: {size} bytes ({size // make_index.RECORD_SIZE} records)")
        print(
            f"rebuild excluding listing: {rebuild:.3f} s "
            f"(whole run {total:.3f} s, of which listing {inside_listing:.3f} s)"
        )
        passed = rebuild < LIMIT_SECONDS and size == files * make_index.RECORD_SIZE
        print(f"{'PASS' if passed else 'FAIL'}: rebuild of {files} files under {LIMIT_SECONDS:g} s")
        return 0 if passed else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv))
