// The desktop editor on an area of 100,000 entries, against its targets.
//
//   build/bench/open_area_bench
//
// Opening the area to a painted editor and the memory the program then holds; select all,
// a click on a name and Save Work of one change; and each File Operation run from the
// editor's toolbar against the same operation on the entries alone. Runs on the offscreen
// platform unless QT_QPA_PLATFORM names another.
#include "BenchSupport.h"

#include "accessories/AviFiles.h"
#include "board/BoardTool.h"
#include "board/FilesList.h"
#include "board/Session.h"
#include "editor/EntryTable.h"
#include "editor/Operations.h"
#include "platform/CodePage.h"
#include "platform/SettingsStore.h"
#include "shell/EditorForm.h"
#include "shell/MainFrame.h"
#include "shell/QtPort.h"
#include "shell/SortViewForm.h"
#include "sortmove/SortView.h"

#include <QAction>
#include <QApplication>
#include <QDeadlineTimer>
#include <QHeaderView>
#include <QListView>
#include <QPlainTextEdit>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QToolBar>

#include <cstdlib>
#include <fstream>
#include <random>
#include <string_view>

using namespace Kelvane;
using namespace Kelvane::Bench;
using namespace Qt::StringLiterals;
namespace fs = std::filesystem;

namespace {

constexpr int EntryCount = 100000;
constexpr int Runs = 5;

// Where a board of one area lies under its root.
struct BoardPaths
{
    explicit BoardPaths(const fs::path& root)
        : files(root / "files")
        , program(root / "program")
        , node(root / "board")
        , settings(root / "Vandor.ini")
    {
    }

    fs::path files;
    fs::path program;
    fs::path node;
    fs::path settings;
};

EntryList makeEntries()
{
    std::mt19937 random(1996);
    const char* prefixes[] = { "GAME", "UTIL", "DOOR", "TEXT", "PICS", "SNDS", "PROG", "COMM", "NEWS", "MISC" };
    const char* extensions[] = { "ZIP", "ZIP", "ZIP", "ARJ", "LZH", "TXT" };
    const char* words[]
        = { "archive",   "utility", "game", "BBS", "door", "text",    "viewer", "fast",  "new",      "version",
            "shareware", "with",    "the",  "for", "DOS",  "Windows", "editor", "sound", "graphics", "tool" };
    const char* uploaders[] = { "John Smith", "Mary Jones", "The Sysop", "Bob Brown", "Ann Lee" };
    EntryList entries;
    entries.reserve(EntryCount);
    char name[16];
    char date[16];
    for (int i = 0; i < EntryCount; ++i) {
        std::snprintf(name, sizeof name, "%s%04d.%s", prefixes[i % 10], i / 10, extensions[random() % 6]);
        std::snprintf(date, sizeof date, "%02d-%02d-%02d", 1 + static_cast<int>(random() % 12),
                      1 + static_cast<int>(random() % 28), static_cast<int>(random() % 100));
        const int lines = 1 + static_cast<int>(random() % 3);
        // Most uploads of more than one line end with the uploader's line.
        const bool uploadedBy = lines > 1 && random() % 3 != 0;
        std::string description;
        for (int line = 0; line < lines; ++line) {
            std::string text;
            if (uploadedBy && line == lines - 1) {
                text = std::string("Uploaded By: ") + uploaders[random() % 5];
            } else {
                while (text.size() < 30)
                    text += std::string(words[random() % 20]) + ' ';
                text.resize(std::min<std::size_t>(text.size() - 1, 45));
            }
            description += text + "\r\n";
        }
        entries.push_back({ name, ' ' + std::to_string(1000 + random() % 5000000), date, description });
    }
    return entries;
}

// The area's files, each of the size its entry says (sparse, so the disk holds little),
// but for one in a thousand, which File Date and File Length then report as not found.
void writeBoard(const BoardPaths& paths, const EntryList& entries)
{
    fs::create_directories(paths.files);
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (i % 1000 == 999)
            continue;
        const fs::path file = paths.files / entries[i].FileName;
        std::ofstream(file) << entries[i].FileName;
        fs::resize_file(file, std::stoull(entries[i].Size));
    }
    std::string data;
    FilesListFormat::format(entries, {}, [&](std::string_view bytes) { data.append(bytes); });
    std::ofstream(paths.files / "FILES.LST", std::ios::binary)
        .write(data.data(), static_cast<std::streamsize>(data.size()));

