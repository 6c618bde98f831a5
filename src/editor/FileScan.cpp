#include "editor/FileScan.h"

#include "board/AreaRecords.h"
#include "board/BasicText.h"
#include "board/FileDates.h"
#include "board/FileLookup.h"
#include "board/FileSystem.h"
#include "board/Session.h"
#include "editor/Description.h"
#include "editor/EntryTable.h"
#include "editor/Selection.h"
#include "index/MakeIndex.h"
#include "platform/Archives.h"
#include "platform/CodePage.h"
#include "platform/FileIdentity.h"
#include "platform/FileNames.h"

#include <QSet>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace fs = std::filesystem;

namespace {

class FileScan
{
public:
    FileScan(Session& session,
             EntryTable& table,
             const std::function<bool(const QString&)>& leaveOut,
             DescriptionsFrom descriptionsFrom)
        : m_session(session)
        , m_table(table)
        , m_leaveOut(leaveOut)
        , m_descriptionsFrom(descriptionsFrom)
        , m_page(session.codePage())
        , m_port(session.port())
    {
    }

    std::size_t run()
    {
        m_session.SearchCancel = false;
        m_work = m_session.workDirectory();
        if (!MakePath(m_work))
            return 0; // no Work directory: nothing can be extracted, so nothing is done
        m_descriptions.emplace(m_work);
        OperationScope scope(m_session);
        const CurrentArea& area = m_session.area;
        m_skipList = foldName(unicodeFromPath(PathUtility::FileNameOf(area.FileListPath)));
        m_skipIndex = foldName(unicodeFromPath(PathUtility::FileNameOf(area.IndexPath)));
        // The names already listed, compared ignoring case: one look-up per file on disk.
        m_listed.reserve(static_cast<qsizetype>(m_table.size()));
        for (const Entry& entry : m_table.entries())
            m_listed.insert(foldName(m_page.toUnicode(entry.FileName)));
        try {
            EntryTable::Batch batch(m_table);
            for (const fs::path& directory : area.FilePaths) {
                if (m_session.SearchCancel)
                    break;
                if (!directory.empty())
                    scanDirectory(directory);
            }
        } catch (...) {
            m_session.ReportError("mnuFileScan_Click");
            // The entries added before the error stay, and must not be lost at closing.
            if (m_added > 0)
                finish();
            return m_added;
        }
        finish();
        return m_added;
    }

private:
    void scanDirectory(const fs::path& directory)
    {
        std::vector<fs::path> names;
        try {
            names = listDirectoryFiles(directory);
        } catch (const fs::filesystem_error&) {
            names.clear(); // a directory that cannot be listed holds no new file
        }
        const auto count = static_cast<qint64>(names.size());
        m_port.progressText(ProgressLine::Path, unicodeFromPath(directory));
        m_port.progressValue(0, std::max<qint64>(count, 1));
        std::unique_ptr<DirectoryListing> listing;
        const auto directoryListing = [&]() -> const DirectoryListing& {
            if (!listing)
                listing = std::make_unique<DirectoryListing>(directory, m_page);
            return *listing;
        };
        std::optional<DirectoryDescriptions> descriptions;
        for (qint64 i = 0; i < count && !m_session.SearchCancel; ++i) {
            m_port.progressValue(i, std::max<qint64>(count, 1));
            m_port.progressText(ProgressLine::Status, u"Searching, one moment please!"_s);
            m_port.processEvents();
            const fs::path& name = names[static_cast<std::size_t>(i)];
            const QString upper = foldName(unicodeFromPath(name));
            if (upper == m_skipList || upper == m_skipIndex || matchesPattern(upper.toStdString(), "*.BAK")
                || matchesPattern(upper.toStdString(), "FILES.*"))
                continue;
            if (m_listed.contains(upper) || (m_leaveOut && m_leaveOut(upper)))
                continue;
            // The list of descriptions is read beside the files, not offered as one of them.
            if (m_descriptionsFrom != DescriptionsFrom::None
                && upper == QLatin1StringView(DescriptionLists::DescriptIonName))
                continue;
            // A name the code page cannot hold is listed as its short alias, which can.
            const QString text = unicodeFromPath(name);
            QString listedName = upper;
            if (!m_page.canEncode(upper))
                listedName = foldName(directoryListing().aliasOf(text));
            const auto fromList = [&]() -> std::optional<std::string> {
                if (m_descriptionsFrom == DescriptionsFrom::None)
                    return std::nullopt;
                if (!descriptions)
                    descriptions.emplace(directory, m_descriptionsFrom, m_page);
                if (descriptions->empty())
                    return std::nullopt;
                if (std::optional<std::string> found = descriptions->find(text))
                    return found;
                return descriptions->find(directoryListing().aliasOf(text));
            };
            add(directory / name, listedName, fromList);
        }
    }

    void add(const fs::path& file,
             const QString& upperName,
             const std::function<std::optional<std::string>()>& fromList)
    {
        ++m_added;
        m_port.progressText(ProgressLine::Item, upperName);
        m_port.progressText(ProgressLine::Count, QString::number(m_added));
        m_port.progressText(ProgressLine::Status, u"Reading File and Extracting File Description!"_s);
        const std::string name = m_page.upper(m_page.fromUnicode(upperName));
        // Asked for every new file: a description left in the Work directory by a file that
        // could not be deleted serves the next file too.
        std::optional<std::string> extracted = m_descriptions->take(file, isScanArchiveName(name));
        if (!extracted)
            extracted = fromList();
        std::string description = extracted.value_or(std::string(NoDescription));
        // One look at the file gives its date and its length; a look that fails asks again the
        // way that reports why.
        const std::optional<FileStatus> status = statusOf(file);
        const bool seen = status && status->regular;
        std::string date = todayListDate();
        if (m_session.RealFileDates)
            date = seen ? listDate(modifiedSeconds(status->identity)) : fileListDate(file);
        const std::uintmax_t size = seen ? status->identity.size : fs::file_size(file);
        m_table.append({ name, plainNumber(static_cast<double>(size)), date, std::move(description) });
        m_listed.insert(upperName);
    }

    void finish()
    {
        CurrentArea& area = m_session.area;
        if (m_added > 0) {
            m_session.ChangesMade = true;
            if (area.TrackForIndex)
                m_session.IndexPending = true;
        } else {
            m_session.ShowAlert("NoNewFilesFound");
        }
        if (m_session.ChangesMade && area.TrackForIndex)
            AddToMakeIndexList(m_session, area.AreaNumber);
    }

    Session& m_session;
    EntryTable& m_table;
    const std::function<bool(const QString&)>& m_leaveOut;
    DescriptionsFrom m_descriptionsFrom;
    const CodePage& m_page;
    UserPort& m_port;
    fs::path m_work;
    std::optional<WorkDescriptions> m_descriptions;
    QString m_skipList;
    QString m_skipIndex;
    QSet<QString> m_listed;
    std::size_t m_added = 0;
};

} // namespace

std::size_t mnuFileScan_Click(Session& session,
                              EntryTable& table,
                              const std::function<bool(const QString& upperName)>& leaveOut,
                              DescriptionsFrom descriptionsFrom)
{
    return FileScan(session, table, leaveOut, descriptionsFrom).run();
}

} // namespace Kelvane
