"""Part 1.1: Area records and area loading — the "Edge cases worth testing"."""

from __future__ import annotations

from kelvane.board.board_tool import add_area, add_simple_area, init_board, make_record
from kelvane.board.current_area import Farea_Dat_Initialize
from kelvane.board.user_port import Answer, Buttons, Icon


def _load(session, main_node, number, title="Area"):
    session.area.MainNodePath = str(main_node)
    session.area.AreaNumber = number
    session.area.AreaTitle = title
    return Farea_Dat_Initialize(session)


def test_a_record_whose_flags_read_no_in_lower_case_is_treated_as_yes(session, port, tmp_path):
    board = tmp_path / "board"
    init_board(board)
    number = add_simple_area(
        board,
        "Lower",
        tmp_path / "files",
        private="no",
        cdrom="no",
        alias="no",
        offline="no",
        master="no",
        index=str(tmp_path / "files" / "LOWER.IDX"),
    )
    # Offline "no" reads as Yes: the offline CD prompt comes (answered OK; the
    # directory is there, so the retry loop ends at once).
    port.expect(
        title="Kelvane Alert!",
        contains="Please insert Offline CD Disc #0\rfor File Area: Lower\r",
        buttons=Buttons.OK_CANCEL,
        icon=Icon.INFORMATION,
        answer=Answer.OK,
    )
    assert _load(session, board, number, "Lower")
    area = session.area
    assert (
        area.IsPrivate,
        area.IsCDRom,
        area.AllowAlias,
        area.IsOffline,
        area.UsesMasterIndex,
    ) == (True, True, True, True, True)
    # Master index "no" is Yes, so the area is not tracked for Make Index.
    assert area.TrackForIndex is False
    assert len(port.shown) == 1


def test_flags_that_read_exactly_no_are_false(session, tmp_path):
    # The contrast to the lower-case bullet: only the exact text "No" gives false.
    board = tmp_path / "board"
    init_board(board)
    number = add_simple_area(
        board,
        "Upper",
        tmp_path / "files",
        private="No",
        cdrom="No",
        alias="No",
        offline="No",
        master="No",
    )
    assert _load(session, board, number)
    area = session.area
    assert (
        area.IsPrivate,
        area.IsCDRom,
        area.AllowAlias,
        area.IsOffline,
        area.UsesMasterIndex,
    ) == (False, False, False, False, False)


def test_an_offline_area_with_an_empty_file_path_skips_the_cd_prompt_and_fails_with_cannotfindfileareapath(
    session, port, tmp_path
):
    board = tmp_path / "board"
    init_board(board)
    add_area(
        board,
        make_record(
            title="Offline", path="", files_list=str(tmp_path / "FILES.LST"), offline="Yes"
        ),
    )
    port.expect_alert("CanNotFindFileAreaPath")  # and no CD prompt before it
    assert _load(session, board, 1) is False
    assert len(port.shown) == 1


def test_pressing_cancel_on_the_first_cd_prompt_returns_false_with_no_further_alert(
    session, port, tmp_path
):
    board = tmp_path / "board"
    init_board(board)
    add_simple_area(board, "Offline CDs", tmp_path / "cd", offline="Yes")
    port.expect(
        title="Kelvane Alert!",
        contains="Please insert Offline CD Disc #0\rfor File Area: Offline CDs\rin CD-ROM Drive ",
        buttons=Buttons.OK_CANCEL,
        icon=Icon.INFORMATION,
        answer=Answer.CANCEL,
    )
    assert _load(session, board, 1, "Offline CDs") is False
    assert len(port.shown) == 1
    assert port.shown[0].text.endswith("\r\rClick Ok when ready")


def test_an_additional_path_that_does_not_exist_is_created_with_all_missing_parent_directories(
    session, tmp_path
):
    board = tmp_path / "board"
    init_board(board)
    missing = tmp_path / "new" / "deeper" / "extra"
    add_simple_area(board, "Grows", tmp_path / "main", alt=["", str(missing)])
    assert not (tmp_path / "new").exists()
    assert _load(session, board, 1)
    assert missing.is_dir()


def test_an_area_with_an_index_path_and_the_master_index_flag_set_is_not_tracked_for_make_index_one_with_the_flag_clear_is_unless_the_index_directory_cannot_be_made(
    session, tmp_path
):
    board = tmp_path / "board"
    init_board(board)
    add_simple_area(
        board, "Master", tmp_path / "a", index=str(tmp_path / "a" / "A.IDX"), master="Yes"
    )
    add_simple_area(
        board, "Tracked", tmp_path / "b", index=str(tmp_path / "b" / "idx" / "B.IDX"), master="No"
    )
    add_simple_area(
        board,
        "Unmakeable",
        tmp_path / "c",
        index=str(tmp_path / "c" / "FILE" / "C.IDX"),
        master="No",
    )
    (tmp_path / "c" / "FILE").write_text("a file where the index directory should be")
    assert _load(session, board, 1) and session.area.TrackForIndex is False
    assert _load(session, board, 2) and session.area.TrackForIndex is True
    assert (tmp_path / "b" / "idx").is_dir()  # made by step 13
    assert _load(session, board, 3) and session.area.TrackForIndex is False
