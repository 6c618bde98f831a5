// Reads any bytes as a Files List, writes the entries back and reads them again. What the
// writer must keep: every entry, its name as written, its size, its date and its description
// lines; and a list in the writer's own layout is written back byte for byte.
//
// What it changes by design, and so is normalized here before comparing: NULs leave names,
// and line breaks in a name become "?"; a date of 1 to 7 characters is padded on the left;
// lone LFs leave descriptions; a 9-character date pushes the first description line one
// column right; a number of 9 characters in the size column loses its first, and a longer
// one (a size read as "1E9" is written 1000000000) pushes the rest of its line right.

#include "Check.h"

#include "board/BasicText.h"
#include "board/FilesList.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

using namespace Kelvane;
using Kelvane::Fuzz::check;

namespace {

constexpr std::size_t LineWidth = 45;

// Stands for the area's directories: an alias of printable characters whose tail digit is odd
// names a long file name there (the reader puts the long name in place); any other names no
// file, as no directory gives an alias with a blank, a control or a NUL.
struct Directory
{
    std::map<std::string, std::string> aliasOfLongName;

    std::optional<std::string> resolve(std::string_view alias)
    {
        const char digit = alias.size() > 7 ? alias[7] : '0';
        if (digit < '0' || digit > '9' || (digit - '0') % 2 == 0
            || !std::all_of(alias.begin(), alias.end(), [](char ch) { return ch > ' ' && ch < '\x7F'; }))
            return std::nullopt;
        std::string longName = "long name of " + std::string(alias);
        aliasOfLongName[longName] = alias;
        return longName;
    }

    std::string shortName(std::string_view name) const
    {
        const auto found = aliasOfLongName.find(std::string(name));
        return found == aliasOfLongName.end() ? std::string(name) : found->second;
    }
};

std::string written(const std::vector<Entry>& entries, const Directory& directory, bool& complete)
{
    std::string out;
    complete = FilesListFormat::format(
        entries, [&](std::string_view name) { return directory.shortName(name); },
        [&](std::string_view bytes) { out.append(bytes); });
    return out;
}

// The size as the writer puts it in its column.
std::string writtenSize(std::string_view size)
{
    const std::string_view digits = trimSpaces(size);
    if (!digits.empty() && digits.find_first_not_of("0123456789") == std::string_view::npos) {
        const std::size_t first = digits.find_first_not_of('0');
        return first == std::string_view::npos ? "0" : std::string(digits.substr(first));
    }
    return plainNumber(Val(size));
}

std::vector<std::string> descriptionLines(std::string_view description)
{
    std::vector<std::string> lines;
    for (std::size_t start = 0; start < description.size();) {
        const std::size_t end = description.find("\r\n", start);
        check(end != std::string_view::npos, "every description line ends with CR LF");
        std::string line(description.substr(start, end - start));
        std::erase(line, '\n');
        lines.emplace_back(rtrimSpaces(line));
        start = end + 2;
    }
    return lines;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    Directory directory;
    const auto resolve = [&](std::string_view alias) { return directory.resolve(alias); };

    const FilesListFormat::Parsed first = FilesListFormat::parse(bytes, resolve);
    check(first.entryLines == first.entries.size(), "every entry line makes one entry");

    bool complete = true;
    const std::string list = written(first.entries, directory, complete);
    const FilesListFormat::Parsed again = FilesListFormat::parse(list, resolve);

    // Only a name of blanks and NULs stops the writing; the entries before it are all written.
    std::size_t kept = first.entries.size();
    for (std::size_t i = 0; i < first.entries.size(); ++i) {
        std::string name = first.entries[i].FileName;
        std::erase(name, '\0');
        if (trimSpaces(name).empty()) {
            kept = i;
            break;
        }
    }
    check(complete == (kept == first.entries.size()), "the writer says whether it wrote every entry");
    check(again.entries.size() == kept, "every written entry reads back");

    bool shifted = false;
    for (std::size_t i = 0; i < kept; ++i) {
        const Entry& before = first.entries[i];
        const Entry& after = again.entries[i];

        std::string name = before.FileName;
        if (const std::string alias = directory.shortName(name); alias != name)
            name = alias;
        std::erase(name, '\0');
        std::replace_if(
            name.begin(), name.end(), [](char ch) { return ch == '\r' || ch == '\n'; }, '?');
        name = rtrimSpaces(name);
        if (name.find('~') == 6) {
            if (std::optional<std::string> longName = directory.resolve(name))
                name = *longName;
        }
        check(after.FileName == name, "the name reads back as written");
        // The size column is read from its second character on; a wider number pushes the
        // rest of the line right, as a long name does.
        const std::size_t sizeWidth = writtenSize(before.Size).size();
        if (sizeWidth >= 9) {
            shifted = true;
            if (sizeWidth > 9)
                continue;
        } else {
            check(after.Size == before.Size, "the size reads back");
        }

        std::string date = before.Date;
        if (!date.empty() && date.size() < 8)
            date.insert(0, 8 - date.size(), ' ');
        check(after.Date == date, "the date reads back");

        std::vector<std::string> lines = descriptionLines(before.Description);
        if (before.Date.size() > 8) {
            shifted = true;
            std::string line = ' ' + lines.front();
            line.resize(LineWidth, ' ');
            lines.front() = rtrimSpaces(line);
        }
        check(descriptionLines(after.Description) == lines, "the description lines read back");
    }

    if (!shifted) {
        bool rewrittenComplete = true;
        check(written(again.entries, directory, rewrittenComplete) == list,
              "a list in the writer's layout is written back byte for byte");
    }
    return 0;
}
