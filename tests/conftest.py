"""Shared fixtures: an isolated run (settings, program directory) and a scripted port."""

from __future__ import annotations

import os

os.environ.setdefault("QT_QPA_PLATFORM", "offscreen")

import pytest  # noqa: E402

from kelvane.board.session import Session  # noqa: E402
from tests.helpers.messagemock import ScriptedPort  # noqa: E402


@pytest.fixture(autouse=True)
def isolated_run(tmp_path, monkeypatch):
    """No test reads the real user's settings or writes outside tmp_path."""
    home = tmp_path / "kelvane-home"
    home.mkdir()
    monkeypatch.setenv("KELVANE_SETTINGS", str(tmp_path / "Vandor.ini"))
    monkeypatch.setenv("KELVANE_HOME", str(home))
    monkeypatch.setenv("HOME", str(tmp_path / "user-home"))
    monkeypatch.setenv("XDG_CONFIG_HOME", str(tmp_path / "user-home" / ".config"))
    monkeypatch.setenv("XDG_DATA_HOME", str(tmp_path / "user-home" / ".local" / "share"))
    return home


@pytest.fixture
def port():
    scripted = ScriptedPort()
    yield scripted
    scripted.verify()


@pytest.fixture
def session(port, isolated_run):
    return Session(port, program_dir=isolated_run)
