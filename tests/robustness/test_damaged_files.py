"""Bad input, files: a damaged or odd Files List, FILES.BAK, index, archive, Farea.dat, settings.

Expected conditions show their alert; everything else goes to the error
reporter under the procedure's name; the operator's files stay as they were
unless the operation succeeded.
"""

from __future__ import annotations

import errno
import io
import os
import signal
import stat
import struct
import zipfile
from pathlib import Path

import pytest

from kelvane.board import error_log
from kelvane.board.files_list import EntryList, Load_fEditFileArealsv, SaveWork
from kelvane.board.session import Session
from kelvane.editor import file_scan, refresh
from kelvane.editor.diz import NO_DESCRIPTION, describe_archive
from kelvane.editor.file_scan import QuietScanProgress, run_file_scan
from kelvane.editor.read_diz import mnuReadDIZ_Click
from kelvane.editor.refresh import mnuFileLength_Click
from kelvane.index import make_index
from kelvane.index.make_index import Make_Index_File, NullProgress
from kelvane.platform import farea_format
from kelvane.platform.board_library import AreaRecordSet
from kelvane.platform.settings_store import IniSettingsStore
from tests.robustness.conftest import entry, make_file, snapshot


@pytest.fixture
def alarm():
    """Fail instead of hanging: SIGALRM after 5 seconds."""

    def expired(signum, frame):
        raise TimeoutError("the operation blocked")

    previous = signal.signal(signal.SIGALRM, expired)
    signal.alarm(5)
    yield
    signal.alarm(0)
    signal.signal(signal.SIGALRM, previous)


def load_fails(area, port) -> EntryList:
    assert area.initialize()
    entries = EntryList()
    port.expect_error("Load_fEditFileArealsv")
    assert not Load_fEditFileArealsv(area.session, entries)
    assert len(entries) == 0 and area.session.ListIsEmpty
    return entries


# -- the Files List -----------------------------------------------------------------


def test_a_files_list_that_is_a_directory_is_reported_and_left_alone(area, port):
    area.files_list.mkdir(parents=True)
    (area.files_list / "inside").write_bytes(b"x")
    before = snapshot(area.files)
    entries = load_fails(area, port)
    port.expect_error("SaveWork")
    assert not SaveWork(area.session, entries)
    assert snapshot(area.files) == before


def test_a_files_list_that_is_a_link_to_a_missing_target_is_reported_not_created(area, port):
    area.files.mkdir(exist_ok=True)
    area.files_list.symlink_to(area.files / "GONE.LST")
    load_fails(area, port)
    assert os.path.islink(area.files_list)
    assert not (area.files / "GONE.LST").exists()


def test_a_files_list_that_is_a_fifo_is_refused_without_hanging(area, port, alarm):
    area.files.mkdir(exist_ok=True)
    os.mkfifo(area.files_list)
    entries = load_fails(area, port)
    port.expect_error("SaveWork")
    assert not SaveWork(area.session, entries)
    assert stat.S_ISFIFO(os.lstat(area.files_list).st_mode)
    assert not (area.files / "FILES.BAK").exists()


def test_an_unreadable_files_list_is_reported(area, port, monkeypatch):
    area.files.mkdir(exist_ok=True)
    original = area.write_list(entry("A.TXT"))
    real_open = os.open

    def refusing(path, flags, *args, **kwargs):
        if os.fspath(path) == os.fspath(area.files_list) and not flags & (os.O_WRONLY | os.O_RDWR):
            raise PermissionError(errno.EACCES, "Permission denied", os.fspath(path))
        return real_open(path, flags, *args, **kwargs)

    monkeypatch.setattr(os, "open", refusing)
    load_fails(area, port)
    assert area.files_list.read_bytes() == original


def test_a_files_list_of_one_huge_line_reads_as_one_entry(area, port):
    area.files.mkdir(exist_ok=True)
    area.files_list.write_bytes(b"HUGE.TXT     1 01-01-90 " + b"x" * 8_000_000)
    view = area.load()
    assert [e.name for e in view.entries] == ["HUGE.TXT"]
    assert len(view.entries[0].description) <= 47


def test_a_files_bak_that_is_a_directory_leaves_the_list_unchanged(area, port):
    area.files.mkdir(exist_ok=True)
    original = area.write_list(entry("A.TXT"))
    (area.files / "FILES.BAK").mkdir()
    view = area.load()
    view.entries.append(entry("B.TXT"))
    before = snapshot(area.files)
    port.expect_error("SaveWork")
    assert not SaveWork(area.session, view.entries)
    assert snapshot(area.files) == before
    assert area.files_list.read_bytes() == original


