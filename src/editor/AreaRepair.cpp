#include "editor/AreaRepair.h"

#include "board/BasicText.h"
#include "board/FileLookup.h"
#include "board/Session.h"
#include "editor/EntryTable.h"
#include "editor/FileScan.h"
#include "editor/Operations.h"
#include "platform/CodePage.h"
#include "platform/FileNames.h"

#include <QSet>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace fs = std::filesystem;

namespace {

QString listedKey(const CodePage& page, const std::string& name)
{
    return foldName(page.toUnicode(trimSpaces(name)));
}

QString fileKey(const fs::path& file)
{
    return foldName(unicodeFromPath(file.filename()));
}

// Selects the entries whose names are among names; how many.
std::size_t selectNamed(const CodePage& page, EntryTable& table, const QSet<QString>& names)
{
    EntryTable::Batch batch(table);
    table.clearSelection();
    std::size_t count = 0;
    for (std::size_t i = 0; i < table.size(); ++i) {
        if (names.contains(listedKey(page, table.at(i).FileName))) {
            table.setSelected(i, true);
            ++count;
        }
    }
    return count;
}

} // namespace

RepairPlan planRepair(const Session& session, const AreaCheckReport& report, const RepairChoice& choice)
{
    RepairPlan plan;
    const CurrentArea& area = session.area;
    plan.readOnly = area.IsCDRom || area.IsOffline;
    if (choice.eraseMissing) {
        for (const std::string& name : report.missingFiles)
            plan.erase.push_back({ name, false });
        if (choice.zeroAsMissing) {
            for (const std::string& name : report.emptyFiles)
                plan.erase.push_back({ name, true });
        }
    }
    if (choice.adopt) {
        // The scan walks the directories in slot order and each by name, and takes a name
        // once: a second file of the same name in a later directory stays unlisted.
        QSet<QString> taken;
        QSet<QString> seenDirectories;
        for (const fs::path& directory : area.FilePaths) {
            if (directory.empty() || seenDirectories.contains(unicodeFromPath(directory)))
                continue;
            seenDirectories.insert(unicodeFromPath(directory));
            std::vector<fs::path> here;
            for (const fs::path& file : report.unlistedFiles) {
                if (file.parent_path() == directory)
                    here.push_back(file);
            }
            std::ranges::sort(here, [](const fs::path& a, const fs::path& b) { return fileKey(a) < fileKey(b); });
            for (const fs::path& file : here) {
                if (!taken.contains(fileKey(file))) {
                    taken.insert(fileKey(file));
                    plan.adopt.push_back(file);
                }
            }
        }
    }
    if (choice.refresh) {
        plan.sizes = report.sizeMismatches;
        plan.dates = report.dateMismatches;
    }
    return plan;
}

RepairOutcome applyRepair(Session& session, EntryTable& table, const RepairPlan& plan)
{
    RepairOutcome outcome;
    if (plan.readOnly || plan.empty())
        return outcome;
    const CodePage& page = session.codePage();
    FileLookup lookup(page);
    EntryTable::Batch batch(table);

    // An entry leaves only while its file is still missing (or still empty).
    QSet<QString> leaving;
    for (const RepairPlan::Erasure& erasure : plan.erase) {
        const auto found = lookup.findInSlots(session.area.FilePaths, trimSpaces(erasure.name));
        std::error_code error;
        const bool still = erasure.emptyFile ? found && fs::file_size(found->second, error) == 0 && !error : !found;
        if (still)
            leaving.insert(listedKey(page, erasure.name));
        else
            outcome.leftAlone.push_back(page.toUnicode(erasure.name)
                                        + (erasure.emptyFile ? u": its file is no longer empty; kept"_s
                                                             : u": its file is there again; kept"_s));
    }
    if (selectNamed(page, table, leaving) > 0) {
        const std::size_t before = table.size();
        EraseSelectedEntries(session, table);
        outcome.erased = before - table.size();
    }

    // The refreshes go through File Length and File Date on the entries that differ.
    const auto refresh = [&](const std::vector<AreaCheckReport::Mismatch>& mismatches, auto take, std::size_t& count) {
        QSet<QString> names;
        for (const AreaCheckReport::Mismatch& mismatch : mismatches)
            names.insert(listedKey(page, mismatch.name));
        const std::size_t selected = selectNamed(page, table, names);
        if (selected == 0)
            return;
        const std::vector<std::size_t> notFound = take(session, table);
        count += selected - notFound.size();
        for (const std::size_t index : notFound)
            outcome.leftAlone.push_back(page.toUnicode(table.at(index).FileName) + u": its file has gone; kept as listed"_s);
        table.clearSelection();
    };
    refresh(plan.sizes, &TakeFileLengths, outcome.sizes);
    refresh(plan.dates, &TakeFileDates, outcome.dates);

    // The files still there are taken in by the scan itself, which leaves out every other.
    QSet<QString> adopting;
    for (const fs::path& file : plan.adopt) {
        std::error_code error;
        if (fs::is_regular_file(file, error))
            adopting.insert(fileKey(file));
        else
            outcome.leftAlone.push_back(unicodeFromPath(file) + u": gone since the check; not added"_s);
    }
    if (!adopting.isEmpty()) {
        const std::size_t before = table.size();
        mnuFileScan_Click(session, table, [&](const QString& upperName) { return !adopting.contains(upperName); });
        outcome.added = table.size() - before;
    }
    return outcome;
}

} // namespace Kelvane
