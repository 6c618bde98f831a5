#pragma once

#include <QString>

#include <cstddef>
#include <filesystem>
#include <functional>
#include <vector>

namespace Kelvane {

class EntryTable;
class FileLookup;
class Session;

/// What an operation over the selected entries did.
struct SelectionOutcome
{
    std::vector<std::size_t> processed;
    std::vector<std::size_t> notFound;
};

/// How every operation on the selected entries goes: each selected entry, in list order,
/// whose file is found in the area's directories is processed and deselected; an entry
/// whose file is in no directory stays selected and is named in the "not found" box.
///
/// process gets the entry's index and its file (as spelled on disk). The table's
/// observers hear of all the changes once, at the end.
SelectionOutcome forEachSelectedFile(Session& session,
                                     EntryTable& table,
                                     FileLookup& lookup,
                                     const std::function<void(std::size_t, const std::filesystem::path&)>& process);

/// The box that names the entries whose files were not found, when there are any: "Files
/// listed below were not found!", two CRs, then every name followed by one blank.
void showNotFound(Session& session,
                  const EntryTable& table,
                  const std::vector<std::size_t>& notFound,
                  const QString& title);

/// Shows NoSelectedFiles and answers true when nothing is selected.
bool nothingSelected(Session& session, const EntryTable& table);

/// The three commands that are not built yet show this and change nothing.
void showNotAvailable(Session& session);

/// Busy pointer and event loop handling for one operation.
class OperationScope
{
public:
    explicit OperationScope(Session& session);
    ~OperationScope();
    OperationScope(const OperationScope&) = delete;
    OperationScope& operator=(const OperationScope&) = delete;

private:
    Session& m_session;
};

} // namespace Kelvane
