"""``--yes`` on the commands that open an offline area (its CD prompt, Part 1.1).

Without a terminal the prompt is answered Cancel and the area cannot be
opened; its hint says "pass --yes to agree", so every command that opens an
area takes ``--yes``: scan, read-diz, refresh and strip-uploaders as well as
erase and delete.
"""

from __future__ import annotations

import io
import os
import zipfile
from pathlib import Path

import pytest

from kelvane.board.board_tool import add_simple_area, init_board
from kelvane.board.files_list import Entry, format_files_list, parse_files_list
from kelvane.cli.main import main

OFFLINE_PROMPT = "Please insert Offline CD Disc #0"


@pytest.fixture(autouse=True)
def no_terminal(monkeypatch):
    monkeypatch.setattr("sys.stdin", io.StringIO(""))


@pytest.fixture
def offline(tmp_path) -> tuple[Path, Path]:
    """Area 1, offline, listing OLD.ZIP (on disk); NEW.ZIP on disk and not listed."""
    node = tmp_path / "node"
    files = tmp_path / "files"
    init_board(node)
    add_simple_area(node, "Offline CD", files, offline="Yes")
    data, complete = format_files_list(
        [Entry("OLD.ZIP", " 1", "01-01-90", "Old\r\nUploaded By: Someone\r\n")], "cp1252", []
    )
    assert complete
    (files / "FILES.LST").write_bytes(data)
    for name, text in (("OLD.ZIP", b"Old archive\r\n"), ("NEW.ZIP", b"New archive\r\n")):
        with zipfile.ZipFile(files / name, "w") as archive:
            archive.writestr("FILE_ID.DIZ", text)
    return node, files


def run(node: Path, *arguments: str) -> int:
    return main([*arguments, "--main-node", os.fspath(node)])


def names(files: Path) -> list[str]:
    return [e.name for e in parse_files_list((files / "FILES.LST").read_bytes(), "cp1252", [])]


def descriptions(files: Path) -> list[str]:
    entries = parse_files_list((files / "FILES.LST").read_bytes(), "cp1252", [])
    return [e.description for e in entries]


@pytest.mark.parametrize(
    "arguments",
    [("scan",), ("read-diz", "OLD.ZIP"), ("refresh",), ("strip-uploaders",)],
    ids=["scan", "read-diz", "refresh", "strip-uploaders"],
)
def test_without_yes_the_offline_prompt_is_cancelled_and_nothing_is_written(
    offline, capsys, arguments
):
    node, files = offline
    before = (files / "FILES.LST").read_bytes()

    status = run(node, arguments[0], "1", *arguments[1:])

    assert status == 1
    assert OFFLINE_PROMPT in capsys.readouterr().err
    assert (files / "FILES.LST").read_bytes() == before


def test_scan_with_yes_opens_the_offline_area_and_adds_the_new_file(offline, capsys):
    node, files = offline

    assert run(node, "scan", "1", "--yes") == 0

    assert "-> OK (--yes)" in capsys.readouterr().err
    assert names(files) == ["OLD.ZIP", "NEW.ZIP"]


def test_read_diz_with_yes_opens_the_offline_area(offline):
    node, files = offline

    assert run(node, "read-diz", "1", "OLD.ZIP", "--yes") == 0

    assert descriptions(files) == ["Old archive\r\n"]


def test_refresh_with_yes_opens_the_offline_area(offline):
    node, files = offline

    assert run(node, "refresh", "1", "--sizes", "--yes") == 0

    entries = parse_files_list((files / "FILES.LST").read_bytes(), "cp1252", [])
    assert entries[0].size.strip() == str((files / "OLD.ZIP").stat().st_size)


def test_strip_uploaders_with_yes_opens_the_offline_area(offline):
    node, files = offline

    assert run(node, "strip-uploaders", "1", "--yes") == 0

    assert descriptions(files) == ["Old\r\n"]
