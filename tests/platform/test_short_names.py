"""Short (8.3) aliases: kelvane.platform.short_names."""

from __future__ import annotations

import os
import tempfile
import zlib
from pathlib import Path

import pytest
from hypothesis import HealthCheck, given, settings
from hypothesis import strategies as st

from kelvane.platform.short_names import (
    AliasCache,
    alias_of,
    directory_aliases,
    is_valid_short_name,
    resolve_alias,
)


def one(name: str, page: str = "cp1252") -> str:
    return directory_aliases([name], page)[name]


def hashed(name: str) -> str:
    return f"{zlib.crc32(name.encode('utf-8', 'surrogateescape')) & 0xFFFF:04X}"


# --- is_valid_short_name ------------------------------------------------------


@pytest.mark.parametrize(
    "name",
    ["README.TXT", "A", "ABCDEFGH.ABC", "FILE_1.Z", "A~1", "!#$%&'()", "-@^_`{}~.X", "É.TXT"],
)
def test_valid_short_names(name: str) -> None:
    assert is_valid_short_name(name)


@pytest.mark.parametrize(
    "name",
    [
        "",
        "readme.txt",
        "ReadMe.TXT",
        "A B.TXT",
        "ABCDEFGHI.TXT",
        "A.TEXT",
        "A.B.C",
        ".TXT",
        "A.",
        "A+B.TXT",
        "A[1].TXT",
        "A;B",
        "A=B",
        "A,B",
        "é.TXT",
        "A?B",
        "A*B",
        "日本.TXT",
        "A\udcff.TXT",
    ],
)
def test_invalid_short_names(name: str) -> None:
    assert not is_valid_short_name(name)


def test_validity_follows_the_code_page() -> None:
    # "Ä" is in CP437 but "Ő" is not; "Ő" is in CP852.
    assert is_valid_short_name("Ä.TXT", "cp437")
    assert not is_valid_short_name("Ő.TXT", "cp437")
    assert is_valid_short_name("Ő.TXT", "cp852")
    assert one("ő.txt", "cp852") == "Ő.TXT"
    assert one("ő.txt", "cp437") == "_~1.TXT"


# --- directory_aliases ----------------------------------------------------------


@pytest.mark.parametrize("name", ["README.TXT", "A", "ABCDEFGH.ABC", "X~1.Z", "É.TXT"])
def test_valid_short_name_is_its_own_alias(name: str) -> None:
    assert one(name) == name


def test_valid_short_name_keeps_itself_whatever_the_order() -> None:
    # "LONGNA~1.ZIP" would be the first free alias of the long name.
    aliases = directory_aliases(["Long Name Here.zip", "LONGNA~1.ZIP"])
    assert aliases == {"LONGNA~1.ZIP": "LONGNA~1.ZIP", "Long Name Here.zip": "LONGNA~2.ZIP"}


def test_long_name() -> None:
    assert one("Long Name Here.zip") == "LONGNA~1.ZIP"


def test_only_case_differs_gives_no_tail() -> None:
    assert one("readme.txt") == "README.TXT"
    assert one("Hello.c") == "HELLO.C"
    assert one("é.txt") == "É.TXT"


def test_case_only_alias_must_not_take_another_name() -> None:
    aliases = directory_aliases(["readme.txt", "README.TXT"])
    assert aliases == {"README.TXT": "README.TXT", "readme.txt": "README~1.TXT"}
    aliases = directory_aliases(["readme.txt", "Readme.txt"])
    assert aliases == {"Readme.txt": "README~1.TXT", "readme.txt": "README~2.TXT"}


def test_same_base_sorted_order() -> None:
    names = ["Long Name There.zip", "long name here.zip", "Long Name Everywhere.zip"]
    aliases = directory_aliases(names)
    assert aliases == {
        "Long Name Everywhere.zip": "LONGNA~1.ZIP",
        "long name here.zip": "LONGNA~2.ZIP",
        "Long Name There.zip": "LONGNA~3.ZIP",
    }


def test_different_extensions_do_not_collide() -> None:
    aliases = directory_aliases(["Long Name Here.zip", "Long Name Here.txt"])
    assert aliases == {"Long Name Here.txt": "LONGNA~1.TXT", "Long Name Here.zip": "LONGNA~1.ZIP"}


