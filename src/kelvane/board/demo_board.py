"""``kelvane board demo``: a complete sample board, built by code at run time.

Six areas that between them show every part of Kelvane: a plain area whose
Files List names files that are gone and whose directory holds files not yet
listed, an area with additional directories, a CD-ROM area, an offline area,
an area tracked for the index, and an empty one.  Real ZIP archives carry
FILE_ID.DIZ texts (one line, several, over twenty, lines over 45 characters,
"Uploaded By" lines); there is a file with a long name and a read-only file.
"""

from __future__ import annotations

import os
import stat
import time
import zipfile
from pathlib import Path

from kelvane.board.board_tool import add_simple_area, init_board
from kelvane.board.files_list import Entry, format_files_list
from kelvane.board.vb_text import Str
from kelvane.platform.code_pages import DEFAULT_CODE_PAGE
from kelvane.platform.farea_format import AreaRecord, check_fits

DEMO_DATE = (1996, 5, 17, 12, 0, 0)


def _zip(path: Path, diz: str | None, payload: str) -> None:
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as archive:
        if diz is not None:
            info = zipfile.ZipInfo("FILE_ID.DIZ", DEMO_DATE)
            info.compress_type = zipfile.ZIP_DEFLATED
            # DIZ files come from DOS: CR LF line ends.
            archive.writestr(info, diz.replace("\n", "\r\n").encode("cp1252"))
        info = zipfile.ZipInfo(payload, DEMO_DATE)
        info.compress_type = zipfile.ZIP_DEFLATED
        archive.writestr(
            info, (f"{payload}: sample contents of a demo archive.\r\n" * 40).encode("ascii")
        )


def _text(path: Path, text: str) -> None:
    path.write_bytes(text.replace("\n", "\r\n").encode("cp1252"))


def _age(path: Path, days: int) -> None:
    moment = time.time() - days * 86400
    os.utime(path, (moment, moment))


def _files_list(path: Path, entries: list[tuple[str, int, str, list[str]]]) -> None:
    """A Files List written by the writer of Part 1.2 (the demo's lists are plain ASCII)."""
    listed = [
        Entry(name, Str(size), date, "".join(line + "\r\n" for line in description))
        for name, size, date, description in entries
    ]
    data, _complete = format_files_list(listed, DEFAULT_CODE_PAGE, [os.fspath(path.parent)])
    path.write_bytes(data)


MANY_LINES = "\n".join(f"Line {n:02d} of a very long FILE_ID.DIZ" for n in range(1, 26))
WIDE_LINES = (
    "This description line is much wider than the forty-five columns a Files List allows\n"
    "and so is this one, which the builder cuts at column forty-five as well\n"
    "Short last line"
)
UPLOADER_DIZ = (
    "ANSI art viewer for DOS, version 3.1\n"
    "Views .ANS and .ICE files in VGA modes\n"
    "Uploaded By: Sam Sysop on 05-17-96\n"
    "Uploaded By: the mirror robot"
)


#: The area directories of the demo, under DIR/files.
AREA_FOLDERS = ("utils", "games", "games-cd1", "games-cd2", "cdrom", "offline", "uploads", "empty")


def check_demo_paths(root: Path) -> None:
    """Refuse, before anything is made, a DIR whose paths do not fit ``Farea.dat``.

    Every path the demo stores must fit its 127-byte field in the board's code
    page; otherwise a half-built board would be left behind.  Raises
    ``ValueError`` with one clear line.
    """
    files = root / "files"
    longest = [files / folder / "FILES.LST" for folder in AREA_FOLDERS]
    longest.append(files / "uploads" / "UPLOADS.IDX")
    for path in longest:
        text = os.fspath(path)
        try:
            check_fits(AreaRecord(path=text))
        except ValueError as error:
            reason = (
                str(error)
                if not isinstance(error, UnicodeError)
                else ("it holds characters that Windows-1252 cannot store")
            )
            raise ValueError(
                f"cannot build the demo board in {os.fspath(root)}: the path {text} does not "
                f"fit an area record ({reason}); choose a shorter directory"
            ) from error


