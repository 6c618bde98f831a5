#include "cli/CliRunner.h"

#include "support/TestBoard.h"

#include <QImage>
#include <QProcess>
#include <QSet>
#include <QStandardPaths>

namespace Kelvane::Testing {
namespace {

// The web page as a browser draws it: a laid-out page has headings, tables and text in
// several colours, not one blank colour.
TEST(FileListPageTest, TheWebPageIsLaidOutInABrowser)
{
    TestBoard board;
    const AreaRecord utilities = board.simpleRecord("Utilities");
    board.addArea(utilities);
    std::string list;
    for (int i = 0; i < 30; ++i)
        list += "TOOL" + std::to_string(10 + i) + ".ZIP       1234 05-17-96 A tool \xB3 with a box line\r\n"
                "                               and a second line\r\n";
    TestBoard::writeFile(utilities.filesList, list);

    const QString chromium = QStandardPaths::findExecutable(u"chromium"_s);
    if (chromium.isEmpty())
        GTEST_SKIP() << "chromium is not installed (./dev installs it): the web page was not drawn";
    const fs::path page = board.root() / "allfiles.html";
    ASSERT_EQ(runKelvane({ "allfiles", "--all", "--main-node", board.mainNode().string(), "--format", "html",
                          "--output", page.string() })
                  .status,
              0);
    const QString shot = QString::fromStdString((board.root() / "shot.png").string());
    QProcess browser;
    browser.start(chromium, { u"--headless"_s, u"--no-sandbox"_s, u"--disable-gpu"_s, u"--screenshot="_s + shot,
                              u"--window-size=1000,800"_s, QString::fromStdString("file://" + page.string()) });
    ASSERT_TRUE(browser.waitForFinished(60000)) << "chromium did not finish";
    const QImage image(shot);
    ASSERT_FALSE(image.isNull()) << browser.readAllStandardError().toStdString();
    QSet<QRgb> colours;
    int rowsWithInk = 0;
    for (int y = 0; y < image.height(); ++y) {
        bool ink = false;
        for (int x = 0; x < image.width(); x += 2) {
            const QRgb pixel = image.pixel(x, y);
            colours.insert(pixel);
            ink = ink || qGray(pixel) < 128;
        }
        rowsWithInk += ink ? 1 : 0;
    }
    EXPECT_GT(colours.size(), 20) << "a blank or one-colour page";
    EXPECT_GT(rowsWithInk, 100) << "too little text on the page";
}

} // namespace
} // namespace Kelvane::Testing
