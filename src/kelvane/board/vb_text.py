"""VB's text conversions, kept for their visible effect (porting.md, "Text").

``Val`` reads a number from the start of a text the way VB's ``Val`` does,
``Str`` writes one with a blank before non-negative values, ``plain_number``
is ``Str`` without that blank, and the trimming functions remove spaces only
(never tabs), as ``RTrim$`` and ``Trim$`` do.  ``UCase`` upper-cases within a
code page.
"""

from __future__ import annotations

import math
from functools import cache

from kelvane.platform.code_pages import DEFAULT_CODE_PAGE, code_page

__all__ = ["Str", "UCase", "Val", "plain_number", "rtrim_spaces", "trim_spaces"]

_DIGITS = frozenset("0123456789")
_HEX_DIGITS = frozenset("0123456789abcdefABCDEF")
_OCTAL_DIGITS = frozenset("01234567")
#: ``Val`` ignores blanks, tabs and line feeds wherever they stand.
_IGNORED = str.maketrans("", "", " \t\n")
#: Above this magnitude VB's ``Str`` writes an exponent (15 significant digits).
_EXPONENT_FROM = 1e15


def _radix_value(digits: str, base: int) -> float:
    """VB's ``&H``/``&O`` numbers: 16-bit when they fit, else 32-bit, signed."""
    if not digits:
        return 0.0
    value = int(digits, base)
    if value <= 0xFFFF:
        return float(value - 0x10000 if value >= 0x8000 else value)
    if value <= 0xFFFFFFFF:
        return float(value - 0x100000000 if value >= 0x80000000 else value)
    raise OverflowError(f"Val: {('&H' if base == 16 else '&O') + digits} does not fit 32 bits")


def _prefix(text: str, start: int, allowed: frozenset[str]) -> int:
    """Index of the first character at or after *start* that is not in *allowed*."""
    end = start
    length = len(text)
    while end < length and text[end] in allowed:
        end += 1
    return end


def Val(text: str) -> float:
    """VB's ``Val``: the number at the start of *text*, 0 when there is none.

    Blanks, tabs and line feeds are skipped wherever they stand ("1 2" is 12).
    Then an optional sign, digits, a decimal point and digits, and an exponent
    (``E`` or ``D``, optional sign, digits); or ``&H`` hexadecimal / ``&O``
    octal digits, which give a 16-bit signed value when they fit 16 bits and a
    32-bit signed value when they fit 32 (``&HFFFF`` is -1, as in VB).  The
    number ends at the first character that cannot continue it.  A number too
    large for a double, or a ``&H``/``&O`` number beyond 32 bits, raises
    ``OverflowError`` (VB's run-time error 6, "Overflow").
    """
    s = text.translate(_IGNORED)
    if not s:
        return 0.0
    if s.isascii() and s.isdigit():
        return float(s)
    if s[0] == "&":
        if len(s) > 1 and s[1] in "Hh":
            return _radix_value(s[2 : _prefix(s, 2, _HEX_DIGITS)], 16)
        if len(s) > 1 and s[1] in "Oo":
            return _radix_value(s[2 : _prefix(s, 2, _OCTAL_DIGITS)], 8)
        return 0.0
    start = 1 if s[0] in "+-" else 0
    end = _prefix(s, start, _DIGITS)
    has_digits = end > start
    if end < len(s) and s[end] == ".":
        fraction_end = _prefix(s, end + 1, _DIGITS)
        has_digits = has_digits or fraction_end > end + 1
        end = fraction_end
    if not has_digits:
        return 0.0
    mantissa = s[:end]
    exponent = ""
    if end < len(s) and s[end] in "EeDd":
        digits_start = end + 1
        if digits_start < len(s) and s[digits_start] in "+-":
            digits_start += 1
        digits_end = _prefix(s, digits_start, _DIGITS)
        if digits_end > digits_start:
            exponent = "e" + s[end + 1 : digits_end]
    value = float(mantissa + exponent)
    if math.isinf(value):
        raise OverflowError(f"Val: {mantissa + exponent} is too large")
    return value if value != 0.0 else 0.0


def Str(number: float) -> str:
    """VB's ``Str``: a blank before a non-negative number, "-" before a negative one.

    Whole numbers below 10**15 are written in full; other values with 15
    significant digits, an exponent as VB writes it ("1E+15", "1.5E-05"),
    and no zero before the decimal point (" .5", "-.25").
    """
    if isinstance(number, int):
        return f" {number}" if number >= 0 else str(number)
    if number == 0.0:
        return " 0"
    if number.is_integer() and abs(number) < _EXPONENT_FROM:
        text = str(int(number))
    else:
        text = f"{number:.15G}"
        if text.startswith("0."):
            text = text[1:]
        elif text.startswith("-0."):
            text = "-" + text[2:]
    return " " + text if number > 0 else text


def plain_number(number: float) -> str:
    """``Str`` without its blank: "12345" for 12345.0, "-3" for -3.0, ".5" for 0.5."""
    text = Str(number)
    return text[1:] if text.startswith(" ") else text


def rtrim_spaces(text: str) -> str:
    """VB's ``RTrim$``: trailing spaces removed (tabs stay)."""
    return text.rstrip(" ")


def trim_spaces(text: str) -> str:
    """VB's ``Trim$``: leading and trailing spaces removed (tabs stay)."""
    return text.strip(" ")


@cache
def _upper_table(page: str) -> tuple[dict[int, str], frozenset[str]]:
    chars = code_page(page).decoding_table
    in_page = frozenset(chars)
    table: dict[int, str] = {}
    for ch in chars:
        up = ch.upper()
        if up != ch and len(up) == 1 and up in in_page:
            table[ord(ch)] = up
    return table, in_page


def _upper_outside(ch: str, in_page: frozenset[str]) -> str:
    if ch in in_page:
        return ch
    up = ch.upper()
    return up if len(up) == 1 else ch


def UCase(text: str, page: str = DEFAULT_CODE_PAGE) -> str:
    """Upper case within the code page *page*.

    A character whose upper case is not one character of the page stays as it
    is ("ß", and "µ" in Windows-1252), as the system's ANSI ``UCase`` leaves it;
    a character outside the page is upper-cased when that gives one character.
    """
    if text.isascii():
        return text.upper()
    table, in_page = _upper_table(page)
    result = text.translate(table)
    if in_page.issuperset(result):
        return result
    return "".join(_upper_outside(ch, in_page) for ch in result)