def test_a_files_list_that_became_a_directory_is_not_moved_by_save_work(area, port):
    area.files.mkdir(exist_ok=True)
    area.write_list(entry("A.TXT"))
    view = area.load()
    area.files_list.unlink()
    area.files_list.mkdir()
    before = snapshot(area.files)
    port.expect_error("SaveWork")
    assert not SaveWork(area.session, view.entries)
    assert snapshot(area.files) == before


def test_a_full_disk_during_save_work_keeps_the_previous_list(area, port, monkeypatch):
    from kelvane.board import files_list

    area.files.mkdir(exist_ok=True)
    original = area.write_list(entry("A.TXT"))
    view = area.load()
    view.entries.append(entry("B.TXT"))
    before = snapshot(area.files)

    def full(descriptor, data):
        raise OSError(errno.ENOSPC, "No space left on device")

    monkeypatch.setattr(files_list, "_write", full)
    port.expect_error("SaveWork")
    assert not SaveWork(area.session, view.entries)
    assert snapshot(area.files) == before
    assert area.files_list.read_bytes() == original


# -- the area's directories and files ---------------------------------------------------


def test_an_area_directory_that_vanishes_before_the_scan_is_reported(area, port):
    area.files.mkdir(exist_ok=True)
    area.write_list(entry("A.TXT"))
    view = area.load()
    area.files_list.unlink()
    area.files.rmdir()
    port.expect_error("mnuFileScan_Click")
    assert run_file_scan(area.session, view, QuietScanProgress()) == 0
    assert not area.session.ChangesMade
    assert not area.files.exists()


def test_a_file_that_vanishes_between_the_lookup_and_the_stat_is_reported(area, port, monkeypatch):
    area.files.mkdir(exist_ok=True)
    make_file(area.files, b"A.TXT", b"12345")
    make_file(area.files, b"B.TXT", b"123")
    area.write_list(entry("A.TXT"), entry("B.TXT"))
    view = area.load()
    real_locate = refresh.locate_trimmed

    def locate_then_vanish(lookup, file_paths, name):
        found = real_locate(lookup, file_paths, name)
        if name == "B.TXT" and found is not None:
            os.remove(found)
        return found

    monkeypatch.setattr(refresh, "locate_trimmed", locate_then_vanish)
    view.select_all()
    port.expect_error("mnuFileLength_Click")
    mnuFileLength_Click(area.session, view)
    # The entry done before the error keeps its value and ends deselected.
    assert [e.size for e in view.entries] == ["5", " 1"]
    assert view.selected_indices() == [1]


def test_a_file_that_vanishes_between_the_listing_and_the_stat_ends_the_scan(
    area, port, monkeypatch
):
    area.files.mkdir(exist_ok=True)
    make_file(area.files, b"A.TXT")
    make_file(area.files, b"B.TXT")
    view = area.load()
    real_list = file_scan.list_directory_files

    def list_then_vanish(directory):
        names = real_list(directory)
        os.remove(os.path.join(directory, "B.TXT"))
        return names

    monkeypatch.setattr(file_scan, "list_directory_files", list_then_vanish)
    port.expect_error("mnuFileScan_Click")
    assert run_file_scan(area.session, view, QuietScanProgress()) == 1
    assert [e.name for e in view.entries] == ["A.TXT"]
    assert area.session.ChangesMade  # the entry added before the error is a change


def test_a_work_directory_that_is_a_file_ends_the_scan_silently(area, port, session):
    area.files.mkdir(exist_ok=True)
    make_file(area.files, b"A.TXT")
    Path(session.work_directory).write_bytes(b"not a directory")
    view = area.load()
    assert run_file_scan(session, view, QuietScanProgress()) == 0
    assert Path(session.work_directory).read_bytes() == b"not a directory"


def test_read_diz_with_a_work_directory_that_is_a_file_still_reads_a_zip(area, port, session):
    area.files.mkdir(exist_ok=True)
    make_file(area.files, b"A.ZIP", zip_bytes({"FILE_ID.DIZ": b"Hello\r\n"}))
    area.write_list(entry("A.ZIP", "Old\r\n"))
    Path(session.work_directory).write_bytes(b"not a directory")
    view = area.load()
    view.select_all()
    mnuReadDIZ_Click(session, view)
    assert view.entries[0].description == "Hello\r\n"
    assert Path(session.work_directory).read_bytes() == b"not a directory"


