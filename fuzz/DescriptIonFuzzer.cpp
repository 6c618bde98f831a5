// Reads any bytes as a DESCRIPT.ION: the names and descriptions keep the readers' promises,
// and the list written from them reads back the same.

#include "DescriptionListChecks.h"

#include <cstdint>

using namespace Kelvane;
using Kelvane::Fuzz::check;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const std::vector<DescriptionLists::Listed> listed = DescriptionLists::parseDescriptIon(text);
    Fuzz::checkListed(listed);

    const std::string written = DescriptionLists::formatDescriptIon(listed);
    if (Fuzz::readable(written))
        check(DescriptionLists::parseDescriptIon(written) == listed, "a written DESCRIPT.ION reads back the same");
    return 0;
}
