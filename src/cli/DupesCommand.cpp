#include "cli/Commands.h"
#include "cli/EditCommand.h"
#include "cli/Json.h"

#include "board/FileLookup.h"
#include "board/FileSystem.h"
#include "boardwide/BoardProgress.h"
#include "boardwide/Dupes.h"
#include "editor/Operations.h"
#include "platform/CodePage.h"
#include "platform/FileNames.h"

#include <CLI/CLI.hpp>

#include <future>
#include <map>
#include <set>
#include <tuple>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace fs = std::filesystem;

namespace {

// What one area's list and directories lose.
struct AreaRemovals
{
    std::vector<const DupeCopy*> deleted; // entry and file, through the editor's Delete
    std::vector<const DupeCopy*> erased; // the entry alone
    std::vector<const DupeCopy*> files; // a file no entry names
};

using CopyKey = std::tuple<int, int, int, fs::path::string_type>;

CopyKey keyOf(const DupeCopy& copy)
{
    return { copy.area, copy.entry, copy.slot, copy.diskName };
}

class DupesCommand : public Command
{
public:
    CLI::App* setUp(CLI::App& parent) override
    {
        CLI::App* command = parent.add_subcommand(
            "dupes", "list the files held more than once: by name, by content, or both, within and across areas");
        addAreaOptions(*command, m_areas, nullptr, false);
        addMainNodeOption(*command, m_mainNode);
        command->add_option("--by", m_by, "compare names (the default), contents, or both")
            ->check(CLI::IsMember({ "name", "content", "both" }));
        command->add_flag("--json", m_json, "print one JSON object");
        command->add_flag("--remove-extra", m_removeExtra,
                          "delete every copy but one of each group, and erase their entries");
        command->add_option("--keep", m_keep, "the copy --remove-extra keeps: first (the default), oldest or newest")
            ->check(CLI::IsMember({ "first", "oldest", "newest" }));
        command->add_flag("--dry-run", m_dryRun, "print what --remove-extra would do and change nothing");
        command->add_flag("--yes", m_yes, "answer OK or Yes to every question (--remove-extra needs it)");
        return command;
    }

    int run(CommandContext& context) override
    {
        BoardSession session(context, m_mainNode, m_yes);
        const AreaSet set = session.areaSet(m_areas.selection());
        const Board& board = session.board();
        const CodePage& page = session.codePage();
        const DupesBy by = m_by == "content" ? DupesBy::Content : m_by == "both" ? DupesBy::Both : DupesBy::Name;

        DupesHashCache cache;
        const fs::path cachePath = DupesHashCache::defaultPath();
        QString cacheProblem;
        // The cache is read while the areas are.
        std::future<void> loading;
        if (by != DupesBy::Name)
            loading = std::async(std::launch::async, [&] { cache.load(cachePath, cacheProblem); });
        const auto awaitCache = [&] {
            if (loading.valid())
                loading.get();
        };
        TerminalProgress progress(context.err, context.errorIsTerminal && !set.single, page);
        DupesReport report;
        try {
            report = findDuplicates(board, set.numbers,
                                    { .by = by, .cache = &cache, .awaitCache = awaitCache, .progress = &progress });
        } catch (...) {
            awaitCache(); // the loading thread uses the cache: it ends before the cache does
            throw;
        }
        awaitCache();
        if (!cacheProblem.isEmpty())
            context.err << "kelvane: " << cacheProblem.toStdString() << '\n';
        if (by != DupesBy::Name) {
            // A run over the whole board knows every file there is: the others leave the cache.
            if (static_cast<int>(set.numbers.size()) == board.count() && report.skipped.empty())
                cache.dropUntouched();
            if (cache.changed() && !cache.save(cachePath, cacheProblem))
                context.err << "kelvane: " << cacheProblem.toStdString() << '\n';
        }
        for (const AreaProblem& problem : report.skipped)
            context.err << "kelvane: " << problem.line(page).toStdString() << '\n';
        for (const QString& notice : report.notices)
            context.err << "kelvane: " << notice.toStdString() << '\n';

        if (m_json)
            printJson(context.out, board, report);
        else
            printText(context.out, board, report);
        bool failed = !report.skipped.empty() || report.filesLeftOut > 0;
        if (m_removeExtra && removeExtra(context, board, report) != ExitDone)
            failed = true;
        return failed ? ExitFailed : ExitDone;
    }

private:
    static void printText(std::ostream& out, const Board& board, const DupesReport& report)
    {
        const CodePage& page = board.codePage();
        for (const DupeGroup& group : report.groups) {
            if (group.kind == DupeGroup::Kind::Name)
                out << "Same name: " << terminalText(page, group.key);
            else
                out << "Same content: SHA-256 " << group.key;
            out << " (" << group.copies.size() << " copies)\n";
            for (const DupeCopy& copy : group.copies) {
                const BoardArea& area = board.area(copy.area);
                const fs::path path = pathOf(board, copy);
                out << "  area " << copy.area << " (" << terminalText(page, area.title()) << ")  "
                    << terminalText(page, copy.name) << "  " << copy.size << " bytes  " << copy.date << "  "
                    << (path.empty() ? std::string("(in no directory)") : terminalText(path)) << "  "
                    << (copy.listed() ? "in the Files List" : "not in the Files List") << '\n';
            }
        }
        out << report.groups.size() << (report.groups.size() == 1 ? " group" : " groups")
            << " of duplicates; the extra copies take " << report.extraBytes << " bytes\n";
    }

