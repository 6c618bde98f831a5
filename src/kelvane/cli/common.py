"""What the command-line commands share: the main node, the area argument, opening an area."""

from __future__ import annotations

import argparse
import os
import sys
from dataclasses import dataclass
from typing import TYPE_CHECKING

from kelvane.board.session import Session
from kelvane.board.user_port import UserPort
from kelvane.cli.text_port import TextPort
from kelvane.editor.editor_view import ListEditorView
from kelvane.platform.farea_format import FareaError, find_farea_file, read_all_records
from kelvane.platform.settings_store import APP_NAME, open_settings_store

if TYPE_CHECKING:
    from kelvane.board.files_list import EntryList

AREA_HELP = "a record number or an exact area title"

MAIN_PATH_SECTION = "Vandor Startup"
MAIN_PATH_KEY = "Vandor Main Path"
OPTIONS_SECTION = "Kelvane Startup"
CODE_PAGE_KEY = "CodePage"


class UsageError(Exception):
    """Wrong usage: exit status 2."""


class CommandError(Exception):
    """A failure the command reports in one line: exit status 1."""


YES_HELP = (
    "answer OK to the questions asked while the area is opened (the offline CD prompt "
    "of an offline area, which without a terminal is answered Cancel)"
)


def add_yes_option(parser: argparse.ArgumentParser) -> None:
    """``--yes``: the questions of opening an area (the offline CD prompt) answered OK."""
    parser.add_argument("--yes", action="store_true", help=YES_HELP)


def add_main_node_option(parser: argparse.ArgumentParser) -> None:
    parser.add_argument(
        "--main-node",
        metavar="DIR",
        help="the board's main node directory (default: the settings store's \"Vandor Main Path\")",
    )


def resolve_main_node(args: argparse.Namespace) -> str:
    main_node = getattr(args, "main_node", None)
    if main_node:
        return str(main_node)
    stored = open_settings_store().GetSetting(APP_NAME, MAIN_PATH_SECTION, MAIN_PATH_KEY, "")
    if not stored:
        raise CommandError(
            "no main node path: pass --main-node DIR, or set it in the desktop program's Options"
        )
    return stored


def stored_code_page() -> str:
    from kelvane.platform.code_pages import DEFAULT_CODE_PAGE, code_page

    name = open_settings_store().GetSetting(
        APP_NAME, OPTIONS_SECTION, CODE_PAGE_KEY, DEFAULT_CODE_PAGE
    )
    try:
        return code_page(name).name
    except ValueError:
        return DEFAULT_CODE_PAGE


def make_session(args: argparse.Namespace, port: UserPort | None = None) -> Session:
    session = Session(
        port if port is not None else TextPort(assume_yes=bool(getattr(args, "yes", False))),
        code_page=stored_code_page(),
    )
    session.area.MainNodePath = resolve_main_node(args)
    return session


def board_titles(session: Session) -> list[str]:
    """Every area title of the board, in record order; a clear error when unreadable."""
    found = find_farea_file(session.area.MainNodePath)
    if found is None:
        raise CommandError(
            f"no Mwork/Farea.dat under {session.area.MainNodePath}: is that the board's main node directory?"
        )
    try:
        return [record.title for record in read_all_records(found, session.code_page)]
    except FareaError as error:
        raise CommandError(str(error)) from error


def resolve_area(session: Session, area: str) -> int:
    """AREA is a record number or an exact area title."""
    titles = board_titles(session)
    text = area.strip()
    if text.isdigit():
        number = int(text)
        if 1 <= number <= len(titles):
            return number
        raise CommandError(f"there is no area {number}: the board has {len(titles)}")
    for number, title in enumerate(titles, start=1):
        if title == area:
            return number
    raise CommandError(f"no area is titled {area!r} (titles are matched exactly)")


def select_area(session: Session, area: str) -> None:
    """Set ``AreaNumber`` and ``AreaTitle`` for AREA, and load it with ``Farea_Dat_Initialize``."""
    from kelvane.board.current_area import Farea_Dat_Initialize

    number = resolve_area(session, area)
    session.area.AreaNumber = number
    session.area.AreaTitle = board_titles(session)[number - 1]
    if not Farea_Dat_Initialize(session):
        raise CommandError(f"area {number} ({session.area.AreaTitle}) could not be loaded")


def fs_path(text: str) -> str:
    return os.path.abspath(os.path.expanduser(text))


def load_area(session: Session, area: str) -> EntryList:
    """Select AREA (``Farea_Dat_Initialize``) and read its Files List (``Load_fEditFileArealsv``)."""
    from kelvane.board.files_list import EntryList, Load_fEditFileArealsv

    select_area(session, area)
    entries = EntryList()
    if not Load_fEditFileArealsv(session, entries):
        raise CommandError(f"the Files List {session.area.FileListPath} could not be read")
    return entries


def select_names(entries: EntryList, names: list[str]) -> tuple[list[int], list[str]]:
    """Positions of the entries named (exact names), and the names not in the list.

    A name matches every entry of that exact name; when none matches exactly,
    the names are compared ignoring case, as the board's file system does.
    """
    by_name: dict[str, list[int]] = {}
    by_folded: dict[str, list[int]] = {}
    for index, entry in enumerate(entries):
        by_name.setdefault(entry.name, []).append(index)
        by_folded.setdefault(entry.name.upper(), []).append(index)
    chosen: set[int] = set()
    missing: list[str] = []
    for name in names:
        found = by_name.get(name) or by_folded.get(name.upper())
        if found:
            chosen.update(found)
        else:
            missing.append(name)
    return sorted(chosen), missing


def error_reported(session: Session) -> bool:
    """True when an operation's trap showed the error box ("Kelvane Error Alert!")."""
    from kelvane.board.error_log import ERROR_TITLE

    shown = getattr(session.port, "shown", [])
    return any(box.title == ERROR_TITLE for box in shown)


def not_saved_text(path: str) -> str:
    return f"the Files List {path} was not saved; the list on disk is as it was"


def save_changes(session: Session, entries: EntryList) -> bool:
    """``SaveWork`` when ``ChangesMade``, as the editor's Save Work; false when saving failed."""
    from kelvane.board.files_list import SaveWork

    if not session.ChangesMade:
        return True
    if not SaveWork(session, entries):
        print("kelvane: " + not_saved_text(session.area.FileListPath), file=sys.stderr)
        return False
    session.ChangesMade = False
    return True


def counted(number: int, singular: str, plural: str | None = None) -> str:
    """ "1 entry", "2 entries": a count with its noun."""
    return f"{number} {singular if number == 1 else (plural or singular + 's')}"


@dataclass
class OpenedArea:
    """An area opened for a command: its entries, a view with the named ones selected."""

    session: Session
    entries: EntryList
    view: ListEditorView
    chosen: list[int]
    missing: list[str]


def open_named_entries(args: argparse.Namespace, *, all_when_none: bool) -> OpenedArea:
    """Open AREA, select the named entries (all when none are named and allowed)."""
    session = make_session(args)
    entries = load_area(session, args.area)
    view = ListEditorView(entries)
    if args.names or not all_when_none:
        chosen, missing = select_names(entries, list(args.names))
    else:
        chosen, missing = list(range(len(entries))), []
    for name in missing:
        print(f"kelvane: not in the Files List: {name}", file=sys.stderr)
    view.set_selected(chosen, True)
    return OpenedArea(session, entries, view, chosen, missing)
