"""Part 4.1 (Master index): one test per "Edge cases worth testing" bullet.

The index file: 15-byte records, record r at offset (r - 1) * 15; each is the
slot number as a 16-bit little-endian integer, then the upper-case name and a
NUL in 13 bytes padded with spaces.  Names matching "*.BAK" or "FILES.*" are
not written but use up their record number.
"""

from __future__ import annotations

import os
from pathlib import Path

from kelvane.board.board_tool import add_simple_area, init_board
from kelvane.board.current_area import AddToMakeIndexList
from kelvane.index.make_index import AreaResult, Make_Index_File


class RecordingProgress:
    """A Make Index form that records every call."""

    def __init__(self) -> None:
        self.calls: list[tuple[str, tuple[object, ...]]] = []

    def __getattr__(self, name: str):
        def record(*args: object) -> None:
            self.calls.append((name, args))

        return record

    def names(self) -> list[str]:
        return [name for name, _ in self.calls]


def make_area(tmp_path: Path, session, slots: dict[int, list[str]]) -> Path:
    """A board with one area whose slots hold the given (empty) files; returns its index path."""
    node = tmp_path / "node"
    init_board(node)
    directories = {slot: tmp_path / f"slot{slot}" for slot in slots}
    for slot, directory in directories.items():
        directory.mkdir()
        for name in slots[slot]:
            (directory / name).write_bytes(b"")
    main = directories.get(0, tmp_path / "slot0")
    main.mkdir(exist_ok=True)
    alt = [os.fspath(directories[i]) if i in directories else "" for i in range(1, 11)]
    index_path = tmp_path / "index" / "AREA.IDX"
    add_simple_area(node, "Files", main, index=os.fspath(index_path), alt=alt)
    session.area.MainNodePath = os.fspath(node)
    AddToMakeIndexList(session, 1)
    session.IndexPending = True
    return index_path


def test_an_empty_pending_list_shows_no_form_writes_nothing_and_unloads_the_form(tmp_path, session):
    session.IndexPending = True
    before = sorted(tmp_path.rglob("*"))
    progress = RecordingProgress()

    Make_Index_File(session, progress)

    assert progress.names() == ["end"]  # never shown; unloaded
    assert sorted(tmp_path.rglob("*")) == before
    assert session.make_index_list == []
    assert session.IndexPending is False


def test_files_bbs_and_old_bak_leave_two_unwritten_records_of_zeros_when_later_records_follow(
    tmp_path, session
):
    index_path = make_area(tmp_path, session, {0: ["FILES.BBS", "OLD.BAK", "README.TXT"]})

    Make_Index_File(session, RecordingProgress())

    assert index_path.read_bytes() == (
        bytes(15)  # record 1: FILES.BBS, not written
        + bytes(15)  # record 2: OLD.BAK, not written
        + b"\x00\x00"
        + b"README.TXT\x00  "  # record 3
    )


def test_files_bbs_and_old_bak_leave_an_empty_file_when_they_are_the_last_ones(tmp_path, session):
    index_path = make_area(tmp_path, session, {0: ["FILES.BBS", "OLD.BAK"]})

    Make_Index_File(session, RecordingProgress())

    assert index_path.read_bytes() == b""


def test_files_bbs_and_old_bak_at_the_end_make_the_file_shorter(tmp_path, session):
    index_path = make_area(tmp_path, session, {0: ["ARC.ZIP", "FILES.BBS", "OLD.BAK"]})

    Make_Index_File(session, RecordingProgress())

    assert index_path.read_bytes() == b"\x00\x00" + b"ARC.ZIP\x00     "


def test_a_long_name_is_indexed_under_its_short_name(tmp_path, session):
    index_path = make_area(tmp_path, session, {0: ["Long Name Here.zip"]})

    Make_Index_File(session, RecordingProgress())

    assert index_path.read_bytes() == b"\x00\x00" + b"LONGNA~1.ZIP\x00"


def test_a_file_in_the_third_additional_directory_has_3_in_its_area_field(tmp_path, session):
    index_path = make_area(tmp_path, session, {0: ["MAIN.ZIP"], 3: ["third.zip"]})
    progress = RecordingProgress()

    Make_Index_File(session, progress)

    assert index_path.read_bytes() == (
        b"\x00\x00"
        + b"MAIN.ZIP\x00    "  # slot 0
        + b"\x03\x00"
        + b"THIRD.ZIP\x00   "  # slot 3: the third additional directory
    )
    assert ("add_row", ("THIRD.ZIP", "3")) in progress.calls


def test_an_area_without_any_file_gets_an_empty_index_file(tmp_path, session):
    index_path = make_area(tmp_path, session, {0: []})
    progress = RecordingProgress()

    Make_Index_File(session, progress)

    assert index_path.is_file()
    assert index_path.read_bytes() == b""
    done = [args[0] for name, args in progress.calls if name == "area_done"]
    assert isinstance(done[0], AreaResult) and done[0].written == 0
