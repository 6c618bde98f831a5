#include "platform/CodePage.h"

#include <QSet>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Kelvane {
namespace {

TEST(CodePage, EveryPageMapsEveryByteToOneCharacterAndBack)
{
    std::string all(256, '\0');
    for (int byte = 0; byte < 256; ++byte)
        all[static_cast<std::size_t>(byte)] = static_cast<char>(byte);
    for (const QString& name : CodePage::names()) {
        SCOPED_TRACE(name.toStdString());
        const CodePage* page = CodePage::named(name);
        ASSERT_NE(page, nullptr);
        const QString text = page->toUnicode(all);
        EXPECT_EQ(QSet<QChar>(text.begin(), text.end()).size(), 256);
        EXPECT_EQ(page->fromUnicode(text), all);
        EXPECT_TRUE(page->canEncode(text));
    }
}

TEST(CodePage, KnowsTheBoardsPagesAndUpperCasesWithinThem)
{
    const CodePage& western = CodePage::windows1252();
    EXPECT_EQ(western.toUnicode("\x80\x81\xE9"), u"\u20AC\u0081\u00E9"_s); // 0x81 is undefined in the page
    EXPECT_EQ(CodePage::named(u"cp437"_s)->toUnicode("\x82\xDB"), u"\u00E9\u2588"_s);
    EXPECT_EQ(CodePage::named(u"437"_s), CodePage::named(u"CP437"_s));
    EXPECT_EQ(CodePage::named(u"windows-1252"_s), &western);
    EXPECT_EQ(CodePage::named(u"EBCDIC"_s), nullptr);
    EXPECT_EQ(western.fromUnicode(u"a\u4E2Db"_s), "a?b");
    EXPECT_FALSE(western.canEncode(u"\u4E2D"_s));
    // ß and µ have no single upper-case character in the page and stay as they are.
    EXPECT_EQ(western.upper("abc\xE9\xDF\xB5\xFF"), "ABC\xC9\xDF\xB5\x9F");
    EXPECT_EQ(CodePage::named(u"CP437"_s)->upper("\x82\x87"), "\x90\x80"); // é, ç
}

} // namespace
} // namespace Kelvane
