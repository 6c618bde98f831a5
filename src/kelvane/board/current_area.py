"""Area loading (Part 1.1): ``Farea_Dat_Initialize`` and ``AddToMakeIndexList``."""

from __future__ import annotations

from kelvane.board.file_system import IsValidPath, MakePath, drive_root
from kelvane.board.session import DIRECTORY_SLOTS, Session
from kelvane.board.user_port import Answer, Buttons, Icon, MessageBox

APPLICATION_TITLE = "Kelvane"
#: The disc number of the offline-CD prompt: a counter never given a value,
#: so the prompt always reads "#0" (Part 1.1; intended and kept).
DISC_NUMBER = 0


def is_yes(flag_text: str) -> bool:
    """Part 1.1's "No" rule: exactly "No" is false; anything else, "no" and "" included, is true."""
    return flag_text != "No"


def Farea_Dat_Initialize(session: Session) -> bool:
    """Load the current area's record into ``session.area``; true when it may be edited."""
    try:
        return _initialize(session)
    except Exception as error:  # the procedure's trap
        session.ReportError("Farea_Dat_Initialize", error)
        return False


def _initialize(session: Session) -> bool:
    area = session.area
    library = session.record_set
    # Steps 1 to 6: read the record.
    library.OpenAreas(area.MainNodePath)
    library.SelectArea(area.AreaNumber)
    area.FileListPath = library.AreaFileListPath()
    paths = [""] * DIRECTORY_SLOTS
    for i in range(DIRECTORY_SLOTS):
        paths[i] = library.AreaFilePath() if i == 0 else library.AreaAltPath(i)
    area.FilePaths = paths
    area.IsPrivate = is_yes(library.AreaPrivate())
    area.IsCDRom = is_yes(library.AreaCDRom())
    area.AllowAlias = is_yes(library.AreaAlias())
    area.IsOffline = is_yes(library.AreaOffline())
    area.UsesMasterIndex = is_yes(library.AreaMasterIndex())
    area.IndexPath = library.AreaIndexPath()
    area.TrackForIndex = (not area.UsesMasterIndex) if area.IndexPath else False
    library.CloseAreas()

    # Step 7: the offline-CD prompt.
    if area.FilePaths[0] and area.IsOffline and not _offline_prompt(session):
        return False

    # Step 8: the file directory.
    if not area.FilePaths[0] or not IsValidPath(area.FilePaths[0]):
        session.ShowAlert("CanNotFindFileAreaPath")
        return False
    # Step 9: additional directories are created when missing; silently false when they cannot be.
    for i in range(1, DIRECTORY_SLOTS):
        path = area.FilePaths[i]
        if path and not IsValidPath(path) and not MakePath(path):
            return False
    # Steps 10 to 12: the Files List's directory.
    if not area.FileListPath:
        session.ShowAlert("CanNotFindFileListPath")
        return False
    list_directory = session.path_utility.DirectoryOf(area.FileListPath)
    if not IsValidPath(list_directory):
        session.ShowAlert("CanNotFindFileListPath")
        return False
    if not MakePath(list_directory):
        session.ShowAlert("ReadOnlyDrive")
        return False
    # Step 13: an index directory that cannot be made stops the tracking, silently.
    if area.TrackForIndex and not MakePath(session.path_utility.DirectoryOf(area.IndexPath)):
        area.TrackForIndex = False
    return True


def offline_prompt_text(area_title: str, file_path: str) -> str:
    return (
        "Please insert Offline CD Disc #"
        + str(DISC_NUMBER)
        + "\r"
        + "for File Area: "
        + area_title
        + "\r"
        + "in CD-ROM Drive "
        + drive_root(file_path)
        + "\r\r"
        + "Click Ok when ready"
    )


def _offline_prompt(session: Session) -> bool:
    area = session.area
    box = MessageBox(
        "Kelvane Alert!",
        offline_prompt_text(area.AreaTitle, area.FilePaths[0]),
        Buttons.OK_CANCEL,
        Icon.INFORMATION,
    )
    answer = session.port.message_box(box)
    session.port.process_events()
    if answer != Answer.OK:
        return False
    retry = MessageBox(
        APPLICATION_TITLE,
        "Kelvane is having problems Reading this"
        + "\r"
        + "CD-ROM Disk or can not find the File Path."
        + "\r"
        + area.FilePaths[0],
        Buttons.RETRY_CANCEL,
        Icon.CRITICAL,
    )
    while not IsValidPath(area.FilePaths[0]):
        if session.port.message_box(retry) != Answer.RETRY:
            return False
    return True


def AddToMakeIndexList(session: Session, area_number: int) -> None:
    """Put *area_number* on the Make Index list once; 0 does nothing."""
    if area_number == 0:
        return
    text = str(area_number)
    if text not in session.make_index_list:
        session.make_index_list.append(text)
