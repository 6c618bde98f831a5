#pragma once

#include <QString>

#include <memory>

class QSettings;

namespace Kelvane {

/// The sections of the settings file: the board's own, which holds its main path, and
/// Kelvane's.
inline const QString VandorStartup = QStringLiteral("Vandor Startup");
inline const QString KelvaneStartup = QStringLiteral("Kelvane Startup");

/// "MainWindowState" in Kelvane's section: how the main frame opens.
namespace MainWindowState {
inline constexpr int Normal = 0;
inline constexpr int Minimized = 1;
inline constexpr int Maximized = 2;
} // namespace MainWindowState

/// The per-user settings store shared with the board's own tools: values by application,
/// section and key, always stored as strings.
///
/// KELVANE_SETTINGS names an INI file to use on every system; otherwise Windows keeps the
/// values in the registry under "Software\VB and VBA Program Settings", and other systems in
/// "Vandor.ini" in the user's configuration directory. The INI file is plain: sections and
/// keys keep their spaces, points and parentheses ("[Kelvane Startup]",
/// "FATF.ColumnHeaders(1).Width=1440") and a backslash in a value is an ordinary character.
class SettingsStore
{
public:
    SettingsStore();
    /// A store over the INI file at path.
    explicit SettingsStore(const QString& iniPath);
    ~SettingsStore();
    SettingsStore(const SettingsStore&) = delete;
    SettingsStore& operator=(const SettingsStore&) = delete;

    static constexpr const char16_t* Application = u"Vandor";

    QString GetSetting(const QString& section, const QString& key, const QString& fallback = {}) const;
    void SaveSetting(const QString& section, const QString& key, const QString& value);

    bool getBool(const QString& section, const QString& key, bool fallback) const;
    void saveBool(const QString& section, const QString& key, bool value);
    int getInt(const QString& section, const QString& key, int fallback) const;
    void saveInt(const QString& section, const QString& key, int value);

    /// Writes pending changes to disk; true when that worked.
    bool sync();
    /// The INI file in use, empty for the registry.
    QString fileName() const;

    /// "True" / "False"; a read accepts those in any case and the numbers -1 / 0.
    static QString boolText(bool value);
    static bool parseBool(const QString& text, bool fallback);

private:
    std::unique_ptr<QSettings> m_settings;
};

} // namespace Kelvane
