#pragma once

#include "editor/AreaCheck.h"

#include <QString>

#include <filesystem>
#include <string>
#include <vector>

namespace Kelvane {

class EntryTable;
class Session;

/// The repairs an operator may choose after a check of an area.
struct RepairChoice
{
    bool eraseMissing = false; // entries whose file is in no directory leave the list
    bool zeroAsMissing = false; // with eraseMissing, an entry whose file is empty leaves too
    bool adopt = false; // the unlisted files are added as the scan adds them
    bool refresh = false; // differing sizes and dates are taken from the files

    bool any() const { return eraseMissing || adopt || refresh; }
};

/// What the chosen repairs would change, worked out from a check's report: exactly what
/// applyRepair does when nothing changes on the disk meanwhile.
struct RepairPlan
{
    struct Erasure
    {
        std::string name; // as listed
        bool emptyFile = false; // its file is there but empty
    };

    std::vector<Erasure> erase;
    std::vector<std::filesystem::path> adopt; // in the order the scan adds them
    std::vector<AreaCheckReport::Mismatch> sizes;
    std::vector<AreaCheckReport::Mismatch> dates;
    bool readOnly = false; // a CD-ROM or offline area: reported, never changed

    bool empty() const { return erase.empty() && adopt.empty() && sizes.empty() && dates.empty(); }
};

RepairPlan planRepair(const Session& session, const AreaCheckReport& report, const RepairChoice& choice);

/// What applyRepair did.
struct RepairOutcome
{
    std::size_t erased = 0; // entries
    std::size_t added = 0;
    std::size_t sizes = 0; // entries whose size was taken from the file
    std::size_t dates = 0;
    std::vector<QString> leftAlone; // one line each: planned, but the disk changed since
};

/// Carries the plan out on the open area's entries through the editor's own operations:
/// Erase for the entries that leave, File Length and File Date for the refreshes, the scan
/// for the files taken in. The selection is cleared; ChangesMade is set as those set it;
/// nothing is saved. A CD-ROM or offline area is never changed.
RepairOutcome applyRepair(Session& session, EntryTable& table, const RepairPlan& plan);

} // namespace Kelvane