    BoardTool::init(paths.node);
    AreaRecord record;
    record.title = "Shareware Uploads";
    record.path = paths.files.string();
    record.filesList = (paths.files / "FILES.LST").string();
    BoardTool::add(paths.node, record);
    writeMissingAnimations(paths.program);
    SettingsStore settings(QString::fromStdString(paths.settings.string()));
    settings.SaveSetting(u"Vandor Startup"_s, u"Vandor Main Path"_s, QString::fromStdString(paths.node.string()));
    settings.sync();
}

// The offscreen platform warns each time a form sets its size limits; the warning says
// nothing about Kelvane and would bury the figures.
QtMessageHandler defaultMessageHandler = nullptr;

void quietPlatform(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (!message.contains(u"propagateSizeHints"_s))
        defaultMessageHandler(type, context, message);
}

// The frame's boxes, answered without being shown: every box agrees except the question
// about unsaved work, which is declined, so closing the area never rewrites its list.
class AnsweringPort : public QtPort
{
protected:
    Answer execBox(QMessageBox& box, const MessageBox& message) override
    {
        (void)box;
        return message.buttons == Buttons::YesNo ? Answer::No : agreeingAnswer(message.buttons);
    }
};

// Notes when one widget is painted.
class PaintWatch : public QObject
{
public:
    void watch(const QObject* target)
    {
        m_target = target;
        m_painted = false;
    }
    bool painted() const { return m_painted; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (watched == m_target && event->type() == QEvent::Paint)
            m_painted = true;
        return false;
    }

private:
    const QObject* m_target = nullptr;
    bool m_painted = false;
};

/// The desktop program over the board: the main frame shown, its boxes answered.
class Desktop
{
public:
    explicit Desktop(const BoardPaths& paths)
        : session(port, paths.program, CodePage::windows1252())
        , settings(QString::fromStdString(paths.settings.string()))
    {
        frame = std::make_unique<MainFrame>(session, port, settings);
        frame->show();
        (void)QTest::qWaitForWindowExposed(frame.get());
        QCoreApplication::instance()->installEventFilter(&m_paint);
        m_keys = frame->findChild<QToolBar*>(u"tbToolBar2"_s);
    }

    ~Desktop() { QCoreApplication::instance()->removeEventFilter(&m_paint); }

    /// Opens the area and waits until its editor has been painted; false when it did not
    /// open whole.
    bool open()
    {
        if (!frame->openArea(1) || !frame->editor())
            return false;
        auto* names = frame->editor()->findChild<QListView*>(u"lstFileNames"_s);
        m_paint.watch(names->viewport());
        QDeadlineTimer deadline(10000);
        while (!m_paint.painted() && !deadline.hasExpired())
            QCoreApplication::processEvents();
        return m_paint.painted() && names->model()->rowCount() == EntryCount;
    }

    /// Closes the area, its sort view first when that is up, and lets the forms go.
    void close()
    {
        if (auto* sort = frame->findChild<SortViewForm*>(); sort && sort->isVisible())
            sort->reject();
        if (frame->editor())
            press(u"Close"_s);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents();
    }

    /// Opens the area afresh and lets the list finish laying out its rows, so that none of
    /// the opening's work falls into what is timed next.
    void reopen()
    {
        close();
        if (!open()) {
            std::fprintf(stderr, "the area did not open\n");
            std::exit(2);
        }
        settle();
    }

    /// The list lays out its rows a batch at a time, one batch a turn of the event loop,
    /// after its first paint: turns enough for every batch and a few more.
    void settle()
    {
        const QListView* list = names();
        const int turns = list->model()->rowCount() / list->batchSize() + 10;
        for (int turn = 0; turn < turns; ++turn)
            QCoreApplication::processEvents();
    }

    /// A click on the editor toolbar's button key, and the repaint it causes.
    void press(const QString& key)
    {
        for (QAction* action : m_keys->actions()) {
            if (action->objectName() == key)
                action->trigger();
        }
        QCoreApplication::processEvents();
    }

    QListView* names() const { return frame->editor()->findChild<QListView*>(u"lstFileNames"_s); }

    /// A left click on row of the name list, and the repaint it causes.
    void clickName(int row)
    {
        QListView* list = names();
        const QRect rect = list->visualRect(list->model()->index(row, 0));
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, rect.center());
        QCoreApplication::processEvents();
    }

    AnsweringPort port;
    Session session;
    SettingsStore settings;
    std::unique_ptr<MainFrame> frame;

