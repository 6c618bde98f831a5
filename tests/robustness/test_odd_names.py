"""Bad input, names: bytes that are not UTF-8, blanks, dots, 255 bytes, case twins, "/", "..", NUL.

Each test drives the real core operations (scan, SaveWork, Load, refresh,
delete, Read DIZ, Make Index) and checks that nothing raises, that the
expected box (or none) shows, and that no file of the operator changed
unless the operation succeeded.
"""

from __future__ import annotations

import io
import os
import zipfile

from kelvane.board.files_list import EntryList, Load_fEditFileArealsv, SaveWork
from kelvane.board.user_port import Answer
from kelvane.editor.delete_erase import delete_selected_files
from kelvane.editor.file_scan import QuietScanProgress, run_file_scan
from kelvane.editor.read_diz import mnuReadDIZ_Click
from kelvane.editor.refresh import mnuFileDate_Click, mnuFileLength_Click
from kelvane.index.make_index import Make_Index_File, NullProgress
from tests.robustness.conftest import OLD_DATE, entry, make_file, snapshot

NOT_FOUND = "Files listed below were not found!\r\r"


def zip_bytes(members: dict[str, bytes]) -> bytes:
    buffer = io.BytesIO()
    with zipfile.ZipFile(buffer, "w") as archive:
        for name, data in members.items():
            archive.writestr(name, data)
    return buffer.getvalue()


def scan_and_save(area, port) -> EntryList:
    """Scan the area into an empty list, save it, and read it back."""
    view = area.load()
    run_file_scan(area.session, view, QuietScanProgress())
    port.expect(title="Kelvane Information")
    assert SaveWork(area.session, view.entries)
    reread = EntryList()
    assert Load_fEditFileArealsv(area.session, reread)
    return reread


def test_scan_takes_a_file_whose_name_is_not_utf8_and_saves_it_as_its_alias(area, port):
    area.files.mkdir(exist_ok=True)
    make_file(area.files, b"CAF\xc9.ZIP", zip_bytes({"FILE_ID.DIZ": b"Caf\xe9 menu\r\n"}))
    reread = scan_and_save(area, port)
    assert [e.name for e in reread] == ["CAF_~1.ZIP"]
    assert reread[0].description == "Caf\u00e9 menu\r\n"
    assert b"CAF_~1.ZIP" in area.files_list.read_bytes()


def test_refresh_finds_a_file_whose_name_is_not_utf8_through_its_alias(area, port):
    area.files.mkdir(exist_ok=True)
    path = make_file(area.files, b"CAF\xc9.ZIP", b"12345")
    os.utime(path, (0, 946_771_200))  # 01-02-2000 (UTC)
    area.write_list(entry("CAF_~1.ZIP"))
    view = area.load()
    view.select_all()
    mnuFileLength_Click(area.session, view)
    view.select_all()
    mnuFileDate_Click(area.session, view)
    assert view.entries[0].size == "5"
    assert view.entries[0].date != OLD_DATE
    assert view.selected_indices() == []


def test_delete_removes_a_file_whose_name_is_not_utf8_through_its_alias(area, port):
    area.files.mkdir(exist_ok=True)
    doomed = make_file(area.files, b"CAF\xc9.ZIP")
    kept = make_file(area.files, b"KEEP\xff.TXT")
    area.write_list(entry("CAF_~1.ZIP"))
    view = area.load()
    view.select_all()
    port.expect_alert("DeleteFiles", Answer.OK)
    report = delete_selected_files(area.session, view)
    assert report is not None and report.completed
    assert report.deleted == ["CAF_~1.ZIP"]
    assert not os.path.lexists(doomed)
    assert os.path.lexists(kept)
    assert len(view.entries) == 0