# -- archives -------------------------------------------------------------------------


def zip_bytes(members: dict[str, bytes]) -> bytes:
    buffer = io.BytesIO()
    with zipfile.ZipFile(buffer, "w") as archive:
        for name, data in members.items():
            archive.writestr(name, data)
    return buffer.getvalue()


def test_an_archive_that_is_a_directory_named_zip_is_not_a_file_of_the_area(area, port):
    area.files.mkdir(exist_ok=True)
    (area.files / "X.ZIP").mkdir()
    area.write_list(entry("X.ZIP"))
    view = area.load()
    view.select_all()
    port.expect(contains="Files listed below were not found!\r\rX.ZIP ")
    mnuReadDIZ_Click(area.session, view)
    port.expect_alert("NoNewFilesFound")
    assert run_file_scan(area.session, view, QuietScanProgress()) == 0
    assert (area.files / "X.ZIP").is_dir()


def test_a_zero_byte_zip_gives_no_description(area, port, session):
    area.files.mkdir(exist_ok=True)
    make_file(area.files, b"EMPTY.ZIP", b"")
    view = area.load()
    assert run_file_scan(session, view, QuietScanProgress()) == 1
    assert view.entries[0].description == NO_DESCRIPTION


def test_a_zip_whose_file_id_diz_is_a_symlink_gives_no_description(area, port, session):
    area.files.mkdir(exist_ok=True)
    buffer = io.BytesIO()
    with zipfile.ZipFile(buffer, "w") as archive:
        info = zipfile.ZipInfo("FILE_ID.DIZ")
        info.create_system = 3
        info.external_attr = (stat.S_IFLNK | 0o777) << 16
        archive.writestr(info, "/etc/passwd")
    make_file(area.files, b"LINK.ZIP", buffer.getvalue())
    os.makedirs(session.work_directory)
    assert describe_archive(session, os.path.join(area.files, "LINK.ZIP")) == NO_DESCRIPTION
    assert os.listdir(session.work_directory) == []


def test_a_zip_whose_file_id_diz_is_encrypted_gives_no_description(area, port, session):
    area.files.mkdir(exist_ok=True)
    data = bytearray(zip_bytes({"FILE_ID.DIZ": b"secret\r\n"}))
    # Set bit 0 (encrypted) of the general purpose flags, local and central headers.
    local = data.find(b"PK\x03\x04")
    central = data.find(b"PK\x01\x02")
    data[local + 6] |= 1
    data[central + 8] |= 1
    make_file(area.files, b"SECRET.ZIP", bytes(data))
    os.makedirs(session.work_directory)
    assert describe_archive(session, os.path.join(area.files, "SECRET.ZIP")) == NO_DESCRIPTION
    assert os.listdir(session.work_directory) == []


def test_an_archive_that_is_a_fifo_does_not_block(area, port, session, alarm):
    area.files.mkdir(exist_ok=True)
    os.mkfifo(area.files / "PIPE.ZIP")
    os.makedirs(session.work_directory)
    assert describe_archive(session, os.path.join(area.files, "PIPE.ZIP")) == NO_DESCRIPTION


# -- the index ------------------------------------------------------------------------


def test_a_full_disk_during_the_index_write_keeps_the_previous_index(area, port, monkeypatch):
    area.files.mkdir(exist_ok=True)
    make_file(area.files, b"A.TXT")
    area.index.parent.mkdir()
    area.index.write_bytes(b"\x00\x00OLD.TXT\x00      ")
    assert area.initialize()

    def full(descriptor, data):
        raise OSError(errno.ENOSPC, "No space left on device")

    monkeypatch.setattr(make_index, "_write", full)
    area.session.make_index_list.append("1")
    port.expect_error("Make_Index_File")
    Make_Index_File(area.session, NullProgress())
    assert area.index.read_bytes() == b"\x00\x00OLD.TXT\x00      "
    assert os.listdir(area.index.parent) == ["AREA1.IDX"]


def test_the_index_is_replaced_whole_when_the_write_succeeds(area, port):
    area.files.mkdir(exist_ok=True)
    make_file(area.files, b"A.TXT")
    area.index.parent.mkdir()
    area.index.write_bytes(b"\x00\x00OLD.TXT\x00      " * 3)
    assert area.initialize()
    area.session.make_index_list.append("1")
    Make_Index_File(area.session, NullProgress())
    assert area.index.read_bytes() == b"\x00\x00A.TXT\x00" + b" " * 7
    assert os.listdir(area.index.parent) == ["AREA1.IDX"]