private:
    PaintWatch m_paint;
    QToolBar* m_keys = nullptr;
};

long residentPeakKilobytes()
{
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.starts_with("VmHWM:"))
            return std::atol(line.c_str() + 6);
    }
    return 0;
}

// A fresh copy of this program ("--peak root") opens the area and prints its own peak
// resident memory: this one's peak counts the board it built and every other run too.
long openAreaPeakKilobytes(const fs::path& root)
{
    const std::string command = "'" + fs::canonical("/proc/self/exe").string() + "' --peak '" + root.string() + "'";
    std::fflush(stdout);
    FILE* pipe = ::popen(command.c_str(), "r");
    long peak = 0;
    if (!pipe || std::fscanf(pipe, "%ld", &peak) != 1)
        std::fprintf(stderr, "could not measure the peak memory\n");
    if (pipe)
        ::pclose(pipe);
    return peak;
}

int peakChild(const fs::path& root)
{
    Desktop desktop { BoardPaths(root) };
    if (!desktop.open())
        return 1;
    desktop.settle();
    std::printf("%ld\n", residentPeakKilobytes());
    return 0;
}

// The C library keeps small freed blocks aside and merges them at the next large
// allocation. The editor makes one as soon as it repaints, so an operation that frees
// 100,000 descriptions pays for that there; on the entries alone it would be left to
// whatever ran next. One large allocation settles it within the operation's own time.
void settleFreedBlocks()
{
    void* volatile block = std::malloc(4096);
    std::free(block);
}

void printMilliseconds(const char* what, double seconds)
{
    std::printf("%-48s %9.1f ms\n", what, seconds * 1000);
}

} // namespace