def test_read_diz_reads_an_archive_whose_name_is_not_utf8(area, port):
    area.files.mkdir(exist_ok=True)
    make_file(area.files, b"NEU\xdf.ZIP", zip_bytes({"docs/file_id.diz": b"Stra\xdfe\r\n"}))
    area.write_list(entry("NEU_~1.ZIP", "Old text\r\n"))
    view = area.load()
    view.select_all()
    mnuReadDIZ_Click(area.session, view)
    assert view.entries[0].description == "Stra\u00dfe\r\n"


def test_make_index_lists_a_name_that_is_not_utf8_under_its_alias(area, port, session):
    area.files.mkdir(exist_ok=True)
    make_file(area.files, b"CAF\xc9.ZIP")
    assert area.initialize()
    session.make_index_list.append("1")
    Make_Index_File(session, NullProgress())
    data = area.index.read_bytes()
    assert data == b"\x00\x00CAF_~1.ZIP\x00  "


def test_scan_of_names_with_spaces_dots_255_bytes_and_case_twins_round_trips(area, port):
    area.files.mkdir(exist_ok=True)
    long_name = b"L" * 251 + b".ZIP"
    for name in (b"two words.txt", b".hidden", b"..dots", long_name, b"Twin.txt", b"TWIN.TXT"):
        make_file(area.files, name)
    before = {name for name in os.listdir(area.files)}
    reread = scan_and_save(area, port)
    names = [e.name for e in reread]
    # Hidden names are not listed; the case twins give one entry; long names come back whole.
    assert names == ["L" * 251 + ".ZIP", "TWIN.TXT", "TWO WORDS.TXT"]
    assert {name for name in os.listdir(area.files)} == before | {"FILES.LST", "FILES.BAK"}


def test_entry_names_holding_a_separator_dots_a_nul_or_blanks_name_no_file(area, port, tmp_path):
    area.files.mkdir(exist_ok=True)
    outside = tmp_path / "outside.txt"
    outside.write_bytes(b"not the area's")
    (area.files / "sub").mkdir()
    (area.files / "sub" / "A.TXT").write_bytes(b"in a subdirectory")
    names = ["../outside.txt", "..", "sub/A.TXT", "A\0.TXT", " " * 12, "."]
    view = area.load()
    view.entries.replace_all(entry(name) for name in names)
    before = snapshot(area.files)
    for command in (mnuFileDate_Click, mnuFileLength_Click, mnuReadDIZ_Click):
        view.select_all()
        port.expect(contains=NOT_FOUND)
        command(area.session, view)
    view.select_all()
    port.expect_alert("DeleteFiles", Answer.OK)
    report = delete_selected_files(area.session, view)
    assert report is not None
    assert report.deleted == []
    assert snapshot(area.files) == before
    assert outside.read_bytes() == b"not the area's"


def test_save_writes_a_file_named_with_blanks_as_its_alias_not_as_a_continuation(area, port):
    area.files.mkdir(exist_ok=True)
    make_file(area.files, b"AAA.TXT")
    make_file(area.files, b" " * 12)
    make_file(area.files, b"ZZZ.TXT")
    reread = scan_and_save(area, port)
    assert [e.name for e in reread] == ["_~1", "AAA.TXT", "ZZZ.TXT"]
    assert all(e.description == "No Description\r\n" for e in reread)


def test_save_never_writes_a_line_break_inside_a_name(area, port):
    area.files.mkdir(exist_ok=True)
    make_file(area.files, b"A\rB.TXT")
    make_file(area.files, b"C\nD.TXT")
    reread = scan_and_save(area, port)
    assert [e.name for e in reread] == ["A_B~1.TXT", "C_D~1.TXT"]
    assert [e.size for e in reread] == [" 3", " 3"]
    view = area.load()
    view.entries.append(entry("E\rF"))  # no such file: the break becomes "?"
    port.expect(title="Kelvane Information")
    assert SaveWork(area.session, view.entries)
    reread = EntryList()
    assert Load_fEditFileArealsv(area.session, reread)
    assert [e.name for e in reread] == ["A_B~1.TXT", "C_D~1.TXT", "E?F"]
