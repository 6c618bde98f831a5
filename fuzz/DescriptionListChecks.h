#pragma once

// The promises both description-list readers keep for any bytes: every name can name a file,
// every description is lines ended by CR LF without blanks at their ends or blank lines around
// the text, and a list written from what was read reads back the same.

#include "Check.h"

#include "editor/DescriptionLists.h"

#include <string>
#include <string_view>
#include <vector>

namespace Kelvane::Fuzz {

inline void checkListed(const std::vector<DescriptionLists::Listed>& listed)
{
    for (const DescriptionLists::Listed& item : listed) {
        check(!item.name.empty() && item.name != "." && item.name != "..", "a name is never empty, . or ..");
        for (const char ch : item.name)
            check(static_cast<unsigned char>(ch) >= 0x20 && std::string_view("/\\:*?\"<>|").find(ch) == std::string_view::npos,
                  "a name holds no control character and no separator");
        const std::string& text = item.description;
        check(!text.starts_with("\r\n") && !text.ends_with("\r\n\r\n"), "no blank line before or after the text");
        for (std::size_t start = 0; start < text.size();) {
            const std::size_t end = text.find("\r\n", start);
            check(end != std::string::npos, "every line ends with CR LF");
            const std::string_view line = std::string_view(text).substr(start, end - start);
            check(line.find_first_of("\r\n\x1A") == std::string_view::npos, "no line end or Ctrl+Z within a line");
            check(line.empty() || (line.back() != ' ' && line.back() != '\t'), "no line ends in a blank");
            start = end + 2;
        }
    }
}

// Lines the reader skips as too long cannot come back; every other written list must.
inline bool readable(std::string_view written)
{
    std::size_t start = 0;
    for (std::size_t end = written.find("\r\n"); end != std::string_view::npos; end = written.find("\r\n", start)) {
        if (end - start > DescriptionLists::LongestLine)
            return false;
        start = end + 2;
    }
    return true;
}

} // namespace Kelvane::Fuzz
