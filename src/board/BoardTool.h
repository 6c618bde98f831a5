#pragma once

#include "board/AreaRecords.h"

#include <filesystem>
#include <vector>

namespace Kelvane {

/// Creating and editing a board's area records. Kelvane itself only reads Farea.dat; these
/// are the board tool's, and the tests' way of building boards.
namespace BoardTool {

/// Creates <main node>/Mwork/Farea.dat with no areas (the file is left as it is when it
/// exists); the file's path.
std::filesystem::path init(const std::filesystem::path& mainNode);
/// Appends record and returns its number. FieldTooLong leaves the file as it was.
int add(const std::filesystem::path& mainNode, const AreaRecord& record);
/// Rewrites record number in place.
void set(const std::filesystem::path& mainNode, int number, const AreaRecord& record);
/// Every record of the board.
std::vector<AreaRecord> read(const std::filesystem::path& mainNode);

} // namespace BoardTool

} // namespace Kelvane
