#include "editor/Selection.h"

#include "board/BasicText.h"
#include "board/FileLookup.h"
#include "board/Session.h"
#include "editor/EntryTable.h"
#include "platform/CodePage.h"

using namespace Qt::StringLiterals;

namespace Kelvane {

SelectionOutcome forEachSelectedFile(Session& session,
                                     EntryTable& table,
                                     FileLookup& lookup,
                                     const std::function<void(std::size_t, const std::filesystem::path&)>& process)
{
    SelectionOutcome outcome;
    EntryTable::Batch batch(table);
    for (const std::size_t index : table.selectedIndices()) {
        // The name is trimmed for the look-up: a name with blanks around it still finds its file.
        const std::string name(trimSpaces(table.at(index).FileName));
        const auto found = lookup.findInSlots(session.area.FilePaths, name);
        if (!found) {
            outcome.notFound.push_back(index);
            continue;
        }
        process(index, found->second);
        table.setSelected(index, false);
        outcome.processed.push_back(index);
    }
    return outcome;
}

void showNotFound(Session& session,
                  const EntryTable& table,
                  const std::vector<std::size_t>& notFound,
                  const QString& title)
{
    if (notFound.empty())
        return;
    QString names;
    for (const std::size_t index : notFound)
        names += session.codePage().toUnicode(table.at(index).FileName) + u' ';
    session.port().messageBox(
        { title, u"Files listed below were not found!\r\r"_s + names, Buttons::Ok, Icon::Information });
}

bool nothingSelected(Session& session, const EntryTable& table)
{
    if (table.anySelected())
        return false;
    session.ShowAlert("NoSelectedFiles");
    return true;
}

void showNotAvailable(Session& session)
{
    session.port().messageBox(
        { u"Kelvane Alert Message!"_s, u"Sorry, this feature is not available yet!"_s, Buttons::Ok, Icon::None });
}

OperationScope::OperationScope(Session& session)
    : m_session(session)
{
    m_session.port().setBusy(true);
}

OperationScope::~OperationScope()
{
    m_session.port().setBusy(false);
}

} // namespace Kelvane
