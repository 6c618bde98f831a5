"""The per-user settings store (porting.md, "Settings store").

Read with a default, write, by application, section and key.  Values are
always stored as strings and converted here.  Windows keeps them in the
registry under ``HKEY_CURRENT_USER\\Software\\VB and VBA Program
Settings\\<app>\\<section>``; elsewhere in the INI file ``Vandor.ini`` in the
user's configuration directory; ``KELVANE_SETTINGS`` names an INI file to use
on every system.
"""

from __future__ import annotations

import configparser
import importlib
import os
import sys
import tempfile
from pathlib import Path
from typing import Any, Protocol

APP_NAME = "Vandor"


class SettingsStore(Protocol):
    def GetSetting(self, app: str, section: str, key: str, default: str = "") -> str: ...

    def SaveSetting(self, app: str, section: str, key: str, value: str) -> None: ...


class IniSettingsStore:
    """Settings in an INI file; sections are named "<app>\\<section>"."""

    def __init__(self, path: str | os.PathLike[str]) -> None:
        self.path = Path(path)

    @staticmethod
    def _parser() -> configparser.RawConfigParser:
        parser = configparser.RawConfigParser(
            delimiters=("=",), comment_prefixes=(";",), strict=False
        )
        parser.optionxform = str  # type: ignore[assignment,method-assign]
        return parser

    def _read(self) -> configparser.RawConfigParser:
        parser = self._parser()
        try:
            parser.read(self.path, encoding="utf-8")
        except (configparser.Error, UnicodeDecodeError, OSError):
            # A damaged settings file reads as empty; the next write replaces it.
            return self._parser()
        return parser

    def GetSetting(self, app: str, section: str, key: str, default: str = "") -> str:
        parser = self._read()
        name = f"{app}\\{section}"
        if parser.has_section(name) and parser.has_option(name, key):
            return parser.get(name, key)
        return default

    def SaveSetting(self, app: str, section: str, key: str, value: str) -> None:
        parser = self._read()
        name = f"{app}\\{section}"
        if not parser.has_section(name):
            parser.add_section(name)
        parser.set(name, key, value.replace("\n", " ").replace("\r", " "))
        self.path.parent.mkdir(parents=True, exist_ok=True)
        handle, temporary = tempfile.mkstemp(prefix=".Vandor.", suffix=".tmp", dir=self.path.parent)
        try:
            with os.fdopen(handle, "w", encoding="utf-8", newline="\n") as stream:
                parser.write(stream)
            os.replace(temporary, self.path)
        except BaseException:
            try:
                os.unlink(temporary)
            except OSError:
                pass
            raise


class RegistrySettingsStore:  # pragma: no cover - Windows only
    """The VB settings key of the registry, shared with the board's own tools."""

    ROOT = r"Software\VB and VBA Program Settings"

    def GetSetting(self, app: str, section: str, key: str, default: str = "") -> str:
        winreg: Any = importlib.import_module("winreg")

        try:
            with winreg.OpenKey(
                winreg.HKEY_CURRENT_USER, rf"{self.ROOT}\{app}\{section}"
            ) as handle:
                value, _kind = winreg.QueryValueEx(handle, key)
        except OSError:
            return default
        return str(value)

    def SaveSetting(self, app: str, section: str, key: str, value: str) -> None:
        winreg: Any = importlib.import_module("winreg")

        with winreg.CreateKey(winreg.HKEY_CURRENT_USER, rf"{self.ROOT}\{app}\{section}") as handle:
            winreg.SetValueEx(handle, key, 0, winreg.REG_SZ, value)


def user_config_directory() -> Path:
    if sys.platform == "darwin":
        return Path.home() / "Library" / "Preferences"
    base = os.environ.get("XDG_CONFIG_HOME") or os.path.join(os.path.expanduser("~"), ".config")
    return Path(base)


def open_settings_store() -> SettingsStore:
    """The store this run uses: ``KELVANE_SETTINGS``, the registry, or Vandor.ini."""
    override = os.environ.get("KELVANE_SETTINGS")
    if override:
        return IniSettingsStore(override)
    if sys.platform == "win32":  # pragma: no cover - Windows only
        return RegistrySettingsStore()
    return IniSettingsStore(user_config_directory() / "Vandor.ini")


# Conversions: values are strings in the store; these read and write them.


def bool_text(value: bool) -> str:
    return "True" if value else "False"


def parse_bool(text: str, default: bool = False) -> bool:
    """ "True"/"False" in any case, and the numbers -1 / 0, as VB's CBool reads them."""
    value = text.strip()
    lowered = value.lower()
    if lowered == "true":
        return True
    if lowered == "false":
        return False
    try:
        return float(value) != 0
    except ValueError:
        return default


def parse_number(text: str, default: float) -> float:
    try:
        return float(text.strip())
    except ValueError:
        return default


def number_text(value: float) -> str:
    """A number in plain decimal text ("1440", "1440.5")."""
    if float(value).is_integer():
        return str(int(value))
    return repr(float(value))
