// Reads any bytes as a FILES.BBS: the names and descriptions keep the readers' promises, and
// the list written from them (with a size and a date) reads back the same.

#include "DescriptionListChecks.h"

#include <cstdint>

using namespace Kelvane;
using Kelvane::Fuzz::check;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const std::vector<DescriptionLists::Listed> listed = DescriptionLists::parseFilesBbs(text);
    Fuzz::checkListed(listed);

    std::vector<DescriptionLists::FilesBbsLine> lines;
    for (const DescriptionLists::Listed& item : listed)
        lines.push_back({ item.name, 1234, "05-17-96", item.description });
    const std::string written = DescriptionLists::formatFilesBbs(lines);
    if (Fuzz::readable(written))
        check(DescriptionLists::parseFilesBbs(written) == listed, "a written FILES.BBS reads back the same");
    return 0;
}
