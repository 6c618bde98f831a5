"""Make_Index_File (Part 4.1) beyond the spec's edge cases."""

from __future__ import annotations

import os
import subprocess
import sys
import textwrap
from pathlib import Path

import pytest

from kelvane.board.board_tool import add_simple_area, init_board
from kelvane.board.current_area import AddToMakeIndexList
from kelvane.index import make_index
from kelvane.index.make_index import AreaOutcome, Make_Index_File, NullProgress


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

    def results(self):
        return [args[0] for name, args in self.calls if name == "area_done"]


def record(slot: int, name: bytes) -> bytes:
    """One index record: slot (16-bit little-endian), name + NUL in 13 bytes padded with spaces."""
    return slot.to_bytes(2, "little") + (name + b"\0").ljust(13, b" ")[:13]


class Board:
    def __init__(self, tmp_path: Path, session) -> None:
        self.root = tmp_path
        self.node = tmp_path / "node"
        self.session = session
        init_board(self.node)
        session.area.MainNodePath = os.fspath(self.node)

    def add(
        self, name: str, slots: dict[int, list[str]], index: str | Path | None = None
    ) -> tuple[int, Path]:
        """An area whose slots hold the given empty files; returns (number, index path)."""
        directories = {slot: self.root / name / f"slot{slot}" for slot in range(11)}
        for slot, names in slots.items():
            directories[slot].mkdir(parents=True, exist_ok=True)
            for file_name in names:
                (directories[slot] / file_name).write_bytes(b"")
        directories[0].mkdir(parents=True, exist_ok=True)
        alt = [os.fspath(directories[i]) if i in slots else "" for i in range(1, 11)]
        # The index path is stored as given: Path("") would turn "" into ".".
        text = (
            os.fspath(index)
            if index is not None
            else os.fspath(self.root / "index" / f"{name}.IDX")
        )
        number = add_simple_area(self.node, name, directories[0], index=text, alt=alt)
        return number, Path(text)

    def pend(self, *numbers: int) -> None:
        for number in numbers:
            AddToMakeIndexList(self.session, number)
        self.session.IndexPending = True


@pytest.fixture
def board(tmp_path, session):
    return Board(tmp_path, session)


def test_the_progress_texts_and_values_of_one_area(board, session):
    number, index_path = board.add("Area", {0: ["b.zip", "a.zip"], 2: ["FILES.BBS", "c.zip"]})
    board.pend(number)
    progress = RecordingProgress()

    Make_Index_File(session, progress)

    slot0 = os.fspath(board.root / "Area" / "slot0")
    slot2 = os.fspath(board.root / "Area" / "slot2")
    shown = [call for call in progress.calls if call[0] != "area_done"]
    assert shown == [
        ("begin", ()),
        ("process_events", ()),
        ("set_range", (2,)),
        ("set_file_path", ("Scanning File Directory: " + slot0,)),
        ("set_value", (0,)),
        ("set_status", ("Reading File: A.ZIP",)),
        ("add_row", ("A.ZIP", "0")),
        ("set_value", (1,)),
        ("set_status", ("Reading File: B.ZIP",)),
        ("add_row", ("B.ZIP", "0")),
        ("process_events", ()),
        ("set_range", (2,)),
        ("set_file_path", ("Scanning File Directory: " + slot2,)),
        ("set_value", (0,)),
        ("set_status", ("Reading File: C.ZIP",)),
        ("add_row", ("C.ZIP", "2")),
        ("set_value", (1,)),
        ("set_status", ("Reading File: FILES.BBS",)),
        ("add_row", ("FILES.BBS", "2")),
        ("set_range", (4,)),
        ("set_file_path", ("Writing File: " + os.fspath(index_path),)),
        ("set_value", (1,)),
        ("set_status", ("Writing File Name: A.ZIP",)),
        ("set_value", (2,)),
        ("set_status", ("Writing File Name: B.ZIP",)),
        ("set_value", (3,)),
        ("set_status", ("Writing File Name: C.ZIP",)),
        ("set_value", (4,)),  # FILES.BBS: its record number is used, nothing shown
        ("clear_rows", ()),
        ("end", ()),
    ]
    assert index_path.read_bytes() == record(0, b"A.ZIP") + record(0, b"B.ZIP") + record(
        2, b"C.ZIP"
    )


def test_an_empty_directory_sets_the_progress_maximum_to_1(board, session):
    number, _ = board.add("Area", {0: []})
    board.pend(number)
    progress = RecordingProgress()

    Make_Index_File(session, progress)

    assert ("set_range", (1,)) in progress.calls
    assert ("set_range", (0,)) in progress.calls  # no rows to write


def test_rows_are_in_slot_order_then_by_name_ignoring_case(board, session):
    number, index_path = board.add(
        "Area", {0: ["b.zip", "A.zip", "c.ZIP"], 1: ["a1.zip", "Zed.zip"], 10: ["0.zip"]}
    )
    board.pend(number)

    Make_Index_File(session, NullProgress())

    assert index_path.read_bytes() == (
        record(0, b"A.ZIP")
        + record(0, b"B.ZIP")
        + record(0, b"C.ZIP")
        + record(1, b"A1.ZIP")
        + record(1, b"ZED.ZIP")
        + record(10, b"0.ZIP")
    )


