#pragma once

#include "cli/Command.h"

#include <memory>
#include <vector>

namespace Kelvane {

std::unique_ptr<Command> makeBoardCommand();
std::unique_ptr<Command> makeAreasCommand();
std::unique_ptr<Command> makeShowCommand();
std::unique_ptr<Command> makeRewriteCommand();
std::unique_ptr<Command> makeScanCommand();
std::unique_ptr<Command> makeReadDizCommand();
std::unique_ptr<Command> makeRefreshCommand();
std::unique_ptr<Command> makeEraseCommand();
std::unique_ptr<Command> makeDeleteCommand();
std::unique_ptr<Command> makeStripUploadersCommand();
std::unique_ptr<Command> makeCleanCommand();
std::unique_ptr<Command> makeSortCommand();
std::unique_ptr<Command> makeMoveCommand();
std::unique_ptr<Command> makeIndexCommand();
std::unique_ptr<Command> makeCheckCommand();
std::unique_ptr<Command> makeExportCommand();
std::unique_ptr<Command> makeDupesCommand();
std::unique_ptr<Command> makeAllFilesCommand();
std::unique_ptr<Command> makeFindCommand();

/// Writes one area record as the board tool and "areas" show it.
void printAreaRecord(std::ostream& out, int number, const AreaRecord& record, const CodePage& page);
/// Writes area records as a JSON list.
void printAreaRecordsJson(std::ostream& out, const std::vector<AreaRecord>& records, const CodePage& page);
/// Writes an area and its entries as one JSON object, as "show --json" and "export" give it.
void printAreaJson(std::ostream& out, const CurrentArea& area, const EntryList& entries, const CodePage& page);

} // namespace Kelvane
