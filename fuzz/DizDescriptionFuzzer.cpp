// Makes a description of any FILE_ID.DIZ text. It is at most 20 lines of at most 45
// characters, none ending in a blank (a line whose first 45 are blanks is kept empty), each
// followed by CR LF; and it is written into a Files List and read back unchanged.

#include "Check.h"

#include "board/BasicText.h"
#include "board/FilesList.h"
#include "editor/Description.h"

#include <cstdint>
#include <string_view>

using namespace Kelvane;
using Kelvane::Fuzz::check;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const std::string description = descriptionFromDiz(text);

    int lines = 0;
    for (std::size_t start = 0; start < description.size(); ++lines) {
        const std::size_t end = description.find("\r\n", start);
        check(end != std::string::npos, "every line ends with CR LF");
        const std::string_view line = std::string_view(description).substr(start, end - start);
        check(line.size() <= 45, "a line holds at most 45 characters");
        check(rtrimSpaces(line) == line, "no line ends in a blank");
        check(line.find_first_of("\r\x1A") == std::string_view::npos, "no CR or Ctrl+Z within a line");
        start = end + 2;
    }
    check(lines <= 20, "at most 20 lines");

    // An empty description is written as "No Description", and a lone LF is left out of the
    // list: only the other descriptions survive whole.
    if (description.empty())
        return 0;
    for (std::size_t at = description.find('\n'); at != std::string::npos; at = description.find('\n', at + 1)) {
        if (at == 0 || description[at - 1] != '\r')
            return 0;
    }
    std::string list;
    FilesListFormat::format({ { "FILE.ZIP", " 1", "01-01-01", description } }, {},
                            [&](std::string_view bytes) { list.append(bytes); });
    const std::vector<Entry> entries = FilesListFormat::parse(list, {}).entries;
    check(entries.size() == 1 && entries.front().Description == description,
          "the description is written into the list and read back unchanged");
    return 0;
}
