#include "platform/SettingsStore.h"

#include <QDir>
#include <QIODevice>
#include <QSettings>
#include <QStandardPaths>

#include <map>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace {

// Files written by earlier builds named their sections "Vandor\<section>"; they read the same.
constexpr QStringView LegacySectionPrefix = u"Vandor\\";

bool readPlainIni(QIODevice& device, QSettings::SettingsMap& map)
{
    QString section;
    const QString text = QString::fromUtf8(device.readAll());
    for (QStringView line : QStringView(text).split(u'\n')) {
        line = line.trimmed();
        if (line.isEmpty() || line.startsWith(u';') || line.startsWith(u'#'))
            continue;
        if (line.startsWith(u'[') && line.endsWith(u']')) {
            section = line.mid(1, line.size() - 2).toString();
            if (section.startsWith(LegacySectionPrefix))
                section = section.mid(LegacySectionPrefix.size());
            continue;
        }
        const qsizetype equals = line.indexOf(u'=');
        if (equals <= 0 || section.isEmpty())
            continue;
        const QString key = line.left(equals).trimmed().toString();
        map.insert(section + u'/' + key, line.mid(equals + 1).trimmed().toString());
    }
    return true;
}

bool writePlainIni(QIODevice& device, const QSettings::SettingsMap& map)
{
    std::map<QString, std::map<QString, QString>> sections;
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        const qsizetype slash = it.key().indexOf(u'/');
        if (slash <= 0)
            continue;
        QString value = it.value().toString();
        value.replace(u'\r', u' ').replace(u'\n', u' ');
        sections[it.key().left(slash)][it.key().mid(slash + 1)] = value;
    }
    QString text;
    for (const auto& [section, keys] : sections) {
        if (!text.isEmpty())
            text += u'\n';
        text += u'[' + section + u"]\n"_s;
        for (const auto& [key, value] : keys)
            text += key + u'=' + value + u'\n';
    }
    const QByteArray bytes = text.toUtf8();
    return device.write(bytes) == bytes.size();
}

QSettings::Format plainIniFormat()
{
    static const QSettings::Format format
        = QSettings::registerFormat(u"ini"_s, readPlainIni, writePlainIni, Qt::CaseSensitive);
    return format;
}

QString defaultIniPath()
{
    QString directory = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    if (directory.isEmpty())
        directory = QDir::homePath();
    return directory + u"/Vandor.ini"_s;
}

} // namespace

SettingsStore::SettingsStore()
{
    const QString overridePath = qEnvironmentVariable("KELVANE_SETTINGS");
#ifdef Q_OS_WIN
    if (overridePath.isEmpty()) {
        m_settings = std::make_unique<QSettings>(u"HKEY_CURRENT_USER\\Software\\VB and VBA Program Settings\\Vandor"_s,
                                                 QSettings::NativeFormat);
        return;
    }
#endif
    m_settings
        = std::make_unique<QSettings>(overridePath.isEmpty() ? defaultIniPath() : overridePath, plainIniFormat());
}

SettingsStore::SettingsStore(const QString& iniPath)
    : m_settings(std::make_unique<QSettings>(iniPath, plainIniFormat()))
{
}

SettingsStore::~SettingsStore() = default;

QString SettingsStore::GetSetting(const QString& section, const QString& key, const QString& fallback) const
{
    const QVariant value = m_settings->value(section + u'/' + key);
    return value.isValid() ? value.toString() : fallback;
}

void SettingsStore::SaveSetting(const QString& section, const QString& key, const QString& value)
{
    m_settings->setValue(section + u'/' + key, value);
}

bool SettingsStore::getBool(const QString& section, const QString& key, bool fallback) const
{
    return parseBool(GetSetting(section, key), fallback);
}

void SettingsStore::saveBool(const QString& section, const QString& key, bool value)
{
    SaveSetting(section, key, boolText(value));
}

int SettingsStore::getInt(const QString& section, const QString& key, int fallback) const
{
    bool ok = false;
    const double value = GetSetting(section, key).trimmed().toDouble(&ok);
    return ok ? static_cast<int>(value) : fallback;
}

void SettingsStore::saveInt(const QString& section, const QString& key, int value)
{
    SaveSetting(section, key, QString::number(value));
}

bool SettingsStore::sync()
{
    m_settings->sync();
    return m_settings->status() == QSettings::NoError;
}

QString SettingsStore::fileName() const
{
    return m_settings->format() == QSettings::NativeFormat ? QString() : m_settings->fileName();
}

QString SettingsStore::boolText(bool value)
{
    return value ? u"True"_s : u"False"_s;
}

bool SettingsStore::parseBool(const QString& text, bool fallback)
{
    const QString value = text.trimmed();
    if (value.compare(u"true"_s, Qt::CaseInsensitive) == 0)
        return true;
    if (value.compare(u"false"_s, Qt::CaseInsensitive) == 0)
        return false;
    bool ok = false;
    const double number = value.toDouble(&ok);
    return ok ? number != 0 : fallback;
}

} // namespace Kelvane
