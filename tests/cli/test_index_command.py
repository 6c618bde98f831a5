"""``kelvane index AREA...`` (Part 4.1 on the command line)."""

from __future__ import annotations

import os

from kelvane.board.board_tool import add_simple_area, init_board
from kelvane.cli.main import main


def make_board(tmp_path):
    node = tmp_path / "node"
    init_board(node)
    files = tmp_path / "files"
    files.mkdir()
    for name in ("readme.txt", "FILES.BBS", "Long Name Here.zip"):
        (files / name).write_bytes(b"")
    index_path = tmp_path / "idx" / "AREA.IDX"
    add_simple_area(node, "Utilities", files, index=os.fspath(index_path))
    add_simple_area(node, "No Index", tmp_path / "other")
    return node, index_path


def test_index_by_number_writes_the_index_and_prints_a_summary(tmp_path, capsys):
    node, index_path = make_board(tmp_path)

    status = main(["index", "1", "--main-node", os.fspath(node)])

    out, err = capsys.readouterr()
    assert status == 0
    assert out == f"Area 1 (Utilities): 2 files indexed in {index_path}\n"
    assert err == ""
    assert index_path.read_bytes() == (
        bytes(15)  # record 1: FILES.BBS, not written
        + b"\x00\x00"
        + b"LONGNA~1.ZIP\x00"
        + b"\x00\x00"
        + b"README.TXT\x00  "
    )


def test_index_by_exact_title(tmp_path, capsys):
    node, index_path = make_board(tmp_path)

    assert main(["index", "Utilities", "--main-node", os.fspath(node)]) == 0
    assert "Area 1 (Utilities): 2 files indexed" in capsys.readouterr().out
    assert index_path.stat().st_size == 45


def test_an_area_without_an_index_path_is_reported_and_skipped(tmp_path, capsys):
    node, index_path = make_board(tmp_path)

    status = main(["index", "2", "1", "--main-node", os.fspath(node)])

    out, err = capsys.readouterr()
    assert status == 1
    assert "Area 2 (No Index) has no index path; skipped\n" in err
    assert out == f"Area 1 (Utilities): 2 files indexed in {index_path}\n"
    assert index_path.exists()


def test_an_index_path_without_a_directory_is_refused_not_fatal(tmp_path, capsys, monkeypatch):
    node = tmp_path / "node"
    init_board(node)
    add_simple_area(node, "Bare", tmp_path / "files", index="BARE.IDX")
    monkeypatch.chdir(tmp_path)

    status = main(["index", "1", "--main-node", os.fspath(node)])

    assert status == 1
    assert (
        "Area 1 (Bare) has an index path without a directory ('BARE.IDX'); skipped"
        in capsys.readouterr().err
    )
    assert not (tmp_path / "BARE.IDX").exists()


def test_an_unknown_area_is_an_error(tmp_path, capsys):
    node, _ = make_board(tmp_path)

    assert main(["index", "9", "--main-node", os.fspath(node)]) == 1
    assert "there is no area 9" in capsys.readouterr().err