def test_generated_alias_avoids_existing_names() -> None:
    # "longna~1.zip" is not a valid 8.3 name (lower case) but is a file name.
    aliases = directory_aliases(["Long Name Here.zip", "longna~1.zip"])
    assert aliases == {"Long Name Here.zip": "LONGNA~2.ZIP", "longna~1.zip": "LONGNA~1.ZIP"}


def test_dots_dropped_but_the_last() -> None:
    assert one("a.b.c.txt") == "ABC~1.TXT"
    assert one("my.long.file.name.doc") == "MYLONG~1.DOC"


def test_leading_dots_and_spaces() -> None:
    assert one(".bashrc") == "BASHRC~1"
    assert one("..x") == "X~1"
    assert one(".config.old") == "CONFIG~1.OLD"
    assert one(" a b .t x t") == "AB~1.TXT"


def test_trailing_dot_gives_no_extension() -> None:
    assert one("name.") == "NAME~1"
    assert one("file.txt.") == "FILETX~1"
    assert one("x.   ") == "X~1"


def test_nothing_left_gives_underscore() -> None:
    assert one("...") == "_~1"
    assert one("   ") == "_~1"
    assert one("  .txt") == "TXT~1"


def test_replaced_characters() -> None:
    assert one("[x]+;,=.txt") == "_X____~1.TXT"
    assert one("a+b.txt") == "A_B~1.TXT"
    assert one("a:b?c.t*t") == "A_B_C~1.T_T"


def test_extension_cut_to_three() -> None:
    assert one("archive.tar.gzip") == "ARCHIV~1.GZI"
    assert one("photo.jpeg") == "PHOTO~1.JPE"


def test_base_shorter_than_six() -> None:
    assert one("a b.txt") == "AB~1.TXT"


def test_past_four_the_hashed_form() -> None:
    names = [f"Long Name {n}.zip" for n in range(6)]
    aliases = directory_aliases(names)
    assert [aliases[n] for n in names[:4]] == [f"LONGNA~{n}.ZIP" for n in range(1, 5)]
    for name in names[4:]:
        assert aliases[name] == f"LO{hashed(name)}~1.ZIP"


def test_hashed_form_collisions_take_further_tails() -> None:
    first, second = "Long file name number 4022.zip", "Long file name number 498.zip"
    assert hashed(first) == hashed(second)
    names = [f"Long file name number {n}.zip" for n in range(4)] + [second, first]
    aliases = directory_aliases(names)
    assert aliases[first] == f"LO{hashed(first)}~1.ZIP"
    assert aliases[second] == f"LO{hashed(first)}~2.ZIP"


def test_characters_outside_the_code_page() -> None:
    assert one("日本語の名前.txt") == "______~1.TXT"
    assert one("Ωmega file.txt") == "_MEGAF~1.TXT"
    assert one("Ωmega file.txt", "cp437") == "ΩMEGAF~1.TXT"


def test_upper_case_stays_within_the_page() -> None:
    # "ß" and "µ" have no single upper-case character in Windows-1252.
    assert one("straße.txt") == "STRAßE.TXT"
    assert one("µ.txt") == "µ.TXT"
    assert one("ÿ.txt") == "Ÿ.TXT"
    assert one("ÿ.txt", "iso8859_1") == "ÿ.TXT"


def test_surrogates() -> None:
    name = "bad\udcffname.txt"
    assert one(name) == "BAD_NA~1.TXT"
    assert one("\udce9.txt") == "_~1.TXT"
    assert one("\udc80\udc81\udc82\udc83\udc84\udc85\udc86.\udcff") == "______~1._"


def test_duplicates_in_input() -> None:
    assert directory_aliases(["a b.txt", "a b.txt"]) == {"a b.txt": "AB~1.TXT"}


def test_empty_listing() -> None:
    assert directory_aliases([]) == {}


def test_unknown_code_page() -> None:
    with pytest.raises(ValueError):
        directory_aliases(["x"], "no-such-page")


def test_hundred_thousand_names_sharing_a_base_get_distinct_aliases() -> None:
    # Speed is measured by bench/make_index.py, not asserted here.
    names = [f"Long file name number {n}.zip" for n in range(100_000)]
    aliases = directory_aliases(names)
    assert len({a.upper() for a in aliases.values()}) == len(names)
    assert all(len(alias) <= 12 for alias in aliases.values())


