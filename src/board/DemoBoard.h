#pragma once

#include <filesystem>

namespace Kelvane {

class CodePage;

namespace DemoBoard {

/// Builds a complete sample board under directory (created when missing) and returns its
/// main node path. Everything is made at run time: the area records, the files and their
/// ZIP archives with descriptions, and the Files Lists (written by the Files List writer).
std::filesystem::path build(const std::filesystem::path& directory, const CodePage& page);

} // namespace DemoBoard

} // namespace Kelvane