def test_hidden_files_and_subdirectories_are_not_indexed(board, session):
    number, index_path = board.add("Area", {0: [".hidden", "SEEN.ZIP"]})
    (board.root / "Area" / "slot0" / "SUBDIR").mkdir()
    (board.root / "Area" / "slot0" / "SUBDIR" / "INNER.ZIP").write_bytes(b"")
    board.pend(number)

    Make_Index_File(session, NullProgress())

    assert index_path.read_bytes() == record(0, b"SEEN.ZIP")


def test_a_slot_path_of_blanks_is_not_used(board, session):
    number, index_path = board.add("Area", {0: ["A.ZIP"]})
    from kelvane.board.board_tool import set_area

    set_area(board.node, number, {"alt": {1: "   "}})
    board.pend(number)
    progress = RecordingProgress()

    Make_Index_File(session, progress)

    assert [name for name in progress.names() if name == "set_file_path"] == ["set_file_path"] * 2
    assert index_path.read_bytes() == record(0, b"A.ZIP")


def test_aliases_are_computed_once_per_directory_and_only_for_long_names(
    board, session, monkeypatch
):
    number, index_path = board.add(
        "Area",
        {0: ["First Long Name.zip", "Second Long Name.zip", "short.zip"], 1: ["PLAIN.ZIP"]},
    )
    board.pend(number)
    calls: list[list[str]] = []
    real = make_index.directory_aliases

    def counting(names, page):
        calls.append(list(names))
        return real(names, page)

    monkeypatch.setattr(make_index, "directory_aliases", counting)

    Make_Index_File(session, NullProgress())

    assert calls == [["First Long Name.zip", "Second Long Name.zip", "short.zip"]]
    assert index_path.read_bytes() == (
        record(0, b"FIRSTL~1.ZIP")
        + record(0, b"SECOND~1.ZIP")
        + record(0, b"SHORT.ZIP")
        + record(1, b"PLAIN.ZIP")
    )


def test_names_are_encoded_in_the_session_code_page(board, session):
    number, index_path = board.add("Area", {0: ["café.txt"]})
    board.pend(number)
    session.code_page = "cp437"

    Make_Index_File(session, NullProgress())

    assert index_path.read_bytes() == record(0, b"CAF\x90.TXT")  # É is 0x90 in CP437


def test_an_index_path_naming_a_directory_carries_the_rows_over_to_the_next_area(board, session):
    first, first_index = board.add("First", {0: ["ONE.ZIP", "TWO.ZIP"]})
    first_index.mkdir(parents=True)
    second, second_index = board.add("Second", {0: ["THREE.ZIP"], 1: ["FOUR.ZIP"]})
    board.pend(first, second)
    progress = RecordingProgress()

    Make_Index_File(session, progress)

    assert first_index.is_dir() and list(first_index.iterdir()) == []
    assert second_index.read_bytes() == (
        record(0, b"ONE.ZIP")
        + record(0, b"TWO.ZIP")
        + record(0, b"THREE.ZIP")
        + record(1, b"FOUR.ZIP")
    )
    outcomes = [(result.area_number, result.outcome, result.rows) for result in progress.results()]
    assert outcomes == [(first, AreaOutcome.CARRIED_OVER, 2), (second, AreaOutcome.WRITTEN, 4)]
    # The rows were cleared once, after the second area's index was written.
    assert progress.names().count("clear_rows") == 1


def test_an_old_index_file_is_deleted_and_written_again(board, session):
    number, index_path = board.add("Area", {0: ["A.ZIP"]})
    index_path.parent.mkdir(parents=True)
    index_path.write_bytes(b"X" * 60)
    index_path.chmod(0o444)
    board.pend(number)

    Make_Index_File(session, NullProgress())

    assert index_path.read_bytes() == record(0, b"A.ZIP")


def test_an_old_index_file_spelled_in_another_case_is_replaced(board, session):
    number, index_path = board.add("Area", {0: ["A.ZIP"]})
    index_path.parent.mkdir(parents=True)
    on_disk = index_path.parent / index_path.name.lower()
    on_disk.write_bytes(b"X" * 60)
    board.pend(number)

    Make_Index_File(session, NullProgress())

    assert [path.name for path in index_path.parent.iterdir()] == [on_disk.name]
    assert on_disk.read_bytes() == record(0, b"A.ZIP")


def test_when_clear_attributes_fails_the_old_file_is_overwritten_in_place(
    board, session, monkeypatch
):
    number, index_path = board.add("Area", {0: ["A.ZIP", "B.BAK", "C.ZIP"]})
    index_path.parent.mkdir(parents=True)
    old = b"".join(bytes([ord("1") + r]) * 15 for r in range(5))  # five old records
    index_path.write_bytes(old)
    monkeypatch.setattr(make_index, "ClearAttributes", lambda path: False)
    board.pend(number)
    progress = RecordingProgress()

    Make_Index_File(session, progress)

    assert index_path.read_bytes() == (
        record(0, b"A.ZIP")
        + b"2" * 15  # record 2 (B.BAK) not written: the old bytes stay
        + record(0, b"C.ZIP")
        + b"4" * 15  # old records past the new end remain
        + b"5" * 15
    )
    assert progress.results()[0].in_place is True