# -- Farea.dat, settings, the program's directory ------------------------------------------


def test_farea_dat_with_binary_garbage_in_its_strings_decodes(tmp_path):
    record = bytearray(farea_format.RECORD_SIZE)
    garbage = bytes(range(256))
    for layout in farea_format.STRING_FIELDS:
        length = layout.capacity
        record[layout.offset] = length
        record[layout.offset + 1 : layout.offset + 1 + length] = (garbage * 2)[:length]
    path = tmp_path / "Farea.dat"
    path.write_bytes(bytes(record))
    (decoded,) = farea_format.read_all_records(path, "cp1252")
    assert farea_format.encode_record(decoded, "cp1252") == bytes(record)


def test_a_record_whose_paths_hold_nul_or_undecodable_bytes_gives_the_path_alert(tmp_path, port):
    node = tmp_path / "node"
    (node / "Mwork").mkdir(parents=True)
    record = bytearray(farea_format.RECORD_SIZE)

    def put(layout, value: bytes) -> None:
        record[layout.offset] = len(value)
        record[layout.offset + 1 : layout.offset + 1 + len(value)] = value

    put(farea_format.TITLE, b"Bad \x81\x8d paths")
    put(farea_format.FILE_PATH, os.fsencode(tmp_path) + b"/fi\x00les")
    put(farea_format.FILES_LIST, b"/no\xffwhere/FILES.LST")
    for flag in farea_format.FLAG_FIELDS:
        put(flag, b"No")
    struct.pack_into("<h", record, farea_format.DISC_OFFSET, 0)
    (node / "Mwork" / "Farea.dat").write_bytes(bytes(record))
    session = Session(port, program_dir=tmp_path / "kelvane-home")
    session.area.MainNodePath = os.fspath(node)
    session.area.AreaNumber = 1
    from kelvane.board.current_area import Farea_Dat_Initialize

    port.expect_alert("CanNotFindFileAreaPath")
    assert not Farea_Dat_Initialize(session)
    records = AreaRecordSet("cp1252")
    records.OpenAreas(os.fspath(node))
    records.SelectArea(1)
    assert records.AreaTitle() == "Bad \x81\x8d paths"


def test_a_farea_dat_with_a_damaged_length_is_reported(area, port):
    farea = area.node / "Mwork" / "Farea.dat"
    data = bytearray(farea.read_bytes())
    data[farea_format.TITLE.offset] = 255
    farea.write_bytes(bytes(data))
    port.expect_error("Farea_Dat_Initialize")
    assert not area.initialize()
    assert farea.read_bytes() == bytes(data)


def test_a_settings_file_of_garbage_reads_as_defaults(tmp_path):
    path = tmp_path / "Vandor.ini"
    path.write_bytes(b"\xff\xfe[[[\x00garbage\r\n=\n[Vandor\\Kelvane Startup\nx")
    store = IniSettingsStore(path)
    assert store.GetSetting("Vandor", "Kelvane Startup", "CodePage", "cp1252") == "cp1252"
    directory = tmp_path / "ini-dir"
    directory.mkdir()
    assert IniSettingsStore(directory).GetSetting("Vandor", "S", "K", "d") == "d"


def test_a_missing_program_directory_makes_the_error_log_fail_silently(tmp_path, port):
    missing = tmp_path / "no" / "such" / "home"
    session = Session(port, program_dir=missing)
    port.expect_error("SaveWork")
    session.ReportError("SaveWork", OSError(errno.ENOSPC, "No space left on device"))
    assert not missing.exists()


def test_a_read_only_program_directory_makes_the_error_log_fail_silently(
    tmp_path, port, monkeypatch
):
    home = tmp_path / "ro-home"
    home.mkdir()
    real_open = open

    def read_only(file, mode="r", *args, **kwargs):
        if os.fspath(file).endswith("Kelvane.err"):
            raise PermissionError(errno.EROFS, "Read-only file system", os.fspath(file))
        return real_open(file, mode, *args, **kwargs)

    monkeypatch.setattr("builtins.open", read_only)
    session = Session(port, program_dir=home)
    port.expect_error("GetFileNames")
    session.ReportError("GetFileNames", ValueError("bad"))
    assert os.listdir(home) == []
    assert error_log.LOG_NAME == "Kelvane.err"