    static void printJson(std::ostream& out, const Board& board, const DupesReport& report)
    {
        const CodePage& page = board.codePage();
        JsonWriter json(out);
        json.beginObject();
        json.key("groups");
        json.beginArray();
        for (const DupeGroup& group : report.groups) {
            json.beginObject();
            json.key("by");
            json.value(group.kind == DupeGroup::Kind::Name ? u"name"_s : u"content"_s);
            json.key(group.kind == DupeGroup::Kind::Name ? "name" : "sha256");
            json.value(group.kind == DupeGroup::Kind::Name ? page.toUnicode(group.key)
                                                           : QString::fromStdString(group.key));
            json.key("copies");
            json.beginArray();
            for (const DupeCopy& copy : group.copies) {
                json.beginObject();
                json.key("area");
                json.value(static_cast<long long>(copy.area));
                json.key("title");
                json.value(page.toUnicode(board.area(copy.area).title()));
                json.key("name");
                json.value(page.toUnicode(copy.name));
                json.key("size");
                json.value(static_cast<long long>(copy.size));
                json.key("date");
                json.value(QString::fromStdString(copy.date));
                json.key("path");
                json.value(unicodeFromPath(pathOf(board, copy)));
                json.key("listed");
                json.value(copy.listed());
                json.endObject();
            }
            json.endArray();
            json.endObject();
        }
        json.endArray();
        json.key("group_count");
        json.value(static_cast<long long>(report.groups.size()));
        json.key("extra_bytes");
        json.value(static_cast<long long>(report.extraBytes));
        json.endObject();
        json.finish();
    }

    int removeExtra(CommandContext& context, const Board& board, const DupesReport& report)
    {
        const CodePage& page = board.codePage();
        const DupesKeep keep = m_keep == "oldest" ? DupesKeep::Oldest
            : m_keep == "newest"                  ? DupesKeep::Newest
                                                  : DupesKeep::First;
        // A copy one group keeps is never removed by another (--by both).
        std::vector<std::vector<DupeRemoval>> plans;
        std::set<CopyKey> kept;
        for (const DupeGroup& group : report.groups) {
            plans.push_back(planRemoval(board, group, keep));
            for (const DupeRemoval& removal : plans.back()) {
                if (removal.action == DupeRemoval::Action::Keep)
                    kept.insert(keyOf(*removal.copy));
            }
        }
        const bool act = m_yes && !m_dryRun;
        const char* would = act ? "" : "would be ";
        std::map<int, AreaRemovals> byArea;
        std::set<CopyKey> planned;
        // After a JSON document the plan goes to standard error, so the output still parses.
        std::ostream& out = m_json ? context.err : context.out;
        for (const std::vector<DupeRemoval>& plan : plans) {
            for (const DupeRemoval& removal : plan) {
                const DupeCopy& copy = *removal.copy;
                if (removal.action == DupeRemoval::Action::Keep || kept.contains(keyOf(copy))
                    || !planned.insert(keyOf(copy)).second)
                    continue;
                const std::string where = " (area " + std::to_string(copy.area) + ")";
                const std::string name = terminalText(page, copy.name);
                const std::string path = copy.hasFile() ? terminalText(pathOf(board, copy)) : name;
                AreaRemovals& area = byArea[copy.area];
                switch (removal.action) {
                case DupeRemoval::Action::Delete:
                    area.deleted.push_back(&copy);
                    if (!act)
                        out << "would delete " << path << " and erase its entry" << where << '\n';
                    break;
                case DupeRemoval::Action::EraseEntry:
                    area.erased.push_back(&copy);
                    if (!act)
                        out << "would erase the entry " << name << where << '\n';
                    break;
                case DupeRemoval::Action::DeleteFile:
                    area.files.push_back(&copy);
                    if (!act)
                        out << "would delete " << path << where << '\n';
                    break;
                case DupeRemoval::Action::LeaveReadOnly:
                    out << path << where << ": " << would << "left alone, the area is on a CD-ROM or offline\n";
                    break;
                case DupeRemoval::Action::LeaveSameFile:
                    out << path << where << ": " << would << "left alone, it is the same file as another copy\n";
                    break;
                case DupeRemoval::Action::Keep:
                    break;
                }
            }
        }
        if (m_dryRun)
            return ExitDone;
        if (!m_yes) {
            context.err << "kelvane: nothing was removed: --remove-extra needs --yes (--dry-run shows the plan)\n";
            return ExitFailed;
        }
        std::erase_if(byArea, [](const auto& item) {
            return item.second.deleted.empty() && item.second.erased.empty() && item.second.files.empty();
        });
        if (byArea.empty())
            return ExitDone;
        EditOptions options;
        options.mainNode = m_mainNode;
        options.yes = true;
        for (const auto& [number, removals] : byArea)
            options.areas.words.push_back(std::to_string(number));
        return runEditCommand(context, options, [&](EditSession& edit) {
            return removeIn(edit, context, board, byArea.at(edit.session().area.AreaNumber));
        });
    }

