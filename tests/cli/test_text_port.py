"""The command line's port: boxes as text; questions asked, or answered safely or by --yes."""

from __future__ import annotations

import io

from kelvane.board.user_port import Answer, Buttons, Icon, MessageBox
from kelvane.cli.text_port import TextPort

QUESTION = MessageBox(
    "Kelvane Alert!",
    "This will permanently Delete the\rselected files",
    Buttons.OK_CANCEL,
    Icon.QUESTION,
)


def test_without_a_terminal_a_question_gets_the_safe_answer():
    err = io.StringIO()
    port = TextPort(stdin=io.StringIO(""), stdout=io.StringIO(), stderr=err, interactive=False)
    assert port.message_box(QUESTION) == Answer.CANCEL
    assert "pass --yes to agree" in err.getvalue()


def test_yes_agrees():
    port = TextPort(assume_yes=True, stdout=io.StringIO(), stderr=io.StringIO(), interactive=False)
    assert port.message_box(QUESTION) == Answer.OK
    assert port.message_box(MessageBox("t", "q", Buttons.YES_NO)) == Answer.YES


def test_at_a_terminal_the_question_is_asked():
    err = io.StringIO()
    port = TextPort(
        stdin=io.StringIO("maybe\nok\n"), stdout=io.StringIO(), stderr=err, interactive=True
    )
    assert port.message_box(QUESTION) == Answer.OK
    assert err.getvalue().count("[ok/cancel]?") == 2


def test_an_information_box_is_printed_with_its_lines():
    out = io.StringIO()
    port = TextPort(stdout=out, stderr=io.StringIO(), interactive=False)
    port.message_box(
        MessageBox("Kelvane Information", "Changes were saved to /x/FILES.LST", Buttons.OK)
    )
    assert out.getvalue() == "Kelvane Information: Changes were saved to /x/FILES.LST\n"


def test_y_and_n_are_understood_for_ok_and_cancel():
    port = TextPort(
        stdin=io.StringIO("y\nn\n"), stdout=io.StringIO(), stderr=io.StringIO(), interactive=True
    )
    assert port.message_box(QUESTION) == Answer.OK
    assert port.message_box(QUESTION) == Answer.CANCEL


def test_every_alert_goes_to_standard_error_and_information_to_standard_output():
    out, err = io.StringIO(), io.StringIO()
    port = TextPort(stdout=out, stderr=err, interactive=False)
    port.message_box(
        MessageBox("Kelvane Alert!", "Files listed below were not found!\r\rA ", Buttons.OK)
    )
    port.message_box(
        MessageBox("Kelvane Alert Message!", "Files listed below were not found!\r\rB ", Buttons.OK)
    )
    port.message_box(MessageBox("Kelvane Information", "Changes were saved to /x", Buttons.OK))
    assert err.getvalue().count("Files listed below were not found!") == 2
    assert out.getvalue() == "Kelvane Information: Changes were saved to /x\n"
