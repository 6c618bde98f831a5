#include "shell/ToolbarCustomizeDialog.h"

#include <QAction>
#include <QDialogButtonBox>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QToolBar>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace Kelvane {

namespace {

constexpr int ActionRole = Qt::UserRole;

} // namespace

ToolbarCustomizeDialog::ToolbarCustomizeDialog(QToolBar* toolBar, QWidget* parent)
    : QDialog(parent)
    , m_toolBar(toolBar)
    , m_buttons(new QListWidget(this))
{
    setObjectName(u"dlgCustomizeToolbar"_s);
    setWindowTitle(tr("Customize Toolbar"));
    m_buttons->setObjectName(u"lstToolbarButtons"_s);
    m_buttons->setIconSize(toolBar->iconSize());

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Reset | QDialogButtonBox::Close, this);
    buttons->button(QDialogButtonBox::Reset)->setObjectName(u"cmdReset"_s);
    buttons->button(QDialogButtonBox::Close)->setObjectName(u"cmdClose"_s);
    connect(buttons->button(QDialogButtonBox::Reset), &QPushButton::clicked, this, &ToolbarCustomizeDialog::reset);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(tr("Buttons shown on the toolbar:"), this));
    layout->addWidget(m_buttons, 1);
    layout->addWidget(buttons);

    fill();
    connect(m_buttons, &QListWidget::itemChanged, this, &ToolbarCustomizeDialog::itemChanged);
}

void ToolbarCustomizeDialog::fill()
{
    for (QAction* action : m_toolBar->actions()) {
        if (action->isSeparator() || action->objectName().isEmpty())
            continue;
        auto* item = new QListWidgetItem(action->icon(), action->iconText(), m_buttons);
        item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsUserCheckable | Qt::ItemIsSelectable);
        item->setCheckState(action->isVisible() ? Qt::Checked : Qt::Unchecked);
        item->setData(ActionRole, QVariant::fromValue(action));
    }
}

void ToolbarCustomizeDialog::itemChanged(QListWidgetItem* item)
{
    if (auto* action = item->data(ActionRole).value<QAction*>())
        action->setVisible(item->checkState() == Qt::Checked);
}

void ToolbarCustomizeDialog::reset()
{
    for (int row = 0; row < m_buttons->count(); ++row)
        m_buttons->item(row)->setCheckState(Qt::Checked);
}

} // namespace Kelvane
