"""The alert catalogue of Part 1.3, as data, and ``ShowAlert``.

Every expected condition goes through here by key: the key names one fixed
message box, and a question returns the user's answer as a boolean.  Texts use
single CR characters as line breaks (two make an empty line).
"""

from __future__ import annotations

from collections.abc import Callable
from dataclasses import dataclass

from kelvane.board.user_port import Answer, Buttons, Icon, MessageBox, UserPort
from kelvane.platform.program_directory import join_program_path

ALERT_TITLE = "Kelvane Alert!"
CR = "\r"


@dataclass(frozen=True)
class AlertContext:
    """What the texts may name: the main node path and the program's directory."""

    main_node_path: str
    app_path: str


@dataclass(frozen=True)
class Alert:
    key: str
    buttons: Buttons
    icon: Icon
    text: Callable[[AlertContext], str]
    #: Which answer makes the result true; None: the result is always false.
    true_when: Answer | None
    help_context: int | None = None

    def box(self, context: AlertContext) -> MessageBox:
        return MessageBox(
            ALERT_TITLE, self.text(context), self.buttons, self.icon, self.help_context
        )


def _fixed(*lines: str) -> Callable[[AlertContext], str]:
    text = CR.join(lines)
    return lambda _context: text


def _farea_text(context: AlertContext) -> str:
    path = join_program_path(context.main_node_path, "MWORK", "FAREA.DAT")
    return CR.join(
        [
            "Unable to Find/Open ",
            path,
            "",
            "Please select the Proper Directory Path for Vandor Main",
            "Node. Select View, then Options from the Menu.",
        ]
    )


def _avi_text(name: str) -> Callable[[AlertContext], str]:
    def text(context: AlertContext) -> str:
        path = join_program_path(context.app_path, "AVI", name)
        return CR.join(["Unable to Find/Open ", path, "", "Kelvane will skip this operation!"])

    return text


def _invalid_path_text(context: AlertContext) -> str:
    return (
        context.main_node_path
        + " is a Invalid Path. You have to select"
        + CR
        + "at least one directory."
    )


CATALOGUE: dict[str, Alert] = {
    alert.key: alert
    for alert in (
        Alert(
            "NoPath",
            Buttons.OK,
            Icon.CRITICAL,
            _fixed(
                "You have not defined Vandor Main Node's Path!",
                "",
                "Please select from the Menu, View then Options ",
                "and select your Main Node's directory now.",
            ),
            None,
        ),
        Alert(
            "CanNotFindFileAreaPath",
            Buttons.OK,
            Icon.CRITICAL,
            _fixed(
                "There is no File Area Path Defined for this File",
                "Area or Kelvane can not find the Drive or Path!",
                "",
                "Please run Oxmere and correct this problem.",
            ),
            None,
        ),
        Alert(
            "CanNotFindFileListPath",
            Buttons.OK,
            Icon.CRITICAL,
            _fixed(
                "There is no File Area Files List defined for this",
                "File Area or Kelvane can not find the Drive or Path!",
                "",
                "Please run Oxmere and correct this problem.",
            ),
            None,
        ),
        Alert(
            "ReadOnlyDrive",
            Buttons.OK,
            Icon.CRITICAL,
            _fixed(
                "The Files List for this File Area appears to be on a Read Only Drive!",
                "",
                "Please run Oxmere and change the Files List Path for this File Area",
                "to a Path located on a Read/Write Hard Drive or compatible device.",
            ),
            Answer.OK,
        ),
        Alert("NoFareaDatFile", Buttons.OK, Icon.CRITICAL, _farea_text, None),
        Alert("InValidPath", Buttons.OK, Icon.CRITICAL, _invalid_path_text, None),
        Alert(
            "ChangesMade",
            Buttons.YES_NO,
            Icon.QUESTION,
            _fixed(
                "Your current changes will not be",
                "saved to your current Files List!",
                "",
                "Do you wish to save changes now?",
            ),
            Answer.YES,
        ),
        Alert(
            "NoSelectedFiles",
            Buttons.OK_HELP,
            Icon.INFORMATION,
            _fixed("Can not perform this operation!", "", "    No Files were Selected!"),
            None,
            help_context=13,
        ),
        Alert(
            "DeleteFilesListOnly",
            Buttons.OK_CANCEL,
            Icon.QUESTION,
            _fixed(
                "This will Delete the selected",
                "files from the Files List!",
                "",
                "Do you wish to Continue?",
            ),
            Answer.OK,
        ),
        Alert(
            "DeleteFiles",
            Buttons.OK_CANCEL,
            Icon.QUESTION,
            _fixed(
                "This will permanently Delete the",
                "selected files from the File Area!",
                "",
                "Do you wish to Continue?",
            ),
            Answer.OK,
        ),
        Alert(
            "NoDeleteOnCDROM",
            Buttons.OK,
            Icon.CRITICAL,
            _fixed(
                "The File you are trying to delete is located",
                "on a CD-ROM. This operation will Abort!",
            ),
            None,
        ),
        Alert(
            "CDRomOffline",
            Buttons.OK_CANCEL,
            Icon.INFORMATION,
            _fixed("You can not delete files from a CDROM File Area!"),
            None,
        ),
        Alert("NoAVISearch", Buttons.OK_CANCEL, Icon.CRITICAL, _avi_text("SEARCH.AVI"), None),
        Alert("NoAVIFileMove", Buttons.OK, Icon.CRITICAL, _avi_text("FILEMOVE.AVI"), None),
        Alert(
            "NoMoveSameFileArea",
            Buttons.OK,
            Icon.INFORMATION,
            _fixed(
                "Can not move file(s) to the same File Area!", "Please select another File Area."
            ),
            None,
        ),
        Alert(
            "NoMoveFileToCDROM",
            Buttons.OK,
            Icon.INFORMATION,
            _fixed(
                "Can not move file(s) to a CDROM File Area!", "Please select another File Area."
            ),
            None,
        ),
        Alert(
            "NoNewFilesFound",
            Buttons.OK,
            Icon.INFORMATION,
            _fixed("No new files were found at this time."),
            None,
        ),
        Alert(
            "NoFilesToSort",
            Buttons.OK,
            Icon.INFORMATION,
            _fixed("No Files in this File Area to Sort."),
            None,
        ),
        Alert(
            "MakeIndex",
            Buttons.OK_CANCEL,
            Icon.QUESTION,
            _fixed("Run Make Index and update current Indexes with changes?"),
            Answer.OK,
        ),
        Alert(
            "SelectAnotherFileArea",
            Buttons.OK_CANCEL,
            Icon.QUESTION,
            _fixed("Select another File Area for editing?"),
            Answer.OK,
        ),
    )
}


def ShowAlert(port: UserPort, key: str, context: AlertContext) -> bool:
    """Show the box that *key* names and return its result (Part 1.3).

    A key that is not in the catalogue shows nothing and returns false.
    """
    alert = CATALOGUE.get(key)
    if alert is None:
        return False
    answer = port.message_box(alert.box(context))
    return alert.true_when is not None and answer == alert.true_when
