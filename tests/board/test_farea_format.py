"""Farea.dat as board-format.md lays it out: byte-exact writing, damaged files refused."""

from __future__ import annotations

import struct

import pytest

from kelvane.board.board_tool import add_area, init_board, make_record, read_board, set_area
from kelvane.platform.board_library import AreaRecordSet, PathUtility
from kelvane.platform.farea_format import RECORD_SIZE, FareaError, FieldTooLong


def _field(data: bytes, offset: int, capacity: int) -> bytes:
    """The raw bytes of a string[N] field: length byte, then N bytes."""
    return data[offset : offset + 1 + capacity]


def _string(text: bytes, capacity: int) -> bytes:
    return bytes([len(text)]) + text + b"\0" * (capacity - len(text))


def test_a_record_is_written_byte_for_byte_as_the_layout_says(tmp_path):
    board = tmp_path / "board"
    init_board(board)
    record = make_record(
        title="Utilities Caf\u00e9",
        path="/srv/bbs/utils",
        alt=["/srv/bbs/extra1", "", "/srv/bbs/extra3"],
        files_list="/srv/bbs/utils/FILES.LST",
        index="/srv/bbs/idx/UTILS.IDX",
        private="Yes",
        cdrom="no",
        alias="",
        offline="No",
        master="YES",
        disc=-2,
    )
    assert add_area(board, record) == 1
    data = (board / "Mwork" / "Farea.dat").read_bytes()
    assert len(data) == RECORD_SIZE
    assert _field(data, 0, 60) == _string(b"Utilities Caf\xe9", 60)  # cp1252 e-acute
    assert _field(data, 61, 127) == _string(b"/srv/bbs/utils", 127)
    assert _field(data, 189, 127) == _string(b"/srv/bbs/extra1", 127)
    assert _field(data, 189 + 128, 127) == _string(b"", 127)
    assert _field(data, 189 + 2 * 128, 127) == _string(b"/srv/bbs/extra3", 127)
    for i in range(4, 11):
        assert _field(data, 189 + (i - 1) * 128, 127) == _string(b"", 127)
    assert _field(data, 1469, 127) == _string(b"/srv/bbs/utils/FILES.LST", 127)
    assert _field(data, 1597, 127) == _string(b"/srv/bbs/idx/UTILS.IDX", 127)
    assert data[1725:1745] == _string(b"Yes", 3) + _string(b"no", 3) + _string(b"", 3) + _string(
        b"No", 3
    ) + _string(b"YES", 3)
    assert data[1745:1747] == struct.pack("<h", -2)
    assert data[1747:] == b"\0" * 301


def test_the_library_reads_back_every_field_as_stored(tmp_path):
    board = tmp_path / "board"
    init_board(board)
    add_area(board, make_record(title="One", path="/a", files_list="/a/FILES.LST"))
    add_area(
        board, make_record(title="Two", path="/b", alt=["/b1"], index="/b/B.IDX", offline="no")
    )
    library = AreaRecordSet()
    library.OpenAreas(str(board))
    assert library.AreaCount() == 2
    library.SelectArea(2)
    assert library.AreaTitle() == "Two"
    assert library.AreaFilePath() == "/b"
    assert library.AreaAltPath(1) == "/b1"
    assert library.AreaAltPath(10) == ""
    assert library.AreaIndexPath() == "/b/B.IDX"
    assert library.AreaOffline() == "no"  # returned as stored; the "No" rule is Kelvane's
    assert library.AreaPrivate() == "No"
    library.CloseAreas()


def test_the_file_is_found_whatever_the_case_of_its_names(tmp_path):
    board = tmp_path / "board"
    (board / "MWORK").mkdir(parents=True)
    (board / "MWORK" / "FAREA.DAT").write_bytes(b"")
    library = AreaRecordSet()
    library.OpenAreas(str(board))
    assert library.AreaCount() == 0


def test_a_file_of_zero_bytes_is_a_board_with_no_areas(tmp_path):
    board = tmp_path / "board"
    init_board(board)
    assert read_board(board) == []


def test_a_size_that_is_not_a_whole_number_of_records_is_damage_and_the_file_is_unchanged(tmp_path):
    board = tmp_path / "board"
    init_board(board)
    path = board / "Mwork" / "Farea.dat"
    path.write_bytes(b"\0" * 3000)
    library = AreaRecordSet()
    with pytest.raises(
        FareaError, match="its size, 3000 bytes, is not a whole number of 2048-byte area records"
    ):
        library.OpenAreas(str(board))
    assert path.read_bytes() == b"\0" * 3000


def test_a_length_byte_over_its_field_is_damage(tmp_path):
    board = tmp_path / "board"
    init_board(board)
    add_area(board, make_record(title="Fine", path="/x"))
    path = board / "Mwork" / "Farea.dat"
    data = bytearray(path.read_bytes())
    data[1725] = 4  # Private is string[3]
    path.write_bytes(bytes(data))
    library = AreaRecordSet()
    library.OpenAreas(str(board))
    with pytest.raises(FareaError, match="Private"):
        library.SelectArea(1)
    assert path.read_bytes() == bytes(data)


def test_a_record_number_outside_the_file_is_damage(tmp_path):
    board = tmp_path / "board"
    init_board(board)
    library = AreaRecordSet()
    library.OpenAreas(str(board))
    with pytest.raises(FareaError):
        library.SelectArea(1)


def test_a_missing_file_fails_when_opened(tmp_path):
    with pytest.raises(FareaError):
        AreaRecordSet().OpenAreas(str(tmp_path / "nothing"))


def test_text_longer_than_its_field_is_refused_and_the_file_is_left_as_it_was(tmp_path):
    board = tmp_path / "board"
    init_board(board)
    add_area(board, make_record(title="Keep", path="/x"))
    path = board / "Mwork" / "Farea.dat"
    before = path.read_bytes()
    with pytest.raises(
        FieldTooLong, match="Title is 61 characters long; the field holds at most 60"
    ):
        add_area(board, make_record(title="T" * 61, path="/x"))
    with pytest.raises(FieldTooLong, match="Private"):
        set_area(board, 1, {"private": "Yes!"})
    assert path.read_bytes() == before


def test_set_changes_only_the_fields_given(tmp_path):
    board = tmp_path / "board"
    init_board(board)
    add_area(board, make_record(title="Old", path="/x", alt=["/one", "/two"]))
    set_area(board, 1, {"title": "New", "alt": {2: ""}})
    (record,) = read_board(board)
    assert (record.title, record.path, record.alt[0], record.alt[1]) == ("New", "/x", "/one", "")


def test_path_utility_takes_paths_apart():
    utility = PathUtility(windows=False)
    assert utility.DirectoryOf("/srv/bbs/FILES.LST") == "/srv/bbs"
    assert utility.FileNameOf("/srv/bbs/FILES.LST") == "FILES.LST"
    assert utility.DirectoryOf("INDEX.IDX") == "-1"
    assert utility.DirectoryOf("") == "-1"
    windows = PathUtility(windows=True)
    assert windows.DirectoryOf("C:\\BBS\\FILES.LST") == "C:\\BBS"
    assert windows.FileNameOf("C:\\BBS\\FILES.LST") == "FILES.LST"
    assert PathUtility.RemoveText("A~B~C", "~") == "ABC"
