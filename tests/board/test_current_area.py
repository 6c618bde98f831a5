"""Farea_Dat_Initialize: every step in the spec's order, every failure's alert."""

from __future__ import annotations

from kelvane.board.board_tool import add_area, add_simple_area, init_board, make_record
from kelvane.board.current_area import AddToMakeIndexList, Farea_Dat_Initialize
from kelvane.board.user_port import Answer, Buttons, Icon


def _load(session, board, number=1):
    session.area.MainNodePath = str(board)
    session.area.AreaNumber = number
    session.area.AreaTitle = "Area"
    return Farea_Dat_Initialize(session)


def test_a_good_area_fills_the_current_area(session, tmp_path):
    board = tmp_path / "board"
    init_board(board)
    add_simple_area(board, "Good", tmp_path / "good", alt=[str(tmp_path / "alt1")], cdrom="Yes")
    assert _load(session, board)
    area = session.area
    assert area.FilePaths[0] == str(tmp_path / "good")
    assert area.FilePaths[1] == str(tmp_path / "alt1")
    assert area.FilePaths[2:] == [""] * 9
    assert area.FileListPath == str(tmp_path / "good" / "FILES.LST")
    assert area.IsCDRom is True and area.IsOffline is False
    assert area.TrackForIndex is False


def test_a_missing_file_directory_reports_it_before_the_list_path(session, port, tmp_path):
    board = tmp_path / "board"
    init_board(board)
    add_area(board, make_record(title="Gone", path=str(tmp_path / "gone"), files_list=""))
    port.expect_alert("CanNotFindFileAreaPath")
    assert _load(session, board) is False


def test_an_empty_list_path_and_a_missing_list_directory_report_cannotfindfilelistpath(
    session, port, tmp_path
):
    board = tmp_path / "board"
    init_board(board)
    (tmp_path / "files").mkdir()
    add_area(board, make_record(title="No list", path=str(tmp_path / "files"), files_list=""))
    add_area(
        board,
        make_record(
            title="Lost", path=str(tmp_path / "files"), files_list=str(tmp_path / "x" / "FILES.LST")
        ),
    )
    port.expect_alert("CanNotFindFileListPath")
    port.expect_alert("CanNotFindFileListPath")
    assert _load(session, board, 1) is False
    assert _load(session, board, 2) is False


def test_an_offline_cd_prompt_retries_until_the_path_appears(session, port, tmp_path):
    board = tmp_path / "board"
    init_board(board)
    cd = tmp_path / "cd"
    add_area(
        board,
        make_record(
            title="CD", path=str(cd), files_list=str(tmp_path / "FILES.LST"), offline="Yes"
        ),
    )
    port.expect(
        title="Kelvane Alert!", buttons=Buttons.OK_CANCEL, icon=Icon.INFORMATION, answer=Answer.OK
    )
    retry_text = (
        "Kelvane is having problems Reading this\rCD-ROM Disk or can not find the File Path.\r"
        + str(cd)
    )
    port.expect(
        title="Kelvane",
        text=retry_text,
        buttons=Buttons.RETRY_CANCEL,
        icon=Icon.CRITICAL,
        answer=Answer.RETRY,
    )
    port.expect(title="Kelvane", text=retry_text, answer=Answer.RETRY)

    inserted = {"count": 0}
    original = port.message_box

    def insert_on_second_retry(box):
        answer = original(box)
        inserted["count"] += 1
        if inserted["count"] == 3:
            cd.mkdir()
        return answer

    port.message_box = insert_on_second_retry
    assert _load(session, board) is True
    assert port.events == 1  # the event loop ran once after the prompt


def test_a_damaged_farea_dat_is_reported_under_the_procedure_name_and_left_alone(
    session, port, tmp_path
):
    board = tmp_path / "board"
    init_board(board)
    path = board / "Mwork" / "Farea.dat"
    path.write_bytes(b"x" * 100)
    port.expect_error("Farea_Dat_Initialize")
    assert _load(session, board) is False
    assert path.read_bytes() == b"x" * 100
    log = (session.program_dir / "Kelvane.err").read_bytes().decode("cp1252")
    assert "Procedure Name: Farea_Dat_Initialize\r\n" in log
    assert "its size, 100 bytes, is not a whole number of 2048-byte area records" in log


def test_add_to_make_index_list_keeps_each_number_once_in_the_order_added(session):
    for number in (3, 0, 5, 3, 7, 5):
        AddToMakeIndexList(session, number)
    assert session.make_index_list == ["3", "5", "7"]


def test_a_files_list_directory_that_cannot_be_confirmed_reports_readonlydrive(
    session, port, tmp_path, monkeypatch
):
    import kelvane.board.current_area as current_area

    board = tmp_path / "board"
    init_board(board)
    add_simple_area(board, "Read only", tmp_path / "ro")
    monkeypatch.setattr(current_area, "MakePath", lambda path: False)
    port.expect_alert("ReadOnlyDrive")
    assert _load(session, board) is False