int main(int argc, char* argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    defaultMessageHandler = qInstallMessageHandler(quietPlatform);
    QApplication application(argc, argv);
    if (argc == 3 && std::string_view(argv[1]) == "--peak")
        return peakChild(argv[2]);

    QTemporaryDir directory;
    const fs::path root = directory.path().toStdString();
    const BoardPaths paths(root);
    writeBoard(paths, makeEntries());
    qputenv("KELVANE_HOME", QByteArray::fromStdString(paths.program.string()));
    qputenv("KELVANE_SETTINGS", QByteArray::fromStdString(paths.settings.string()));
    std::printf("An area of %d entries, through the desktop editor\n\n", EntryCount);

    bool pass = true;
    Desktop desktop(paths);
    const double open = medianSeconds(
        Runs,
        [&] {
            if (!desktop.open()) {
                std::fprintf(stderr, "the area did not open\n");
                std::exit(2);
            }
        },
        [&] { desktop.close(); });
    pass &= report("open area to a shown editor", open * 1000, 500, "ms");
    desktop.settle();
    const long peak = openAreaPeakKilobytes(root);
    pass &= peak > 0;
    pass &= report("peak resident memory with the area open", static_cast<double>(peak) / 1024, 100, "MB");

    const double selectAll = medianSeconds(
        Runs, [&] { desktop.press(u"SelectAllFiles"_s); }, [&] { desktop.press(u"UnselectAllFiles"_s); });
    pass &= report("select all", selectAll * 1000, 100, "ms");
    const double click = medianSeconds(
        Runs, [&] { desktop.clickName(3); },
        [&] {
            desktop.frame->editor()->selectRow(0);
            QCoreApplication::processEvents();
        });
    pass &= report("a click on a name", click * 1000, 100, "ms");
    const double clickTagged = medianSeconds(
        Runs, [&] { desktop.clickName(3); },
        [&] {
            desktop.frame->editor()->selectRow(0);
            desktop.press(u"SelectAllFiles"_s);
        });
    pass &= report("a click on a name, all tagged", clickTagged * 1000, 100, "ms");
    int edit = 0;
    const double save = medianSeconds(
        Runs, [&] { desktop.press(u"SaveWork"_s); },
        [&] {
            ++edit;
            desktop.frame->editor()->selectRow(10 + edit);
            QCoreApplication::processEvents();
            auto* box = desktop.frame->editor()->findChild<QPlainTextEdit*>(u"txtFileDescription"_s);
            box->setPlainText(u"A description edited by hand, edit %1"_s.arg(edit));
            QTest::keyClicks(box, u"."_s);
        });
    if (desktop.session.ChangesMade || !fs::exists(paths.files / "FILES.BAK")) {
        std::fprintf(stderr, "Save Work did not save\n");
        pass = false;
    }
    pass &= report("Save Work of one change", save * 1000, 100, "ms");
    std::printf("\n");

    // The same operations on the entries alone. Each run reads them from the list afresh,
    // as the editor does when it opens the area: entries copied from one another just
    // before would lie in memory more tidily than any the editor ever holds, and freeing
    // or walking them would cost less than it can in the program.
    BenchArea core(root / "core", paths.files);
    EntryTable table;
    const auto readList = [&] {
        EntryList entries;
        Load_fEditFileArealsv(core.session, entries);
        if (entries.size() != EntryCount) {
            std::fprintf(stderr, "the list held %zu entries\n", entries.size());
            std::exit(2);
        }
        table.reset(std::move(entries));
    };
    const struct
    {
        const char* name;
        const char16_t* key;
        void (*operation)(Session&, EntryTable&);
    } operations[] = {
        { "File Date", u"FileDate", mnuFileDate_Click },
        { "File Length", u"FileLength", mnuFileLength_Click },
        { "Erase", u"EraseFilesListsOnly", mnuEraseFilesListOnly_Click },
        { "Remove Uploaded By", u"RemoveUploadedBy", mnuRemoveUploadBy_Click },
    };
    const auto compare = [&](const char* name, const char* detail, double screen, double alone) {
        char what[64];
        std::snprintf(what, sizeof what, "%s%s, screen", name, detail);
        printMilliseconds(what, screen);
        std::snprintf(what, sizeof what, "%s%s, core", name, detail);
        printMilliseconds(what, alone);
        // An operation the core finishes within a frame is judged by what the screen adds,
        // at most one frame (16 ms): its ratio swings with the cost of freeing memory, which
        // depends on what ran just before, and says nothing about the screens.
        if (alone < 0.010) {
            std::snprintf(what, sizeof what, "%s: screen - core", name);
            pass &= report(what, (screen - alone) * 1000, 16, "ms");
        } else {
            std::snprintf(what, sizeof what, "%s: screen / core", name);
            pass &= report(what, screen / alone, 1.5, "x");
        }
    };
    for (const auto& operation : operations) {
        const QString key = QString::fromUtf16(operation.key);
        const double screen = medianSeconds(
            Runs, [&] { desktop.press(key); },
            [&] {
                desktop.reopen();
                desktop.press(u"SelectAllFiles"_s);
            });
        const double alone = medianSeconds(
            Runs,
            [&] {
                operation.operation(core.session, table);
                settleFreedBlocks();
            },
            [&] {
                readList();
                table.selectAll();
            });
        compare(operation.name, " of 100,000 tagged", screen, alone);
    }

    // Sorting by size: a click on the Size heading of the sort view, shown as the Sort Files
    // key shows it but without waiting in its modal loop.
    SortViewForm* sortForm = nullptr;
    const double sortScreen = medianSeconds(
        Runs,
        [&] {
            QHeaderView* heading = sortForm->findChild<QTableView*>(u"lsvEditFileArea"_s)->horizontalHeader();
            const QPoint size(heading->sectionViewportPosition(SortView::Size)
                                  + heading->sectionSize(SortView::Size) / 2,
                              heading->height() / 2);
            QTest::mouseClick(heading->viewport(), Qt::LeftButton, {}, size);
            QCoreApplication::processEvents();
        },
        [&] {
            desktop.reopen();
            desktop.session.SortToggle = false;
            sortForm = desktop.frame->findChild<SortViewForm*>();
            sortForm->show();
            (void)QTest::qWaitForWindowExposed(sortForm);
        });
    const std::vector<std::size_t>& shown = sortForm->sortView().shownOrder();
    const EntryTable& sorted = desktop.frame->editor()->table();
    if (std::stol(sorted.at(shown.front()).Size) > std::stol(sorted.at(shown.back()).Size)) {
        std::fprintf(stderr, "the sort view did not sort by size\n");
        pass = false;
    }
    std::unique_ptr<SortView> view;
    const double sortAlone = medianSeconds(
        Runs,
        [&] {
            view->columnClick(SortView::Size);
            settleFreedBlocks();
        },
        [&] {
            readList();
            core.session.SortToggle = false;
            view = std::make_unique<SortView>(core.session, table);
        });
    compare("sort by size", " of 100,000", sortScreen, sortAlone);
    desktop.close();
    return finish(pass);
}
