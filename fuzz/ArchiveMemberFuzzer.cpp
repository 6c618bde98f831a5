// Reads any bytes as the archive X.ZIP and extracts its FILE_ID.DIZ, as Read DIZ and the
// new-file scan do, then takes the description from it. Only the archive library reads:
// the fuzzer never starts 7-Zip. Whatever the archive holds, at most the member's first
// MiB lands in the work directory, under the member's name, and nothing anywhere else.

#include "Check.h"
#include "Scratch.h"

#include "editor/Description.h"
#include "platform/Archives.h"

#include <cstdint>
#include <filesystem>
#include <string_view>

using namespace Kelvane;
using Kelvane::Fuzz::check;

namespace fs = std::filesystem;

namespace {

std::size_t entriesOf(const fs::path& directory)
{
    std::size_t count = 0;
    for ([[maybe_unused]] const fs::directory_entry& entry : fs::directory_iterator(directory))
        ++count;
    return count;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const fs::path archive = Fuzz::scratch() / "X.ZIP";
    const fs::path work = Fuzz::scratch() / "Work";
    fs::create_directories(work);
    Fuzz::writeFile(archive, std::string_view(reinterpret_cast<const char*>(data), size));

    const ExtractResult result = extractMember(archive, work, DescriptionMember, ArchiveReaders::InProcessOnly);
    check(entriesOf(Fuzz::scratch()) == 2, "nothing is written beside the work directory");
    if (result != ExtractResult::Extracted) {
        check(entriesOf(work) == 0, "nothing is written when nothing is extracted");
        return 0;
    }
    const fs::path member = work / DescriptionMember;
    check(entriesOf(work) == 1 && fs::is_regular_file(fs::symlink_status(member)),
          "the member lands flat in the work directory under its own name");
    check(fs::file_size(member) <= MemberLimit, "at most the member's first MiB is kept");
    check(takeExtractedDescription(work).has_value(), "the extracted member gives a description");
    check(entriesOf(work) == 0, "the member is deleted once its description is taken");
    return 0;
}
