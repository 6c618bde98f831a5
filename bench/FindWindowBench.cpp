// The Find window on a board of 100 areas of 10,000 entries each (a million entries): a
// search from the window's Find button until its table holds every result, against the
// same search with nothing but a count behind it, so the window's own share shows.
//
//   build/bench/find_window_bench
//
// Runs on the offscreen platform unless QT_QPA_PLATFORM names another.
#include "BenchSupport.h"

#include "accessories/AviFiles.h"
#include "boardwide/BoardSearch.h"
#include "platform/SettingsStore.h"
#include "shell/FindFilesForm.h"
#include "shell/FindResultsModel.h"
#include "shell/MainFrame.h"
#include "shell/QtPort.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>
#include <fstream>
#include <string>
#include <sys/resource.h>

using namespace Kelvane;
using namespace Qt::StringLiterals;
namespace fs = std::filesystem;

namespace {

constexpr int AreaCount = 100;
constexpr int EntriesPerArea = 10000;
constexpr int Runs = 3;


class Counter : public SearchSink
{
public:
    void areaSearched(const BoardArea&, int, int, std::vector<SearchHit>& found) override { hits += found.size(); }
    void areaSkipped(const AreaProblem&) override { }
    std::size_t hits = 0;
};

struct Search
{
    const char* what;
    QString pattern;
    SearchIn in;
    int searchInRow; // the window's "Search in" row for in
    std::size_t hits;
};

} // namespace

int main(int argc, char* argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    QTemporaryDir temporary;
    const fs::path root = temporary.path().toStdString();
    qputenv("KELVANE_HOME", QByteArray::fromStdString((root / "program").string()));
    qputenv("KELVANE_SETTINGS", QByteArray::fromStdString((root / "Vandor.ini").string()));
    std::printf("Building a board of %d areas x %d entries...\n\n", AreaCount, EntriesPerArea);
    const fs::path node = Bench::buildBoard(root, AreaCount, EntriesPerArea, Bench::benchEntry);
    writeMissingAnimations(root / "program");

    QtPort port;
    Session session(port, root / "program", CodePage::windows1252());
    SettingsStore settings(QString::fromStdString((root / "Vandor.ini").string()));
    settings.SaveSetting(u"Vandor Startup"_s, u"Vandor Main Path"_s, QString::fromStdString(node.string()));
    MainFrame frame(session, port, settings);
    frame.show();
    (void)QTest::qWaitForWindowExposed(&frame);
    frame.findChild<QAction*>(u"mnuFindFiles"_s)->trigger();
    auto* form = frame.findChild<FindFilesForm*>(u"frmFindFiles"_s);
    if (!form) {
        std::fprintf(stderr, "the Find window did not open\n");
        return 2;
    }
    (void)QTest::qWaitForWindowExposed(form);
    auto* pattern = form->findChild<QLineEdit*>(u"txtPattern"_s);
    auto* searchIn = form->findChild<QComboBox*>(u"cboSearchIn"_s);
    auto* find = form->findChild<QPushButton*>(u"cmdFind"_s);

    const Search searches[] = {
        { "names \"*7.ZIP\" (100,000 found)", u"*7.ZIP"_s, SearchIn::Names, 0, 100000 },
        { "names \"F0500123.ZIP\" (1 found)", u"F0500123.ZIP"_s, SearchIn::Names, 0, 1 },
        { "descriptions \"number 4242\" (100 found)", u"number 4242"_s, SearchIn::Descriptions, 1, 100 },
    };
    std::vector<int> all;
    for (int number = 1; number <= AreaCount; ++number)
        all.push_back(number);
    bool pass = true;
    for (const Search& search : searches) {
        std::size_t counted = 0;
        const double core = Bench::medianSeconds(Runs, [&] {
            const Board board = Board::open(node, session.codePage());
            const SearchPattern compiled(search.pattern, search.in, session.codePage());
            BoardSearch run(board, compiled);
            Counter counter;
            run.run(all, counter);
            counted = counter.hits;
        });
        pattern->setText(search.pattern);
        searchIn->setCurrentIndex(search.searchInRow);
        const double window = Bench::medianSeconds(Runs, [&] {
            QTest::mouseClick(find, Qt::LeftButton);
            QCoreApplication::processEvents();
        });
        const auto shown = static_cast<std::size_t>(form->results().rowCount());
        if (counted != search.hits || shown != search.hits) {
            std::printf("%s: the search found %zu, the window shows %zu: wrong\n", search.what, counted, shown);
            return 1;
        }
        std::printf("%s\n", search.what);
        pass &= Bench::report("  the search alone", core * 1000, 2000, "ms");
        pass &= Bench::report("  from Find to a filled table", window * 1000, 2000, "ms");
    }
    struct rusage usage
    {
    };
    getrusage(RUSAGE_SELF, &usage);
    std::printf("%-48s %9.1f MB\n", "peak memory of the run", static_cast<double>(usage.ru_maxrss) / 1024);
    frame.close();
    return Bench::finish(pass);
}
