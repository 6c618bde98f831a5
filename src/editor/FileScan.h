#pragma once

#include "editor/DescriptionLists.h"

#include <QString>

#include <cstddef>
#include <functional>

namespace Kelvane {

class EntryTable;
class Session;

/// Walks every directory of the current area and appends an entry for each file the list
/// does not hold yet, its description taken from the archive's FILE_ID.DIZ. Progress and
/// the stop button go through the session's port; SearchCancel stops the walk between files.
/// Returns the number of entries added. A file whose upper-case name leaveOut answers true
/// for is not added (the command line's --exclude). With descriptionsFrom, a new file that
/// gets no FILE_ID.DIZ takes the description its directory's FILES.BBS or DESCRIPT.ION
/// gives it (by its name or its short alias), and DESCRIPT.ION itself is not added.
std::size_t mnuFileScan_Click(Session& session,
                              EntryTable& table,
                              const std::function<bool(const QString& upperName)>& leaveOut = {},
                              DescriptionsFrom descriptionsFrom = DescriptionsFrom::None);

} // namespace Kelvane
