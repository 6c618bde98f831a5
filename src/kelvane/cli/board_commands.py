"""``kelvane board``: the board tool that creates and edits a board's ``Farea.dat``.

Kelvane itself never writes ``Farea.dat``; these commands are the operator's
(and the tests') way to make one.
"""

from __future__ import annotations

import argparse
import json
import os
from typing import Any

from kelvane.board.board_tool import add_area, init_board, make_record, read_board, set_area
from kelvane.cli.common import CommandError
from kelvane.platform.farea_format import ALT_PATH_COUNT, AreaRecord, FareaError, FieldTooLong

FLAG_OPTIONS = (
    ("private", "Private"),
    ("cdrom", "CD-ROM"),
    ("alias", "Alias"),
    ("offline", "Offline"),
    ("master", "Master index"),
)


def register(subparsers: argparse._SubParsersAction[Any]) -> None:
    board = subparsers.add_parser(
        "board",
        help="create and edit a board's area records (Mwork/Farea.dat)",
        description="The board tool: creates and edits a board's area record file. "
        "Kelvane itself never writes Farea.dat.",
    )
    commands = board.add_subparsers(
        dest="board_command", metavar="BOARD_COMMAND", parser_class=type(board)
    )

    init = commands.add_parser("init", help="create MAINNODE/Mwork/Farea.dat with no areas")
    init.add_argument("main_node", metavar="MAINNODE")
    init.set_defaults(handler=_init)

    add = commands.add_parser("add", help="append an area record and print its number")
    add.add_argument("main_node", metavar="MAINNODE")
    _record_options(add, adding=True)
    add.set_defaults(handler=_add)

    change = commands.add_parser("set", help="change fields of area record N")
    change.add_argument("main_node", metavar="MAINNODE")
    change.add_argument("number", metavar="N", type=int)
    _record_options(change, adding=False)
    change.set_defaults(handler=_set)

    show = commands.add_parser("show", help="every field of every area record")
    show.add_argument("main_node", metavar="MAINNODE")
    show.add_argument("--json", action="store_true", help="print a JSON list of records")
    show.set_defaults(handler=_show)

    demo = commands.add_parser("demo", help="build a complete sample board in DIR")
    demo.add_argument("directory", metavar="DIR")
    demo.set_defaults(handler=_demo)

    board.set_defaults(handler=lambda _args: _usage(board))


def _usage(parser: argparse.ArgumentParser) -> int:
    parser.print_help()
    return 2


def _record_options(parser: argparse.ArgumentParser, *, adding: bool) -> None:
    parser.add_argument("--title", metavar="T", required=adding, help="the area's title")
    parser.add_argument("--path", metavar="DIR", required=adding, help="the area's file directory")
    if adding:
        parser.add_argument(
            "--alt",
            metavar="DIR",
            action="append",
            default=[],
            help=f"an additional directory (repeat, up to {ALT_PATH_COUNT})",
        )
    else:
        parser.add_argument(
            "--alt",
            metavar="I=DIR",
            action="append",
            default=[],
            help="set additional directory I (1 to 10); an empty DIR clears it",
        )
    parser.add_argument("--list", dest="files_list", metavar="FILE", help="the Files List path")
    parser.add_argument("--index", metavar="FILE", help="the index path")
    for name, label in FLAG_OPTIONS:
        parser.add_argument(
            f"--{name}",
            metavar="TEXT",
            default="No" if adding else None,
            help=f'the {label} flag, stored exactly as given (default "No")'
            if adding
            else f"the {label} flag",
        )
    parser.add_argument(
        "--disc", metavar="N", type=int, default=0 if adding else None, help="the CD disc number"
    )


def _fields(args: argparse.Namespace) -> dict[str, Any]:
    fields: dict[str, Any] = {}
    for name in (
        "title",
        "path",
        "files_list",
        "index",
        "disc",
        *(flag for flag, _ in FLAG_OPTIONS),
    ):
        value = getattr(args, name, None)
        if value is not None:
            fields[name] = value
    return fields


def _init(args: argparse.Namespace) -> int:
    try:
        path = init_board(args.main_node)
    except OSError as error:
        raise CommandError(
            f"cannot create {os.path.join(args.main_node, 'Mwork', 'Farea.dat')}: {error.strerror}"
        ) from error
    print(path)
    return 0


def _add(args: argparse.Namespace) -> int:
    fields = _fields(args)
    fields.setdefault("files_list", "")
    fields.setdefault("index", "")
    try:
        record = make_record(alt=args.alt, **fields)
        number = add_area(args.main_node, record)
    except (FieldTooLong, FareaError, ValueError) as error:
        raise CommandError(str(error)) from error
    except OSError as error:
        raise CommandError(f"cannot write Farea.dat: {error.strerror}") from error
    print(number)
    return 0


def _set(args: argparse.Namespace) -> int:
    fields = _fields(args)
    if args.alt:
        changes: dict[int, str] = {}
        for item in args.alt:
            index_text, separator, value = item.partition("=")
            if not separator or not index_text.strip().isdigit():
                raise CommandError(
                    f"--alt takes I=DIR (I from 1 to {ALT_PATH_COUNT}), not {item!r}"
                )
            changes[int(index_text)] = value
        fields["alt"] = changes
    if not fields:
        raise CommandError("nothing to change: give at least one field option")
    try:
        set_area(args.main_node, args.number, fields)
    except (FieldTooLong, FareaError, ValueError) as error:
        raise CommandError(str(error)) from error
    except OSError as error:
        raise CommandError(f"cannot write Farea.dat: {error.strerror}") from error
    return 0


def record_as_json(number: int, record: AreaRecord) -> dict[str, Any]:
    return {
        "number": number,
        "title": record.title,
        "path": record.path,
        "alt": list(record.alt),
        "files_list": record.files_list,
        "index": record.index,
        "private": record.private,
        "cdrom": record.cdrom,
        "alias": record.alias,
        "offline": record.offline,
        "master": record.master,
        "disc": record.disc,
    }


def print_records_json(records: list[AreaRecord]) -> None:
    """The records as a JSON list of objects (``board show --json``, ``areas --json``)."""
    print(
        json.dumps(
            [record_as_json(n, r) for n, r in enumerate(records, 1)], indent=2, ensure_ascii=False
        )
    )


def _show(args: argparse.Namespace) -> int:
    try:
        records = read_board(args.main_node)
    except FareaError as error:
        raise CommandError(str(error)) from error
    if args.json:
        print_records_json(records)
        return 0
    if not records:
        print("The board has no areas.")
    for number, record in enumerate(records, 1):
        print(f"Area {number}: {record.title}")
        print(f"  File path:        {record.path}")
        for index, alt in enumerate(record.alt, 1):
            if alt:
                print(f"  {f'Additional {index}:':<18}{alt}")
        print(f"  Files List:       {record.files_list}")
        print(f"  Index:            {record.index}")
        flags = ", ".join(f"{label} {getattr(record, name)!r}" for name, label in FLAG_OPTIONS)
        print(f"  Flags:            {flags}")
        print(f"  CD disc number:   {record.disc}")
    return 0


def _demo(args: argparse.Namespace) -> int:
    from kelvane.board.demo_board import build_demo_board

    try:
        main_node = build_demo_board(args.directory)
    except (FileExistsError, ValueError) as error:
        raise CommandError(str(error)) from error
    except OSError as error:
        raise CommandError(
            f"cannot build the demo board in {args.directory}: {error.strerror or error}"
        ) from error
    print(main_node)
    return 0
