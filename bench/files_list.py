"""Benchmark of the Files List reader and writer (Part 1.2, issue 3).

Builds a board with one area in a temporary directory whose Files List holds
100,000 entries of 1 to 5 description lines, then measures:

* read: ``Load_fEditFileArealsv`` (area record, decode, split, parse);
* write: ``SaveWork`` (format, encode, temporary file, fsync, backup, rename);
* the floors: reading the bytes and a bare ``data.split(b"\\r\\n")`` loop;
  writing the same bytes to a file with fsync;
* the reader's peak memory (tracemalloc, a separate run).

Targets: read < 1 s and within 15x of its floor, write < 1 s, reader peak
memory < 200 MB.  Run: ``.venv/bin/python bench/files_list.py``.
"""

from __future__ import annotations

import os
import random
import sys
import tempfile
import time
import tracemalloc
from collections.abc import Callable
from pathlib import Path

from kelvane.board import board_tool
from kelvane.board.current_area import Farea_Dat_Initialize
from kelvane.board.files_list import EntryList, Load_fEditFileArealsv, SaveWork
from kelvane.board.session import Session

ENTRIES = 100_000
RUNS = 5
READ_LIMIT = 1.0
READ_RATIO_LIMIT = 15.0
WRITE_LIMIT = 1.0
MEMORY_LIMIT = 200 * 1024 * 1024

WORDS = (
    "archive",
    "utility",
    "program",
    "game",
    "shareware",
    "update",
    "text",
    "file",
    "for",
    "the",
    "DOS",
    "Windows",
    "version",
    "new",
    "release",
    "board",
    "door",
    "graphics",
    "sound",
    "driver",
    "fixed",
    "bugs",
)


def description_line(rng: random.Random) -> str:
    words: list[str] = []
    while True:
        word = rng.choice(WORDS)
        if len(" ".join([*words, word])) > 45:
            break
        words.append(word)
    return " ".join(words)


def build_list(rng: random.Random) -> bytes:
    lines: list[str] = []
    for number in range(ENTRIES):
        name = f"F{number:06d}.ZIP"
        size = rng.randrange(0, 100_000_000)
        date = f"{rng.randrange(1, 13):02d}-{rng.randrange(1, 29):02d}-{rng.randrange(100):02d}"
        described = [description_line(rng) for _ in range(rng.randrange(1, 6))]
        lines.append(f"{name:<12}{size:>9} {date} {described[0]:<45}")
        lines.extend(f"{'':31}{text:<45}" for text in described[1:])
    return "".join(line + "\r\n" for line in lines).encode("cp1252")


def best_of(runs: int, action: Callable[[], object]) -> float:
    best = float("inf")
    for _ in range(runs):
        start = time.perf_counter()
        action()
        best = min(best, time.perf_counter() - start)
    return best


def main() -> int:
    rng = random.Random(1994)
    with tempfile.TemporaryDirectory(prefix="kelvane-bench-") as temporary:
        root = Path(temporary)
        main_node = root / "board"
        board_tool.init_board(main_node)
        area_dir = root / "area"
        board_tool.add_simple_area(main_node, "Benchmark", area_dir)
        program = root / "program"
        program.mkdir()
        data = build_list(rng)
        list_path = area_dir / "FILES.LST"
        list_path.write_bytes(data)

        session = Session(program_dir=program)
        session.area.MainNodePath = os.fspath(main_node)
        session.area.AreaNumber = 1
        if not Farea_Dat_Initialize(session):
            print("FAIL: the benchmark area does not load")
            return 1
        entries = EntryList()

        def read_floor() -> None:
            content = list_path.read_bytes()
            for _line in content.split(b"\r\n"):
                pass

        def read() -> None:
            if not Load_fEditFileArealsv(session, entries):
                raise RuntimeError("Load_fEditFileArealsv failed")

        floor_path = area_dir / "floor.bin"

        def write_floor() -> None:
            with open(floor_path, "wb") as stream:
                stream.write(data)
                stream.flush()
                os.fsync(stream.fileno())

        def write() -> None:
            if not SaveWork(session, entries):
                raise RuntimeError("SaveWork failed")

        read_floor_time = best_of(RUNS, read_floor)
        read_time = best_of(RUNS, read)
        lines = data.count(b"\r\n")
        write_floor_time = best_of(RUNS, write_floor)
        write_time = best_of(RUNS, write)
        same = list_path.read_bytes() == data

        entries.replace_all(())
        tracemalloc.start()
        read()
        _current, peak = tracemalloc.get_traced_memory()
        tracemalloc.stop()

    read_ratio = read_time / read_floor_time
    write_ratio = write_time / write_floor_time
    checks = [
        ("read time < 1 s", read_time < READ_LIMIT),
        ("read within 15x of its floor", read_ratio <= READ_RATIO_LIMIT),
        ("write time < 1 s", write_time < WRITE_LIMIT),
        ("write within 15x of its floor", write_ratio <= READ_RATIO_LIMIT),
        ("reader peak memory < 200 MB", peak < MEMORY_LIMIT),
        ("read then write gives the same bytes", same),
    ]
    print(f"Python {sys.version.split()[0]}; best of {RUNS} runs")
    print(f"list: {ENTRIES:,} entries, {lines:,} lines, {len(data) / 1e6:.1f} MB")
    print(f"read  (Load_fEditFileArealsv): {read_time * 1000:8.1f} ms")
    print(f"read floor (read_bytes + split loop): {read_floor_time * 1000:8.1f} ms")
    print(f"read ratio: {read_ratio:.1f}x (target <= {READ_RATIO_LIMIT:.0f}x)")
    print(f"write (SaveWork): {write_time * 1000:8.1f} ms")
    print(f"write floor (write + fsync of the same bytes): {write_floor_time * 1000:8.1f} ms")
    print(f"write ratio: {write_ratio:.1f}x (target <= {READ_RATIO_LIMIT:.0f}x)")
    print(f"reader peak memory (tracemalloc): {peak / 1e6:.1f} MB")
    for label, passed in checks:
        print(f"{'PASS' if passed else 'FAIL'}: {label}")
    passed_all = all(passed for _label, passed in checks)
    print("PASS" if passed_all else "FAIL")
    return 0 if passed_all else 1


if __name__ == "__main__":
    sys.exit(main())
