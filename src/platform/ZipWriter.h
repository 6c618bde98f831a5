#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace Kelvane {

struct ZipMember
{
    std::string name; // the member's path inside the archive, "/" between folders
    std::string data;
};

/// Writes a ZIP archive of members (deflated) to file, replacing it. Throws
/// std::filesystem::filesystem_error or std::runtime_error on failure.
void writeZip(const std::filesystem::path& file, const std::vector<ZipMember>& members);

} // namespace Kelvane
