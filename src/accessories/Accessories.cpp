#include "accessories/Accessories.h"

#include "accessories/AviFiles.h"
#include "accessories/HelpWindow.h"
#include "platform/FileNames.h"
#include "platform/ProgramDirectory.h"

#include <QClipboard>
#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QLinearGradient>
#include <QPainter>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QSplashScreen>
#include <QSysInfo>
#include <QThread>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace {

QString version()
{
    const QString given = QCoreApplication::applicationVersion();
    return given.isEmpty() ? QString::fromLatin1(KELVANE_VERSION) : given;
}

QString programDirectoryText()
{
    return unicodeFromPath(programDirectory());
}

// The splash picture, drawn at the screen's pixel density so it stays sharp on HiDPI screens.
QPixmap splashPixmap()
{
    const QSize size(420, 220);
    const QScreen* screen = QGuiApplication::primaryScreen();
    const qreal ratio = screen ? screen->devicePixelRatio() : 1.0;
    QPixmap pixmap(size * ratio);
    pixmap.setDevicePixelRatio(ratio);

    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    QLinearGradient sky(0, 0, 0, size.height());
    sky.setColorAt(0, QColor(0, 0, 128));
    sky.setColorAt(1, QColor(0, 0, 64));
    painter.fillRect(QRect(QPoint(0, 0), size), sky);
    painter.setPen(QPen(QColor(230, 190, 60), 2));
    painter.drawRect(QRectF(QPointF(6, 6), QSizeF(size.width() - 12, size.height() - 12)));

    painter.setPen(Qt::white);
    QFont title = painter.font();
    title.setPixelSize(40);
    title.setBold(true);
    painter.setFont(title);
    painter.drawText(QRect(0, 40, size.width(), 60), Qt::AlignCenter, u"Kelvane"_s);
    QFont subtitle = painter.font();
    subtitle.setPixelSize(16);
    subtitle.setBold(false);
    painter.setFont(subtitle);
    painter.drawText(QRect(0, 105, size.width(), 24), Qt::AlignCenter, u"File Area Manager"_s);
    QFont small = subtitle;
    small.setPixelSize(12);
    painter.setFont(small);
    painter.setPen(QColor(200, 200, 230));
    painter.drawText(QRect(0, 160, size.width(), 20), Qt::AlignCenter, u"Version %1"_s.arg(version()));
    return pixmap;
}

QPushButton* okButton(QDialog* dialog, QDialogButtonBox* buttons)
{
    QPushButton* ok = buttons->addButton(QDialogButtonBox::Ok);
    ok->setObjectName(u"cmdOK"_s);
    ok->setDefault(true);
    QObject::connect(buttons, &QDialogButtonBox::accepted, dialog, &QDialog::accept);
    return ok;
}

} // namespace

AboutBox::AboutBox(QWidget* parent)
    : QDialog(parent)
{
    setObjectName(u"frmAbout"_s);
    setWindowTitle(u"About Kelvane"_s);

    auto* name = new QLabel(u"Kelvane"_s, this);
    name->setObjectName(u"lblTitle"_s);
    QFont large = name->font();
    large.setPointSizeF(large.pointSizeF() * 2);
    large.setBold(true);
    name->setFont(large);
    auto* versionLabel = new QLabel(u"Version %1"_s.arg(version()), this);
    versionLabel->setObjectName(u"lblVersion"_s);
    auto* description = new QLabel(u"The file-area manager for Vandor bulletin-board operators."_s, this);
    description->setWordWrap(true);
    auto* copyright = new QLabel(u"Copyright \u00a9 the Kelvane developers."_s, this);
    copyright->setObjectName(u"lblCopyright"_s);

    auto* buttons = new QDialogButtonBox(this);
    okButton(this, buttons);

    auto* layout = new QVBoxLayout(this);
    for (QLabel* label : { name, versionLabel, description, copyright }) {
        label->setAlignment(Qt::AlignHCenter);
        label->setTextInteractionFlags(Qt::TextSelectableByMouse);
        layout->addWidget(label);
    }
    layout->addSpacing(8);
    layout->addWidget(buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize);
}

TechSupportBox::TechSupportBox(QWidget* parent)
    : QDialog(parent)
{
    setObjectName(u"frmTechSupport"_s);
    setWindowTitle(u"Technical Support Info"_s);

    const QString directory = programDirectoryText();
    const QString errorLog = joinProgramPath(directory, u"Kelvane.err"_s);
    const QStringList facts {
        u"Kelvane %1"_s.arg(version()),
        u"Qt %1"_s.arg(QString::fromLatin1(qVersion())),
        u"System: %1"_s.arg(QSysInfo::prettyProductName()),
        u"Program directory: %1"_s.arg(directory),
        u"Error log: %1%2"_s.arg(errorLog, QFileInfo::exists(errorLog) ? QString() : u" (no errors logged)"_s),
    };

    auto* intro = new QLabel(u"When you report a problem with Kelvane, give the facts below and attach "
                             u"the error log if there is one."_s,
                             this);
    intro->setWordWrap(true);
    auto* text = new QPlainTextEdit(facts.join(u'\n'), this);
    text->setObjectName(u"txtInfo"_s);
    text->setReadOnly(true);
    text->setLineWrapMode(QPlainTextEdit::NoWrap);
    text->setMinimumSize(480, 130);

    auto* buttons = new QDialogButtonBox(this);
    QPushButton* copy = buttons->addButton(u"&Copy"_s, QDialogButtonBox::ActionRole);
    copy->setObjectName(u"cmdCopy"_s);
    connect(copy, &QPushButton::clicked, this, [text] { QGuiApplication::clipboard()->setText(text->toPlainText()); });
    okButton(this, buttons);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(intro);
    layout->addWidget(text);
    layout->addWidget(buttons);
}

void showSplash(std::chrono::milliseconds duration, const std::function<void()>& showFrame)
{
    QSplashScreen splash(splashPixmap());
    splash.setObjectName(u"frmSplash"_s);
    splash.show();
    QElapsedTimer shown;
    shown.start();
    // The event loop turns while the splash is up, so it paints and the system sees a live program.
    do {
        QCoreApplication::processEvents();
        if (shown.elapsed() < duration.count())
            QThread::msleep(10);
    } while (shown.elapsed() < duration.count());
    showFrame();
    splash.close();
}

void setApplicationIdentity()
{
    QCoreApplication::setApplicationName(u"Kelvane"_s);
    QCoreApplication::setApplicationVersion(QString::fromLatin1(KELVANE_VERSION));
    QGuiApplication::setDesktopFileName(u"kelvane"_s);
}

void setUpProgramDirectory(const std::filesystem::path& directory)
{
    const bool firstStart = !findAnimationFolder(directory);
    std::error_code error;
    std::filesystem::create_directories(directory, error);
    if (error || !firstStart)
        return;
    // The help first: the AVI folder marks the start done, so a failure before it is tried
    // again at the next start.
    if (!findEntry(directory, HelpWindow::fileName(), EntryKind::File))
        HelpWindow::writeHelpFile(directory / pathFromUnicode(HelpWindow::fileName()));
    writeMissingAnimations(directory);
}

} // namespace Kelvane
