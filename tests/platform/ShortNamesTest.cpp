#include "platform/ShortNames.h"

#include <QSet>

#include <gtest/gtest.h>

#include <ostream>
#include <random>
#include <utility>

using namespace Qt::StringLiterals;

static void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}

namespace Kelvane {
namespace {

const CodePage& page(const char* name)
{
    return *CodePage::named(QString::fromLatin1(name));
}

TEST(ShortNamesTest, ValidShortNames)
{
    const struct
    {
        QString name;
        bool valid;
        const char* page = "Windows-1252";
    } cases[] = {
        { u"README.TXT"_s, true },
        { u"ABCDEFGH.ABC"_s, true },
        { u"!#$%&'()"_s, true },
        { u"-@^_`{}~.X"_s, true },
        { u"É.TXT"_s, true },
        { u"Ő.TXT"_s, true, "CP852" },
        { u"Ő.TXT"_s, false, "CP437" },
        { u""_s, false },
        { u"readme.txt"_s, false },
        { u"ABCDEFGHI.TXT"_s, false },
        { u"A.TEXT"_s, false },
        { u"A.B.C"_s, false },
        { u".TXT"_s, false },
        { u"A."_s, false },
        { u"A B.TXT"_s, false },
        { u"A[1];B=,+"_s, false },
        { u"A?B"_s, false },
    };
    for (const auto& c : cases)
        EXPECT_EQ(isValidShortName(c.name, page(c.page)), c.valid) << c.name.toStdString() << " in " << c.page;
}

TEST(ShortNamesTest, AliasOfOneName)
{
    const struct
    {
        QString name;
        QString alias;
        const char* page = "Windows-1252";
    } cases[] = {
        { u"README.TXT"_s, u"README.TXT"_s },
        { u"readme.txt"_s, u"README.TXT"_s },
        { u"a b.txt"_s, u"AB~1.TXT"_s },
        { u"my.long.file.name.doc"_s, u"MYLONG~1.DOC"_s },
        { u"photo.jpeg"_s, u"PHOTO~1.JPE"_s },
        { u".bashrc"_s, u"BASHRC~1"_s },
        { u"..x"_s, u"X~1"_s },
        { u".config.old"_s, u"CONFIG~1.OLD"_s },
        { u"file.txt."_s, u"FILETX~1"_s },
        { u"x.   "_s, u"X~1"_s },
        { u"..."_s, u"_~1"_s },
        { u"  .txt"_s, u"TXT~1"_s },
        { u"[x]+;,=.txt"_s, u"_X____~1.TXT"_s },
        { u"a:b?c.t*t"_s, u"A_B_C~1.T_T"_s },
        { u"a😀b.txt"_s, u"A_B~1.TXT"_s },
        { u"straße.txt"_s, u"STRAßE.TXT"_s },
        { u"µ.txt"_s, u"µ.TXT"_s },
        { u"ÿ.txt"_s, u"Ÿ.TXT"_s },
        { u"ÿ.txt"_s, u"ÿ.TXT"_s, "CP437" },
        { u"Ωmega file.txt"_s, u"_MEGAF~1.TXT"_s },
        { u"Ωmega file.txt"_s, u"ΩMEGAF~1.TXT"_s, "CP437" },
        { u"ő.txt"_s, u"Ő.TXT"_s, "CP852" },
        { u"ő.txt"_s, u"_~1.TXT"_s, "CP437" },
    };
    for (const auto& c : cases)
        EXPECT_EQ(DirectoryAliases({ c.name }, page(c.page)).aliasOf(c.name), c.alias) << c.name.toStdString();
}

TEST(ShortNamesTest, AliasesWithinOneDirectory)
{
    using Aliases = std::vector<std::pair<QString, QString>>;
    const Aliases cases[] = {
        { { u"Long Name Here.zip"_s, u"LONGNA~2.ZIP"_s }, { u"LONGNA~1.ZIP"_s, u"LONGNA~1.ZIP"_s } },
        { { u"Long Name Here.zip"_s, u"LONGNA~2.ZIP"_s }, { u"longna~1.zip"_s, u"LONGNA~1.ZIP"_s } },
        { { u"readme.txt"_s, u"README~1.TXT"_s }, { u"README.TXT"_s, u"README.TXT"_s } },
        { { u"readme.txt"_s, u"README~2.TXT"_s }, { u"Readme.txt"_s, u"README~1.TXT"_s } },
        { { u"readme.txt"_s, u"README.TXT"_s }, { u"readme.txt"_s, u"README.TXT"_s } },
        { { u"ßA"_s, u"ßA~1"_s }, { u"SSA"_s, u"SSA"_s } },
        { { u"a😀 x.txt"_s, u"A_X~2.TXT"_s }, { u"a\uFF01 x.txt"_s, u"A_X~1.TXT"_s } }, // sorted by code point
        { { u"Long Name There.zip"_s, u"LONGNA~3.ZIP"_s },
          { u"long name here.zip"_s, u"LONGNA~2.ZIP"_s },
          { u"Long Name Everywhere.zip"_s, u"LONGNA~1.ZIP"_s },
          { u"Long Name Here.txt"_s, u"LONGNA~1.TXT"_s } },
    };
    for (const Aliases& expected : cases) {
        std::vector<QString> names;
        for (const auto& [name, alias] : expected)
            names.push_back(name);
        const DirectoryAliases aliases(names, CodePage::windows1252());
        for (const auto& [name, alias] : expected)
            EXPECT_EQ(aliases.aliasOf(name), alias) << name.toStdString();
    }
}

TEST(ShortNamesTest, TailsPastTheFourthUseTheChecksum)
{
    // In sorted order; all sixteen names have the checksum 072B.
    const int numbers[] = { 119842, 178016, 238880, 293514, 308369, 390891, 404419, 410961,
                            437275, 442759, 471135, 488299, 520288, 7348,   79642,  94896 };
    std::vector<QString> names;
    for (const int number : numbers)
        names.push_back(u"Long Name %1.zip"_s.arg(number));
    const DirectoryAliases aliases(names, CodePage::windows1252());
    for (int i = 0; i < 16; ++i) {
        const QString head = i < 4 ? u"LONGNA"_s : i < 13 ? u"LO072B"_s : u"LO072"_s;
        const QString expected = head + u'~' + QString::number(i < 4 ? i + 1 : i - 3) + u".ZIP"_s;
        EXPECT_EQ(aliases.aliasOf(names[static_cast<std::size_t>(i)]), expected) << numbers[i];
    }
}

TEST(ShortNamesTest, LookupsIgnoreCase)
{
    const std::vector<QString> names { u"Long Name Everywhere.zip"_s, u"Long Name There.zip"_s };
    const DirectoryAliases aliases(names, CodePage::windows1252());
    EXPECT_EQ(aliases.aliasOf(u"LONG NAME THERE.ZIP"_s), u"LONGNA~2.ZIP"_s);
    EXPECT_EQ(aliases.aliasOf(u"Long Name Here.zip"_s), QString());
    EXPECT_EQ(aliases.nameOf(u"longna~2.zip"_s), u"Long Name There.zip"_s);
    EXPECT_EQ(aliases.nameOf(u"LONGNA~3.ZIP"_s), std::nullopt);
    EXPECT_EQ(aliases.nameOf(u"Long Name There.zip"_s), std::nullopt);
    // Sorted between the two, it would take "~2" and push "There" to "~3".
    const QString here = u"Long Name Here.zip"_s;
    EXPECT_EQ(DirectoryAliases::aliasAmong(names, here, CodePage::windows1252()), u"LONGNA~2.ZIP"_s);
    // Of names equal ignoring case, the first in sorted order answers.
    const DirectoryAliases readmes({ u"readme.txt"_s, u"Readme.txt"_s }, CodePage::windows1252());
    EXPECT_EQ(readmes.aliasOf(u"README.TXT"_s), u"README~1.TXT"_s);
}

/// Every alias is a valid 8.3 name unique ignoring case, valid names keep themselves, no alias
/// is another file's name, and nameOf and aliasAmong agree with aliasOf.
void expectConsistent(const std::vector<QString>& names, const CodePage& codePage, bool checkAmong)
{
    const DirectoryAliases aliases(names, codePage);
    QHash<QString, int> namesByFold;
    for (const QString& name : names)
        ++namesByFold[name.toUpper()];
    QSet<QString> given;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const QString& name = names[i];
        const QString alias = aliases.aliasOf(name);
        SCOPED_TRACE(name.toStdString() + " -> " + alias.toStdString());
        EXPECT_TRUE(isValidShortName(alias, codePage));
        EXPECT_FALSE(given.contains(alias.toUpper()));
        given.insert(alias.toUpper());
        if (isValidShortName(name, codePage))
            EXPECT_EQ(alias, name);
        else
            EXPECT_EQ(namesByFold.value(alias.toUpper()), alias.toUpper() == name.toUpper() ? 1 : 0);
        EXPECT_EQ(aliases.nameOf(alias.toLower()), name);
        if (checkAmong) {
            std::vector<QString> others = names;
            others.erase(others.begin() + static_cast<std::ptrdiff_t>(i));
            EXPECT_EQ(DirectoryAliases::aliasAmong(others, name, codePage), alias);
        }
    }
}

TEST(ShortNamesTest, RandomListingsInvert)
{
    // 😀 is two units: drawn as a pair or as a lone half.
    const QString alphabet = u"abcXYZ019 .[]+;,=_~-éÉñÑßµÿ日ΩŐ😀"_s;
    std::mt19937 random(20240611);
    const auto below = [&random](int bound) { return std::uniform_int_distribution<int>(0, bound - 1)(random); };
    for (const char* pageName : { "Windows-1252", "CP437" }) {
        for (int listing = 0; listing < 150; ++listing) {
            QSet<QString> unique;
            for (int count = below(40); count > 0; --count) {
                QString name;
                for (int length = 1 + below(20); length > 0; --length)
                    name.append(alphabet[below(static_cast<int>(alphabet.size()))]);
                unique.insert(name);
            }
            expectConsistent({ unique.begin(), unique.end() }, page(pageName), true);
        }
    }
    const QString prefixes[] = { u"Long Name"_s, u"long name"_s, u"LONG NAME"_s, u"Lo"_s, u"LONGNA~"_s };
    for (int listing = 0; listing < 20; ++listing) {
        std::vector<QString> names;
        for (const QString& prefix : prefixes) {
            if (below(2) == 0) {
                for (int number = 0; number < 15 + below(30); ++number)
                    names.push_back(prefix + QString::number(number) + (below(3) == 0 ? u".zip"_s : u".ZIP"_s));
            }
        }
        expectConsistent(names, CodePage::windows1252(), false);
    }
}

TEST(ShortNamesTest, HundredThousandNamesSharingABase)
{
    std::vector<QString> names;
    for (int number = 0; number < 100'000; ++number)
        names.push_back(u"Long file name number %1.zip"_s.arg(number));
    expectConsistent(names, CodePage::windows1252(), false);
}

} // namespace
} // namespace Kelvane
