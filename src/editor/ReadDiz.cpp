#include "board/BasicText.h"
#include "board/FileLookup.h"
#include "board/FileSystem.h"
#include "board/Session.h"
#include "editor/Description.h"
#include "editor/EntryTable.h"
#include "editor/Operations.h"
#include "editor/Selection.h"
#include "platform/Archives.h"
#include "platform/CodePage.h"

using namespace Qt::StringLiterals;

namespace Kelvane {

void mnuReadDIZ_Click(Session& session, EntryTable& table)
{
    if (nothingSelected(session, table))
        return;
    OperationScope scope(session);
    SelectionOutcome outcome;
    try {
        const std::filesystem::path work = session.workDirectory();
        MakePath(work);
        FileLookup lookup(session.codePage());
        WorkDescriptions descriptions(work);
        outcome
            = forEachSelectedFile(session, table, lookup, [&](std::size_t index, const std::filesystem::path& file) {
                  const bool isArchive
                      = isReadDizArchiveName(session.codePage().upper(trimSpaces(table.at(index).FileName)));
                  std::string description
                      = descriptions.take(file, isArchive).value_or(std::string(NoDescription));
                  table.update(index, [&](Entry& entry) { entry.Description = std::move(description); });
                  session.ChangesMade = true;
              });
    } catch (...) {
        session.ReportError("mnuReadDIZ_Click");
        return;
    }
    showNotFound(session, table, outcome.notFound, u"Kelvane Alert!"_s);
}

} // namespace Kelvane
