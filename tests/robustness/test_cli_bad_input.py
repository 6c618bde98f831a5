"""Bad input through the command line: no traceback, one closing line on stderr, exit 1."""

from __future__ import annotations

import errno
import os
import signal
import stat

import pytest

from kelvane.board.files_list import parse_files_list
from kelvane.cli.main import main
from kelvane.platform import farea_format
from tests.robustness.conftest import entry, make_file, snapshot


@pytest.fixture(autouse=True)
def no_hang():
    def expired(signum, frame):
        raise TimeoutError("the command blocked")

    previous = signal.signal(signal.SIGALRM, expired)
    signal.alarm(10)
    yield
    signal.alarm(0)
    signal.signal(signal.SIGALRM, previous)


def run(capsys, *argv: str) -> tuple[int, str, str]:
    status = main(list(argv))
    out, err = capsys.readouterr()
    assert "Traceback" not in out + err
    return status, out, err


def last_line(err: str) -> str:
    return err.strip().splitlines()[-1]


def test_cli_scan_refresh_read_diz_and_delete_work_on_names_that_are_not_utf8(area, capsys):
    node = os.fspath(area.node)
    make_file(area.files, b"CAF\xc9.ZIP", b"12345")
    make_file(area.files, b"KEEP\xff.TXT", b"1")
    status, out, err = run(capsys, "scan", "--main-node", node, "1")
    assert status == 0, err
    entries = parse_files_list(area.files_list.read_bytes(), "cp1252", [])
    assert [e.name for e in entries] == ["CAF_~1.ZIP", "KEEP_~1.TXT"]
    status, out, err = run(capsys, "refresh", "--main-node", node, "1")
    assert status == 0, err
    assert "not found" not in out + err
    status, out, err = run(capsys, "read-diz", "--main-node", node, "1", "CAF_~1.ZIP")
    assert status == 0, err
    status, out, err = run(capsys, "delete", "--yes", "--main-node", node, "1", "CAF_~1.ZIP")
    assert status == 0, err
    assert sorted(os.listdir(os.fsencode(area.files))) == [
        b"FILES.BAK",
        b"FILES.LST",
        b"KEEP\xff.TXT",
    ]


def test_cli_show_of_a_files_list_that_is_a_fifo_ends_with_one_line_and_exit_1(area, capsys):
    os.mkfifo(area.files_list)
    status, out, err = run(capsys, "show", "--main-node", os.fspath(area.node), "1")
    assert status == 1
    assert last_line(err) == f"kelvane: the Files List {area.files_list} could not be read"
    assert stat.S_ISFIFO(os.lstat(area.files_list).st_mode)


def test_cli_scan_of_a_files_list_that_is_a_directory_changes_nothing(area, capsys):
    area.files_list.mkdir()
    make_file(area.files, b"NEW.TXT")
    before = snapshot(area.files)
    status, out, err = run(capsys, "scan", "--main-node", os.fspath(area.node), "1")
    assert status == 1
    assert last_line(err).startswith("kelvane: the Files List ")
    assert snapshot(area.files) == before


def test_cli_rewrite_on_a_full_disk_keeps_the_list_and_exits_1(area, capsys, monkeypatch):
    from kelvane.board import files_list

    original = area.write_list(entry("A.TXT", "One\rTwo\r\n"))

    def full(descriptor, data):
        raise OSError(errno.ENOSPC, "No space left on device")

    monkeypatch.setattr(files_list, "_write", full)
    before = snapshot(area.files)
    status, out, err = run(capsys, "rewrite", "--main-node", os.fspath(area.node), "1")
    assert status == 1
    assert "Disk full" in err
    assert last_line(err).startswith("kelvane: ")
    assert snapshot(area.files) == before
    assert area.files_list.read_bytes() == original


def test_cli_with_a_damaged_farea_dat_ends_with_one_line_and_exit_1(area, capsys):
    farea = area.node / "Mwork" / "Farea.dat"
    farea.write_bytes(os.urandom(3000))
    for command in ("areas", "show", "scan"):
        argv = [command, "--main-node", os.fspath(area.node)] + (
            [] if command == "areas" else ["1"]
        )
        status, out, err = run(capsys, *argv)
        assert status == 1
        assert err.strip() == last_line(err)
        assert "Farea.dat is damaged" in err


def test_cli_with_binary_garbage_in_farea_strings_lists_the_areas(area, capsys):
    farea = area.node / "Mwork" / "Farea.dat"
    data = bytearray(farea.read_bytes())
    layout = farea_format.TITLE
    data[layout.offset] = layout.capacity
    data[layout.offset + 1 : layout.offset + 1 + layout.capacity] = bytes(range(128, 188))
    farea.write_bytes(bytes(data))
    status, out, err = run(capsys, "areas", "--main-node", os.fspath(area.node))
    assert status == 0, err


def test_cli_with_a_settings_file_of_garbage_asks_for_the_main_node(tmp_path, capsys):
    settings = tmp_path / "Vandor.ini"
    settings.write_bytes(b"\xff\xfe[[[garbage\x00\r\n")
    status, out, err = run(capsys, "areas")
    assert status == 1
    assert last_line(err).startswith("kelvane: no main node path")
    assert settings.read_bytes() == b"\xff\xfe[[[garbage\x00\r\n"


def test_cli_with_a_missing_program_directory_still_reports_in_one_line(
    area, capsys, monkeypatch, tmp_path
):
    monkeypatch.setenv("KELVANE_HOME", os.fspath(tmp_path / "missing" / "home"))
    os.mkfifo(area.files_list)
    status, out, err = run(capsys, "show", "--main-node", os.fspath(area.node), "1")
    assert status == 1
    assert last_line(err).startswith("kelvane: the Files List ")
    assert not (tmp_path / "missing").exists()