    // One area's removals, on the list as it is now: an entry that is no longer where it was
    // read, or whose name now finds another file, is left alone.
    static int removeIn(EditSession& edit, CommandContext& context, const Board& board, const AreaRemovals& removals)
    {
        const CodePage& page = edit.codePage();
        EntryTable& table = edit.table();
        const CurrentArea& area = edit.session().area;
        const auto complain = [&](const DupeCopy& copy, const char* why) {
            context.err << "kelvane: area " << copy.area << ": " << terminalText(page, copy.name) << ' ' << why
                        << "; it is left alone\n";
            edit.setFailed();
        };
        const auto stillListed = [&](const DupeCopy& copy) {
            const auto at = static_cast<std::size_t>(copy.entry);
            return at < table.size() && page.upper(table.at(at).FileName) == page.upper(copy.name);
        };
        FileLookup lookup(page);
        std::vector<std::size_t> erase;
        std::vector<std::size_t> remove;
        for (const DupeCopy* copy : removals.erased) {
            if (stillListed(*copy))
                erase.push_back(static_cast<std::size_t>(copy->entry));
            else
                complain(*copy, "is no longer where the Files List held it");
        }
        for (const DupeCopy* copy : removals.deleted) {
            const auto found = lookup.findInSlots(area.FilePaths, copy->name);
            if (!stillListed(*copy))
                complain(*copy, "is no longer where the Files List held it");
            else if (!found || found->second != pathOf(board, *copy))
                complain(*copy, "now names another file");
            else
                remove.push_back(static_cast<std::size_t>(copy->entry));
        }
        for (const DupeCopy* copy : removals.files)
            deleteUnlisted(edit, context, board, *copy);

        if (!erase.empty()) {
            table.clearSelection();
            for (const std::size_t index : erase)
                table.setSelected(index, true);
            std::vector<std::string> names;
            for (const std::size_t index : erase)
                names.push_back(table.at(index).FileName);
            const std::size_t before = table.size();
            mnuEraseFilesListOnly_Click(edit.session(), table);
            if (table.size() == before) {
                edit.setFailed();
                return edit.finish();
            }
            for (const std::string& name : names)
                context.out << "erased the entry " << terminalText(page, name) << " (area " << area.AreaNumber << ")\n";
            // The entries after each erased one moved up.
            for (std::size_t& index : remove)
                index -= static_cast<std::size_t>(
                    std::count_if(erase.begin(), erase.end(), [&](std::size_t e) { return e < index; }));
        }
        if (!remove.empty()) {
            table.clearSelection();
            for (const std::size_t index : remove)
                table.setSelected(index, true);
            const DeleteReport report = mnuDeleteFiles_Click(edit.session(), table);
            for (const std::string& name : report.deleted)
                context.out << "deleted " << terminalText(page, name) << " (area " << area.AreaNumber << ")\n";
            for (const std::string& name : report.notDeleted)
                context.err << "kelvane: " << terminalText(page, name)
                            << " could not be deleted (see Kelvane.err); its entry was removed\n";
            if (!report.asked || !report.notDeleted.empty())
                edit.setFailed();
        }
        return edit.finish();
    }

    // A file no entry names: deleted only while it is still the file that was compared, in
    // one of the area's own directories.
    static void deleteUnlisted(EditSession& edit, CommandContext& context, const Board& board, const DupeCopy& copy)
    {
        const fs::path path = pathOf(board, copy);
        const std::optional<FileIdentity> now = identityOf(path);
        std::error_code error;
        if (!now || *now != copy.identity) {
            context.err << "kelvane: " << terminalText(path) << " changed since it was compared; it is left alone\n";
            edit.setFailed();
            return;
        }
        if (!ClearAttributes(path) || !fs::remove(path, error) || error) {
            context.err << "kelvane: " << terminalText(path) << " could not be deleted"
                        << (error ? ": " + error.message() : std::string()) << '\n';
            edit.setFailed();
            return;
        }
        context.out << "deleted " << terminalText(path) << " (area " << copy.area << ")\n";
    }

    AreaOptions m_areas;
    std::optional<std::string> m_mainNode;
    std::string m_by = "name";
    std::string m_keep = "first";
    bool m_json = false;
    bool m_removeExtra = false;
    bool m_dryRun = false;
    bool m_yes = false;
};

} // namespace

std::unique_ptr<Command> makeDupesCommand()
{
    return std::make_unique<DupesCommand>();
}

} // namespace Kelvane
