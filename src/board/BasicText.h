#pragma once

#include <string>
#include <string_view>

namespace Kelvane {

/// Basic's Val: the number at the start of text, 0 when there is none. Blanks, tabs and
/// line feeds are skipped wherever they stand ("1 2" is 12); then a sign, digits, a point
/// and digits, an exponent; or &H / &O digits. The number ends at the first character that
/// cannot continue it.
double Val(std::string_view text);

/// Basic's Str: a blank before a non-negative number ("12345" gives " 12345").
std::string Str(double number);
/// Str without its blank.
std::string plainNumber(double number);

/// Trimming removes spaces only, never tabs.
inline std::string_view rtrimSpaces(std::string_view text)
{
    const std::size_t end = text.find_last_not_of(' ');
    return end == std::string_view::npos ? std::string_view() : text.substr(0, end + 1);
}

inline std::string_view trimSpaces(std::string_view text)
{
    const std::size_t start = text.find_first_not_of(' ');
    if (start == std::string_view::npos)
        return {};
    return rtrimSpaces(text.substr(start));
}

/// The characters of text from a 1-based position, at most count of them; empty past the end.
inline std::string_view mid(std::string_view text, std::size_t position, std::size_t count = std::string_view::npos)
{
    return position - 1 < text.size() ? text.substr(position - 1, count) : std::string_view();
}

} // namespace Kelvane
