#include "board/BasicText.h"
#include "board/FileDates.h"
#include "board/FileLookup.h"
#include "board/Session.h"
#include "editor/EntryTable.h"
#include "editor/Operations.h"
#include "editor/Selection.h"

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace {

// File Date and File Length share one shape: take a value from each selected entry's file
// and store it, even when it is the value already held, so the list counts as changed.
void refresh(Session& session,
             EntryTable& table,
             const char* procedure,
             const QString& notFoundTitle,
             const std::function<void(Entry&, const std::filesystem::path&)>& take)
{
    if (nothingSelected(session, table))
        return;
    OperationScope scope(session);
    SelectionOutcome outcome;
    try {
        FileLookup lookup(session.codePage());
        outcome
            = forEachSelectedFile(session, table, lookup, [&](std::size_t index, const std::filesystem::path& file) {
                  table.update(index, [&](Entry& entry) { take(entry, file); });
                  session.ChangesMade = true;
              });
    } catch (...) {
        session.ReportError(procedure);
        return;
    }
    showNotFound(session, table, outcome.notFound, notFoundTitle);
}

} // namespace

void mnuFileDate_Click(Session& session, EntryTable& table)
{
    refresh(session, table, "mnuFileDate_Click", u"Kelvane Alert!"_s,
            [](Entry& entry, const std::filesystem::path& file) { entry.Date = fileListDate(file); });
}

void mnuFileLength_Click(Session& session, EntryTable& table)
{
    refresh(session, table, "mnuFileLength_Click", u"Kelvane Alert Message!"_s,
            [](Entry& entry, const std::filesystem::path& file) {
                entry.Size = plainNumber(static_cast<double>(std::filesystem::file_size(file)));
            });
}

} // namespace Kelvane
