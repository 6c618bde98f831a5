// Gives any directory listing its short aliases. Whatever the names, in every code page:
// each listed name has an alias, a valid 8.3 name in that page; no two names share an alias,
// ignoring case; and each alias leads back to its name, as the Files List reader resolves a
// "~" alias to the file it stands for.
//
// The input: one byte choosing the code page (and, by its high bit, whether the names are
// bytes in that page or UTF-8), then the names, one a line.

#include "Check.h"

#include "platform/CodePage.h"
#include "platform/FileNames.h"
#include "platform/ShortNames.h"

#include <QSet>
#include <QStringList>

#include <cstdint>
#include <string_view>
#include <vector>

using namespace Kelvane;
using namespace Qt::StringLiterals;
using Kelvane::Fuzz::check;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    static const QStringList pages = CodePage::names();
    const CodePage& page = *CodePage::named(pages[(data[0] & 0x7F) % pages.size()]);
    const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);

    // A directory holds no empty name, no "." or "..", and none with "/" or NUL.
    std::vector<QString> names;
    const QString listing = (data[0] & 0x80) != 0 ? page.toUnicode(text)
                                                  : QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    for (const QString& name : listing.split(u'\n')) {
        if (!name.isEmpty() && name != u"."_s && name != u".."_s && !name.contains(u'/') && !name.contains(QChar()))
            names.push_back(name);
    }
    if (names.size() > 2000)
        return 0;

    const DirectoryAliases aliases(names, page);
    QSet<QString> folded;
    for (const QString& name : names) {
        const QString alias = aliases.aliasOf(name);
        check(!alias.isEmpty(), "every listed name has an alias");
        check(isValidShortName(alias, page), "an alias is a valid 8.3 name in the page");
        check(aliases.nameOf(alias) == name, "the alias leads back to its name");
        folded.insert(foldName(alias));
    }
    QSet<QString> distinct(names.begin(), names.end());
    check(folded.size() == distinct.size(), "no two names share an alias");
    return 0;
}
