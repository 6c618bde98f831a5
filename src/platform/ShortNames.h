#pragma once

#include "platform/CodePage.h"

#include <QHash>
#include <QString>

#include <optional>
#include <vector>

namespace Kelvane {

/// Whether name is a valid upper-case 8.3 name in the page: a base of 1 to 8 characters,
/// optionally a dot and an extension of 1 to 3, only characters allowed in short names.
bool isValidShortName(QStringView name, const CodePage& page);

/// The short (8.3) alias of every file of one directory, computed as Windows and the Linux
/// vfat driver form them, and the way back from an alias to its file.
///
/// Aliases are unique within the directory ignoring case, so aliasOf and nameOf are exact
/// inverses for any listing.
class DirectoryAliases
{
public:
    DirectoryAliases(const std::vector<QString>& names, const CodePage& page);

    /// The alias of a listed name (matched exactly, else ignoring case); empty when the name
    /// is not listed.
    QString aliasOf(const QString& name) const;
    /// The listed name whose alias is alias (ignoring case).
    std::optional<QString> nameOf(const QString& alias) const;

    /// The alias name would have if it were added to a directory holding names.
    static QString aliasAmong(const std::vector<QString>& names, const QString& name, const CodePage& page);

private:
    QHash<QString, QString> m_aliasByName;
    QHash<QString, QString> m_nameByFoldedName;
    QHash<QString, QString> m_nameByFoldedAlias;
};

} // namespace Kelvane
