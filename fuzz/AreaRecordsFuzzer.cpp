// Reads any bytes as Farea.dat. A file of whole records gives one record for each, or raises
// RunTimeError for a damaged one; any other size is refused. Every record read is encoded
// and decoded back to itself.

#include "Check.h"
#include "Scratch.h"

#include "board/AreaRecords.h"
#include "board/RunTimeError.h"

#include <cstdint>
#include <string_view>

using namespace Kelvane;
using Kelvane::Fuzz::check;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const std::filesystem::path file = Fuzz::scratch() / "Farea.dat";
    Fuzz::writeFile(file, bytes);

    std::vector<AreaRecord> records;
    try {
        records = AreaRecordFormat::readFile(file);
    } catch (const RunTimeError&) {
        return 0;
    }
    check(size % AreaRecord::Size == 0, "only whole records are read");
    check(records.size() == size / AreaRecord::Size, "one record for each 2,048 bytes");
    for (std::size_t i = 0; i < records.size(); ++i) {
        const std::string encoded = AreaRecordFormat::encode(records[i]);
        check(encoded.size() == AreaRecord::Size, "a record encodes to 2,048 bytes");
        check(AreaRecordFormat::decode(encoded, static_cast<int>(i) + 1) == records[i],
              "a record decodes to what was encoded");
        check(AreaRecordFormat::decode(bytes.substr(i * AreaRecord::Size, AreaRecord::Size), static_cast<int>(i) + 1)
                  == records[i],
              "a record decodes as the file reader read it");
    }
    return 0;
}