def test_overflow_past_nine_hashed_tails(monkeypatch: pytest.MonkeyPatch) -> None:
    from kelvane.platform import short_names

    monkeypatch.setattr(short_names, "_checksum", lambda name: "ABCD")
    names = [f"Long Name {n}.zip" for n in range(20)]
    aliases = directory_aliases(names)
    values = sorted(aliases.values())
    assert len(set(values)) == 20
    assert "LOABC~10.ZIP" in values and "LOABC~15.ZIP" in values
    assert all(is_valid_short_name(a) for a in values)


# --- inverse property -------------------------------------------------------------

ALPHABET = "abcXYZ019 .[]+;,=_~-éÉñÑßµÿ日Ω"
NAME = st.text(alphabet=ALPHABET, min_size=1, max_size=20)


def check_listing(aliases: dict[str, str]) -> None:
    by_alias: dict[str, str] = {}
    for name, alias in aliases.items():
        assert len(alias) <= 12
        assert is_valid_short_name(alias), (name, alias)
        if is_valid_short_name(name):
            assert alias == name
        assert alias.upper() not in by_alias, (name, alias, by_alias.get(alias.upper()))
        by_alias[alias.upper()] = name
    # No alias is, ignoring case, the name of another file, except valid 8.3 names.
    folds: dict[str, list[str]] = {}
    for name in aliases:
        folds.setdefault(name.upper(), []).append(name)
    for name, alias in aliases.items():
        if alias == name:
            continue
        assert [n for n in folds.get(alias.upper(), []) if n != name] == []


@settings(max_examples=300, database=None, deadline=None)
@given(st.sets(NAME, max_size=40))
def test_directory_aliases_unique_and_valid(names: set[str]) -> None:
    check_listing(directory_aliases(names))


@settings(max_examples=100, database=None, deadline=None)
@given(st.sets(st.sampled_from(["Long Name", "long name", "LONG NAME", "Lo"]), min_size=1))
def test_directory_aliases_crowded(prefixes: set[str]) -> None:
    names = [f"{p} {n}.zip" for p in prefixes for n in range(15)]
    check_listing(directory_aliases(names))


def safe_file_name(name: str) -> bool:
    return not name.startswith(".") and len(name.encode("utf-8")) < 200


@settings(
    max_examples=40,
    database=None,
    deadline=None,
    suppress_health_check=[HealthCheck.too_slow],
)
@given(st.sets(NAME.filter(safe_file_name), max_size=25))
def test_resolve_alias_inverts_directory_aliases(names: set[str]) -> None:
    with tempfile.TemporaryDirectory() as directory:
        created: set[str] = set()
        for name in names:
            path = os.path.join(directory, name)
            if os.path.exists(path):  # a case-insensitive file system
                continue
            Path(path).write_bytes(b"")
            created.add(name)
        listed = set(os.listdir(directory))
        aliases = directory_aliases(listed)
        check_listing(aliases)
        cache = AliasCache()
        for name, alias in aliases.items():
            assert alias_of(directory, name) == alias
            assert alias_of(directory, name, cache=cache) == alias
            assert resolve_alias(directory, alias) == name
            assert resolve_alias(directory, alias.lower(), cache=cache) == name


# --- real directories -------------------------------------------------------------


def touch(directory: Path, *names: str) -> None:
    for name in names:
        (directory / name).write_bytes(b"x")


def test_alias_of_and_resolve_alias(tmp_path: Path) -> None:
    touch(tmp_path, "Long Name There.zip", "Long Name Here.zip", "README.TXT", "notes.txt")
    directory = str(tmp_path)
    assert alias_of(directory, "Long Name Here.zip") == "LONGNA~1.ZIP"
    assert alias_of(directory, "Long Name There.zip") == "LONGNA~2.ZIP"
    assert alias_of(directory, "README.TXT") == "README.TXT"
    assert alias_of(directory, "notes.txt") == "NOTES.TXT"
    assert resolve_alias(directory, "LONGNA~2.ZIP") == "Long Name There.zip"
    assert resolve_alias(directory, "longna~1.zip") == "Long Name Here.zip"
    assert resolve_alias(directory, "NOTES.TXT") == "notes.txt"
    assert resolve_alias(directory, "LONGNA~3.ZIP") is None
    assert resolve_alias(directory, "Long Name Here.zip") is None


