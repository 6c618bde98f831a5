#pragma once

#include <QDialog>
#include <chrono>
#include <filesystem>
#include <functional>

namespace Kelvane {

/// The About box (frmAbout): program name, version, and the copyright line.
class AboutBox : public QDialog
{
    Q_OBJECT

public:
    explicit AboutBox(QWidget* parent = nullptr);
};

/// The technical-support box (frmTechSupport): where to get help with Kelvane, and the
/// facts a report needs (version, Qt version, system, program directory, error log).
class TechSupportBox : public QDialog
{
    Q_OBJECT

public:
    explicit TechSupportBox(QWidget* parent = nullptr);
};

/// Shows the splash screen (frmSplash) for duration, letting the event loop run while it
/// waits, then runs showFrame (which loads and shows the main frame) and only then closes the
/// splash, so the screen is never empty between the two.
void showSplash(std::chrono::milliseconds duration, const std::function<void()>& showFrame);

/// The desktop program's name, version and desktop entry. No display name is set: on X11 and
/// Wayland Qt appends a set display name to every window title (" — Kelvane"), and the
/// titles of the frame and of every box are the program's own texts, exactly.
void setApplicationIdentity();

/// Makes the program's directory when it is missing and, on the desktop program's first start
/// there, writes the animations and the help into it. The first start is told by the AVI
/// folder (found whatever its case): only this writes it, and the command line, which also
/// makes the directory for its error log, never does. A file the operator deleted later
/// stays missing, so its form shows its alert.
void setUpProgramDirectory(const std::filesystem::path& directory);

} // namespace Kelvane