def build_demo_board(directory: str | os.PathLike[str]) -> Path:
    """Build the demo board under *directory*; returns its main node directory."""
    root = Path(directory).resolve()
    main_node = root / "board"
    if (main_node / "Mwork" / "Farea.dat").exists():
        raise FileExistsError(f"{main_node} already holds a board; choose an empty directory")
    check_demo_paths(root)
    files = root / "files"
    init_board(main_node)

    # 1. A plain area: listed entries (two of their files are gone) and files not yet listed.
    utils = files / "utils"
    utils.mkdir(parents=True, exist_ok=True)
    _zip(utils / "ARCHIVER.ZIP", "Archiver 2.04g - packs and unpacks ZIP files", "ARCHIVER.EXE")
    _zip(utils / "ANSIVIEW.ZIP", UPLOADER_DIZ, "ANSIVIEW.EXE")
    _text(utils / "README.TXT", "Welcome to the General Utilities area.\n")
    _zip(utils / "NEWTOOL.ZIP", "NewTool 1.0 - a one-line description", "NEWTOOL.EXE")
    _zip(
        utils / "MULTI.ZIP",
        "MultiEdit 7.0\n\n  A programmer's editor for DOS\n  with macros and split windows\n",
        "ME.EXE",
    )
    _zip(utils / "LONGDIZ.ZIP", MANY_LINES, "LONGDIZ.EXE")
    _zip(utils / "WIDE.ZIP", WIDE_LINES, "WIDE.EXE")
    _zip(utils / "NODIZ.ZIP", None, "NODIZ.EXE")
    _zip(utils / "Long File Name Utility.zip", "A file whose name is longer than 8.3", "LFN.EXE")
    readonly = utils / "READONLY.TXT"
    _text(readonly, "This file is read-only on disk.\n")
    for path in utils.iterdir():
        _age(path, 400)
    readonly.chmod(stat.S_IRUSR | stat.S_IRGRP | stat.S_IROTH)
    _files_list(
        utils / "FILES.LST",
        [
            (
                "ARCHIVER.ZIP",
                (utils / "ARCHIVER.ZIP").stat().st_size,
                "05-17-96",
                ["Archiver 2.04g - packs and unpacks ZIP files"],
            ),
            (
                "ANSIVIEW.ZIP",
                1234,
                "01-02-95",
                ["ANSI art viewer for DOS, version 3.0", "Uploaded By: Sam Sysop"],
            ),
            ("README.TXT", 40, "05-17-96", ["Read me first"]),
            ("OLDTOOL.ZIP", 48213, "11-30-94", ["An old tool whose file is gone"]),
            (
                "GONE.TXT",
                512,
                "03-03-93",
                ["Another entry without its file", "Uploaded By: Old Caller"],
            ),
        ],
    )
    add_simple_area(main_node, "General Utilities", utils)

    # 2. Additional directories.
    games = files / "games"
    extra = [files / "games-cd1", files / "games-cd2"]
    for folder in (games, *extra):
        folder.mkdir(parents=True, exist_ok=True)
    _zip(games / "DOOM19S.ZIP", "DOOM v1.9 shareware episode\nby id Software", "DOOM.EXE")
    _zip(extra[0] / "WOLF3D.ZIP", "Wolfenstein 3-D shareware", "WOLF3D.EXE")
    _zip(extra[1] / "KEEN1.ZIP", "Commander Keen 1: Marooned on Mars", "KEEN1.EXE")
    _files_list(
        games / "FILES.LST",
        [
            (
                "DOOM19S.ZIP",
                (games / "DOOM19S.ZIP").stat().st_size,
                "12-10-94",
                ["DOOM v1.9 shareware episode", "by id Software"],
            ),
            ("KEEN1.ZIP", 1024, "12-14-90", ["Commander Keen 1: Marooned on Mars"]),
        ],
    )
    add_simple_area(
        main_node, "Games (three directories)", games, alt=[os.fspath(p) for p in extra]
    )

    # 3. A CD-ROM area.
    cdrom = files / "cdrom"
    cdrom.mkdir(parents=True, exist_ok=True)
    _zip(cdrom / "SIMTEL.ZIP", "SimTel MS-DOS collection index", "SIMTEL.IDX")
    _files_list(
        cdrom / "FILES.LST",
        [
            (
                "SIMTEL.ZIP",
                (cdrom / "SIMTEL.ZIP").stat().st_size,
                "02-01-96",
                ["SimTel MS-DOS collection index"],
            )
        ],
    )
    add_simple_area(main_node, "Shareware CD-ROM", cdrom, cdrom="Yes")

    # 4. An offline area (its "CD" is a directory here, so the prompt can be answered).
    offline = files / "offline"
    offline.mkdir(parents=True, exist_ok=True)
    _zip(offline / "GARBO.ZIP", "Garbo archive sampler", "GARBO.TXT")
    _files_list(
        offline / "FILES.LST",
        [
            (
                "GARBO.ZIP",
                (offline / "GARBO.ZIP").stat().st_size,
                "07-04-95",
                ["Garbo archive sampler"],
            )
        ],
    )
    add_simple_area(main_node, "Offline CD Collection", offline, offline="Yes", cdrom="Yes")

    # 5. Tracked for the index: an index path and the master flag "No".
    uploads = files / "uploads"
    uploads.mkdir(parents=True, exist_ok=True)
    _zip(uploads / "FRESH.ZIP", "Fresh upload waiting for the index", "FRESH.EXE")
    _text(uploads / "NOTES.TXT", "Notes of the upload area.\n")
    _files_list(
        uploads / "FILES.LST",
        [
            (
                "NOTES.TXT",
                (uploads / "NOTES.TXT").stat().st_size,
                "05-17-96",
                ["Notes of the upload area"],
            )
        ],
    )
    add_simple_area(
        main_node,
        "New Uploads (indexed)",
        uploads,
        index=os.fspath(uploads / "UPLOADS.IDX"),
        master="No",
    )

    # 6. An empty area: no files and no Files List yet.
    empty = files / "empty"
    empty.mkdir(parents=True, exist_ok=True)
    add_simple_area(main_node, "Empty Area", empty)
    return main_node
