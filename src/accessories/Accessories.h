#pragma once

#include <QDialog>
#include <chrono>

class QApplication;

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
/// waits, and closes it.
void showSplash(std::chrono::milliseconds duration);

} // namespace Kelvane
