#include "platform/SettingsStore.h"

#include "support/TestBoard.h"

namespace Kelvane::Testing {
namespace {

TEST(SettingsStore, WritesAPlainIniFileAnOperatorCanReadAndReadsThoseOfEarlierBuilds)
{
    QTemporaryDir directory;
    const QString path = directory.filePath(u"Vandor.ini"_s);
    {
        SettingsStore store(path);
        store.SaveSetting(u"Vandor Startup"_s, u"Vandor Main Path"_s, u"C:\\Files\\My Stuff"_s);
        store.saveInt(u"Kelvane Startup"_s, u"FATF.ColumnHeaders(1).Width"_s, 1440);
        store.saveBool(u"Kelvane Startup"_s, u"RealFileDates"_s, true);
        ASSERT_TRUE(store.sync());
    }
    EXPECT_EQ(TestBoard::readFile(path.toStdString()),
              "[Kelvane Startup]\nFATF.ColumnHeaders(1).Width=1440\nRealFileDates=True\n\n"
              "[Vandor Startup]\nVandor Main Path=C:\\Files\\My Stuff\n");
    SettingsStore again(path);
    EXPECT_EQ(again.GetSetting(u"Vandor Startup"_s, u"Vandor Main Path"_s), u"C:\\Files\\My Stuff"_s);
    EXPECT_EQ(again.getInt(u"Kelvane Startup"_s, u"FATF.ColumnHeaders(1).Width"_s, 0), 1440);
    EXPECT_EQ(again.GetSetting(u"Kelvane Startup"_s, u"Missing"_s, u"fallback"_s), u"fallback"_s);

    // Files of earlier builds, and booleans as Basic wrote them.
    std::ofstream(path.toStdString()) << "[Vandor\\Kelvane Startup]\nRealFileDates = -1\nSplash=false\n; a comment\n";
    SettingsStore store(path);
    EXPECT_TRUE(store.getBool(u"Kelvane Startup"_s, u"RealFileDates"_s, false));
    EXPECT_FALSE(store.getBool(u"Kelvane Startup"_s, u"Splash"_s, true));
    for (const auto& [text, expected] : std::vector<std::pair<QString, bool>> {
             { u"TRUE"_s, true }, { u"False"_s, false }, { u"0"_s, false }, { u"-1"_s, true }, { u"maybe"_s, true } }) {
        EXPECT_EQ(SettingsStore::parseBool(text, true), expected) << text.toStdString();
    }
}

} // namespace
} // namespace Kelvane::Testing
