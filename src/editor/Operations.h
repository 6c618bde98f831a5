#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Kelvane {

class EntryTable;
class Session;

/// The editor's operations on the selected entries. Each traps its own errors and reports
/// them under its own name; each talks to the user through the session's port only.

/// Replaces the descriptions of the selected entries with their archives' FILE_ID.DIZ.
void mnuReadDIZ_Click(Session& session, EntryTable& table);
/// Takes the selected entries' dates from their files.
void mnuFileDate_Click(Session& session, EntryTable& table);
/// Takes the selected entries' sizes from their files.
void mnuFileLength_Click(Session& session, EntryTable& table);
/// File Date then File Length on the same selection, each file looked up and stat'ed once:
/// the same entries changed and the same boxes, in the same order, as the two one after the
/// other. An entry stays selected when either could not take its value.
void RefreshDatesAndLengths(Session& session, EntryTable& table);
/// Removes the selected entries from the list, after asking; the files stay.
void mnuEraseFilesListOnly_Click(Session& session, EntryTable& table);

// The work of Erase, File Date and File Length once the operator has chosen, without their
// questions and boxes, for the repairs the area check offers. Each traps its errors under
// the command's name; the refreshes answer the indices of the selected entries whose files
// were not found (they stay selected).
void EraseSelectedEntries(Session& session, EntryTable& table);
std::vector<std::size_t> TakeFileDates(Session& session, EntryTable& table);
std::vector<std::size_t> TakeFileLengths(Session& session, EntryTable& table);
/// What Delete Files did with the selected entries' files.
struct DeleteReport
{
    std::vector<std::string> deleted; // the files' names as listed
    std::vector<std::string> notFound;
    std::vector<std::string> notDeleted; // found, but could not be deleted (each logged)
    bool asked = false; // the question was answered OK and the area allows deleting
};

/// Removes the selected entries and deletes their files, after asking; refused on CD-ROM
/// and offline areas.
DeleteReport mnuDeleteFiles_Click(Session& session, EntryTable& table);
void mnuSelectAllFiles_Click(EntryTable& table);
void mnuNoSelectAllFiles_Click(EntryTable& table);
/// Cuts the selected entries' descriptions at "Uploaded By".
void mnuRemoveUploadBy_Click(Session& session, EntryTable& table);

} // namespace Kelvane
