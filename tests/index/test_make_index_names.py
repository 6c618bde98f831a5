"""Index names in the code page (Part 4.1): upper case within the page, odd bytes as aliases."""

from __future__ import annotations

import os

import pytest

from kelvane.board.board_tool import add_simple_area, init_board
from kelvane.board.current_area import AddToMakeIndexList
from kelvane.index.make_index import Make_Index_File, NullProgress, index_name


def record(slot: int, name: bytes) -> bytes:
    return slot.to_bytes(2, "little") + (name + b"\0").ljust(13, b" ")[:13]


def _area(tmp_path, session, names: list[str | bytes]):
    node = tmp_path / "node"
    init_board(node)
    files = tmp_path / "files"
    files.mkdir()
    for name in names:
        path = os.path.join(
            os.fsencode(files), name if isinstance(name, bytes) else os.fsencode(name)
        )
        with open(path, "wb"):
            pass
    index = tmp_path / "AREA.IDX"
    number = add_simple_area(node, "Area", files, index=os.fspath(index))
    session.area.MainNodePath = os.fspath(node)
    AddToMakeIndexList(session, number)
    session.IndexPending = True
    return index


def test_upper_case_stays_inside_the_code_page(tmp_path, session):
    """ "µ" upper-cases to Greek "Μ", which Windows-1252 lacks: UCase keeps "µ" (0xB5),
    it never becomes "?"."""
    index = _area(tmp_path, session, ["µ.txt"])
    Make_Index_File(session, NullProgress())
    assert index.read_bytes() == record(0, b"\xb5.TXT")
    assert index_name(" µ.txt ") == "µ.TXT"


@pytest.mark.skipif(os.name == "nt", reason="names are bytes only on POSIX systems")
def test_a_name_whose_bytes_are_no_text_is_indexed_under_its_alias(tmp_path, session):
    """A Latin-1 byte in a UTF-8 system's name cannot be written in the page: the record
    holds the name's 8.3 alias (as the Files List writer does), never "?"."""
    try:
        index = _area(tmp_path, session, [b"caf\xe9.txt", b"PLAIN.TXT"])
    except OSError:  # pragma: no cover - a file system that refuses such names
        pytest.skip("the file system refuses undecodable names")
    Make_Index_File(session, NullProgress())
    assert index.read_bytes() == record(0, b"CAF_~1.TXT") + record(0, b"PLAIN.TXT")
