"""The ``kelvane`` command: no arguments starts the desktop program; a subcommand runs the command line.

Exit status: 0 done, 1 the operation reported a failure or a file not found,
2 wrong usage.  An error is one clear line, never a traceback.
"""

from __future__ import annotations

import argparse
import importlib
import os
import sys
from collections.abc import Sequence

from kelvane import __version__
from kelvane.cli.common import CommandError, UsageError

#: Each module has ``register(subparsers)``; its parsers set ``handler(args) -> int``.
COMMAND_MODULES = (
    "kelvane.cli.board_commands",
    "kelvane.cli.area_commands",
    "kelvane.cli.index_commands",
    "kelvane.cli.scan_commands",
    "kelvane.cli.edit_commands",
    "kelvane.cli.desktop_commands",
)


class _Parser(argparse.ArgumentParser):
    def error(self, message: str) -> None:  # type: ignore[override]
        raise UsageError(f"{self.prog}: {message}")


def build_parser() -> argparse.ArgumentParser:
    parser = _Parser(
        prog="kelvane",
        description="Kelvane, the file-area manager for Vandor boards. "
        "Without a command it starts the desktop program.",
    )
    parser.add_argument("--version", action="version", version=f"kelvane {__version__}")
    subparsers = parser.add_subparsers(dest="command", metavar="COMMAND", parser_class=_Parser)
    for name in COMMAND_MODULES:
        try:
            module = importlib.import_module(name)
        except ModuleNotFoundError as error:
            if error.name == name:
                continue  # a command family that this build does not have
            raise
        module.register(subparsers)
    return parser


def _tolerant_output() -> None:
    """Text the output cannot encode is escaped, never an error.

    A file name whose bytes are not text in the system's encoding comes back
    from the system with lone surrogates ("CAF\\udcc9.ZIP"); printing it to a
    strict UTF-8 stream (a pipe, a file) would end the command with a traceback.
    """
    for stream in (sys.stdout, sys.stderr):
        reconfigure = getattr(stream, "reconfigure", None)
        if reconfigure is None or getattr(stream, "errors", None) != "strict":
            continue
        try:
            reconfigure(errors="backslashreplace")
        except (ValueError, OSError):
            pass


def main(argv: Sequence[str] | None = None) -> int:
    args_list = list(sys.argv[1:] if argv is None else argv)
    if not args_list:
        from kelvane.shell.application import run_desktop

        return run_desktop()
    _tolerant_output()
    parser = build_parser()
    try:
        args = parser.parse_args(args_list)
        handler = getattr(args, "handler", None)
        if handler is None:
            parser.print_help(sys.stderr)
            return 2
        return int(handler(args))
    except UsageError as error:
        print(str(error), file=sys.stderr)
        return 2
    except CommandError as error:
        print(f"kelvane: {error}", file=sys.stderr)
        return 1
    except KeyboardInterrupt:
        print("kelvane: interrupted", file=sys.stderr)
        return 130
    except BrokenPipeError:
        # The reader of our output went away (``kelvane areas | head``): stop
        # quietly, and keep Python from complaining again when it flushes.
        devnull = os.open(os.devnull, os.O_WRONLY)
        os.dup2(devnull, sys.stdout.fileno())
        return 1


if __name__ == "__main__":  # pragma: no cover
    sys.exit(main())