def test_an_index_path_without_a_directory_ends_the_program_at_once(tmp_path):
    script = textwrap.dedent(
        """
        import os, sys
        from kelvane.board.board_tool import add_simple_area, init_board
        from kelvane.board.current_area import AddToMakeIndexList
        from kelvane.board.session import Session
        from kelvane.index.make_index import Make_Index_File, NullProgress

        root = sys.argv[1]
        node = os.path.join(root, "node")
        init_board(node)
        for title, index in (("Before", os.path.join(root, "idx", "BEFORE.IDX")),
                             ("Unusable", "UNUSABLE.IDX"),
                             ("After", os.path.join(root, "idx", "AFTER.IDX"))):
            directory = os.path.join(root, title)
            number = add_simple_area(node, title, directory, index=index)
            open(os.path.join(directory, "A.ZIP"), "w").close()
        session = Session(program_dir=os.path.join(root, "home"))
        session.area.MainNodePath = node
        for number in (1, 2, 3):
            AddToMakeIndexList(session, number)
        Make_Index_File(session, NullProgress())
        print("returned")
        """
    )
    work = tmp_path / "cwd"
    work.mkdir()
    (tmp_path / "home").mkdir()

    finished = subprocess.run(
        [sys.executable, "-c", script, os.fspath(tmp_path)],
        cwd=work,
        capture_output=True,
        text=True,
        timeout=60,
    )

    assert finished.returncode == 1
    assert finished.stdout == "" and finished.stderr == ""  # no message
    assert (tmp_path / "idx" / "BEFORE.IDX").read_bytes() == record(0, b"A.ZIP")
    assert not (tmp_path / "idx" / "AFTER.IDX").exists()
    assert list(work.iterdir()) == []  # nothing written for the unusable path
    assert list((tmp_path / "home").iterdir()) == []  # no error logged


def test_an_empty_index_path_skips_the_area_without_ending_the_program(board, session):
    number, _ = board.add("Area", {0: ["A.ZIP"]}, index="")
    board.pend(number)
    progress = RecordingProgress()

    Make_Index_File(session, progress)

    assert [result.outcome for result in progress.results()] == [AreaOutcome.NO_INDEX_PATH]
    assert "add_row" not in progress.names()


def test_an_error_is_reported_and_the_run_goes_on_with_the_next_area(board, session, port):
    number, index_path = board.add("Area", {0: ["A.ZIP"]})
    board.pend(7, number)  # the board has no area 7
    port.expect_error("Make_Index_File")
    progress = RecordingProgress()

    Make_Index_File(session, progress)

    assert index_path.read_bytes() == record(0, b"A.ZIP")
    assert [result.outcome for result in progress.results()] == [
        AreaOutcome.FAILED,
        AreaOutcome.WRITTEN,
    ]
    assert "Procedure Name: Make_Index_File" in (Path(session.app_path) / "Kelvane.err").read_text(
        "cp1252"
    )


def test_a_directory_that_cannot_be_listed_is_reported_and_its_rows_dropped(board, session, port):
    first, first_index = board.add("First", {0: ["ONE.ZIP"], 1: []})
    (board.root / "First" / "slot1").rmdir()
    second, second_index = board.add("Second", {0: ["TWO.ZIP"]})
    board.pend(first, second)
    port.expect_error("Make_Index_File")

    Make_Index_File(session, NullProgress())

    assert not first_index.exists()
    assert second_index.read_bytes() == record(0, b"TWO.ZIP")  # ONE.ZIP did not carry over


def test_an_index_file_that_cannot_be_opened_is_reported(board, session, port):
    blocker = board.root / "blocker"
    blocker.write_bytes(b"a file where the index directory should be")
    number, index_path = board.add("Area", {0: ["A.ZIP"]}, index=blocker / "AREA.IDX")
    board.pend(number)
    port.expect_error("Make_Index_File")
    progress = RecordingProgress()

    Make_Index_File(session, progress)

    assert [result.outcome for result in progress.results()] == [AreaOutcome.FAILED]
    assert progress.results()[0].index_path == os.fspath(index_path)
    assert blocker.read_bytes() == b"a file where the index directory should be"


def test_the_pending_list_is_emptied_and_index_pending_cleared(board, session):
    first, _ = board.add("First", {0: ["A.ZIP"]})
    second, _ = board.add("Second", {0: ["B.ZIP"]})
    board.pend(first, second, first)
    assert session.make_index_list == ["1", "2"]
    progress = RecordingProgress()

    Make_Index_File(session, progress)

    assert session.make_index_list == []
    assert session.IndexPending is False
    assert progress.names()[0] == "begin" and progress.names()[-1] == "end"
    assert [result.area_number for result in progress.results()] == [1, 2]