def test_alias_of_matches_name_ignoring_case(tmp_path: Path) -> None:
    touch(tmp_path, "Long Name Here.zip")
    assert alias_of(str(tmp_path), "LONG NAME HERE.ZIP") == "LONGNA~1.ZIP"


def test_alias_of_a_name_not_in_the_directory(tmp_path: Path) -> None:
    touch(tmp_path, "Long Name Everywhere.zip", "Long Name There.zip")
    directory = str(tmp_path)
    # Sorted between the two: it would take ~2 and push "There" to ~3.
    assert alias_of(directory, "Long Name Here.zip") == "LONGNA~2.ZIP"
    assert alias_of(directory, "Long Name There.zip") == "LONGNA~2.ZIP"
    assert resolve_alias(directory, "LONGNA~2.ZIP") == "Long Name There.zip"


def test_listing_skips_directories_and_hidden_files(tmp_path: Path) -> None:
    touch(tmp_path, "Long Name B.zip")
    (tmp_path / "Long Name A.zip").mkdir()
    if os.name != "nt":
        touch(tmp_path, ".Long Name A.zip")
    cache = AliasCache()
    assert dict(cache.aliases(str(tmp_path))) == {"Long Name B.zip": "LONGNA~1.ZIP"}


@pytest.mark.skipif(not hasattr(os, "symlink") or os.name == "nt", reason="needs symlinks")
def test_listing_follows_links_to_files(tmp_path: Path) -> None:
    touch(tmp_path, "Long Name B.zip")
    (tmp_path / "Long Name A.zip").symlink_to(tmp_path / "Long Name B.zip")
    (tmp_path / "Long Name 0 dir").symlink_to(tmp_path, target_is_directory=True)
    (tmp_path / "Long Name 0 dangling").symlink_to(tmp_path / "missing")
    assert alias_of(str(tmp_path), "Long Name A.zip") == "LONGNA~1.ZIP"
    assert alias_of(str(tmp_path), "Long Name B.zip") == "LONGNA~2.ZIP"


def test_missing_directory_counts_as_empty(tmp_path: Path) -> None:
    missing = str(tmp_path / "missing")
    assert alias_of(missing, "Long Name Here.zip") == "LONGNA~1.ZIP"
    assert resolve_alias(missing, "LONGNA~1.ZIP") is None


def test_surrogate_name_on_disk(tmp_path: Path) -> None:
    if os.name == "nt":
        pytest.skip("Windows names are UTF-16")
    raw = os.path.join(os.fsencode(tmp_path), b"bad\xffname.txt")
    try:
        with open(raw, "wb"):
            pass
    except OSError:
        pytest.skip("the file system refuses undecodable names")
    name = "bad\udcffname.txt"
    assert name in os.listdir(tmp_path)
    assert alias_of(str(tmp_path), name) == "BAD_NA~1.TXT"
    assert resolve_alias(str(tmp_path), "BAD_NA~1.TXT") == name


def test_cache_reads_once_until_cleared(tmp_path: Path) -> None:
    touch(tmp_path, "Long Name Here.zip")
    directory = str(tmp_path)
    cache = AliasCache()
    assert alias_of(directory, "Long Name Here.zip", cache=cache) == "LONGNA~1.ZIP"
    touch(tmp_path, "Long Name Always.zip")
    # Still the first listing: "Always" is computed as if added.
    assert alias_of(directory, "Long Name Here.zip", cache=cache) == "LONGNA~1.ZIP"
    assert resolve_alias(directory, "LONGNA~2.ZIP", cache=cache) is None
    assert dict(cache.aliases(directory)) == {"Long Name Here.zip": "LONGNA~1.ZIP"}
    cache.clear()
    assert alias_of(directory, "Long Name Here.zip", cache=cache) == "LONGNA~2.ZIP"
    assert resolve_alias(directory, "LONGNA~1.ZIP", cache=cache) == "Long Name Always.zip"


def test_cache_aliases_is_read_only(tmp_path: Path) -> None:
    touch(tmp_path, "a b.txt")
    aliases = AliasCache().aliases(str(tmp_path))
    with pytest.raises(TypeError):
        aliases["x"] = "y"  # type: ignore[index]
