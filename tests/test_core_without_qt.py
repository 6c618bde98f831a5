"""The core (formats, area records, operations) imports no Qt."""

from __future__ import annotations

import subprocess
import sys
import textwrap
from pathlib import Path

import kelvane

CORE_PACKAGES = ("board", "platform", "editor", "sortmove", "index", "cli")


def _core_modules() -> list[str]:
    root = Path(kelvane.__file__).parent
    modules = []
    for package in CORE_PACKAGES:
        for path in sorted((root / package).glob("*.py")):
            name = path.stem
            if (
                name.startswith("qt_")
                or name.endswith(("_form", "_view_qt", "_models"))
                or name == "__init__"
            ):
                continue
            modules.append(f"kelvane.{package}.{name}")
    return modules


def test_the_core_imports_with_qt_blocked():
    code = textwrap.dedent(
        f"""
        import importlib, sys
        class Blocker:
            def find_spec(self, name, path=None, target=None):
                if name == "PySide6" or name.startswith("PySide6."):
                    raise ImportError("Qt is blocked in the core: " + name)
                return None
        sys.meta_path.insert(0, Blocker())
        for module in {_core_modules()!r}:
            importlib.import_module(module)
        assert not any(m.startswith("PySide6") for m in sys.modules)
        print("ok")
        """
    )
    result = subprocess.run(
        [sys.executable, "-c", code], capture_output=True, text=True, timeout=120
    )
    assert result.returncode == 0, result.stderr
    assert result.stdout.strip() == "ok"
