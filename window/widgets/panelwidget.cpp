#include "panelwidget.h"

#include <QApplication>
#include <QCloseEvent>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

const char *const frameStyle =
    "PanelWidget {background: #262626;}"
    "QLabel#default {color: #ffffff;margin-left: 10px;font-size:14px;font-weight:bold;background-color: #262626;}"
    "QLabel#title {color: #ffffff;margin-left: 10px;font-size:16px;font-weight:bold;background-color: #262626;}"
    "QLabel#default:disabled {color: #3C3C39;margin-left: 10px;font-size:14px;background-color: #262626;}"
    "QWidget#content {background: #262626;}"
    "QPushButton {border: none;border-image: url(:/widgets/common/btn_switch_off);height: 25px;padding: 0px;}"
    "QPushButton:checked {border-image: url(:/widgets/common/btn_switch_on);}"
    "QPushButton:disabled {border-image: url(:/widgets/common/btn_switch_disabled);}"
    "QPushButton:checked:disabled {border-image: url(:/widgets/common/btn_switch_disabled);}"
    "QMenu::item {color: #000000;}"
    "QMenu::item:disabled {color: grey;}";

const char *const accentLabel = "QLabel { color: #E6195E; }";
const char *const dimLabel = "QLabel { color: #3C3C39; }";
const char *const whiteLabel = "QLabel { color: #FFFFFF; }";

} // namespace

PanelWidget::PanelWidget(bool hasSwitch, Player *player, EventManager *eventManager, VMToolsMachine *machine,
                         QWidget *parent)
    : QDialog(parent, Qt::Window)
    , withSwitch(hasSwitch)
    , playerWindow(player)
    , events(eventManager)
    , vmMachine(machine)
{
    setWindowTitle(tr("Calderwick sensor"));
    // The owning player window's style paints every child black, and a parent's style sheet
    // outranks the application's. The panel restates the application's style under its own
    // colour so that its fields, lists and buttons look as they do elsewhere.
    setStyleSheet(QStringLiteral("QWidget {background: #262626;}") + qApp->styleSheet()
                  + QString::fromLatin1(frameStyle));

    headerWidget = new QWidget(this);
    headerWidget->setFixedWidth(400);

    titleLabel = new QLabel(headerWidget);
    titleLabel->setObjectName(QStringLiteral("title"));

    rule = new QFrame(headerWidget);
    rule->setFrameShape(QFrame::HLine);
    rule->setMinimumWidth(1300);
    rule->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    rule->setStyleSheet(QStringLiteral("color: #4C4C4C;"));

    offLabel = new QLabel(tr("Off"), headerWidget);
    switchButton = new QPushButton(headerWidget);
    switchButton->setCheckable(true);
    switchButton->setChecked(false);
    switchButton->setFocusPolicy(Qt::NoFocus);
    switchButton->setFixedSize(77, 27);
    onLabel = new QLabel(tr("On"), headerWidget);

    switchLayout = new QHBoxLayout;
    switchLayout->addWidget(offLabel);
    switchLayout->addWidget(switchButton);
    switchLayout->addWidget(onLabel);

    auto *headerLayout = new QVBoxLayout(headerWidget);
    headerLayout->addWidget(titleLabel, 0, Qt::AlignLeft | Qt::AlignVCenter);
    headerLayout->addWidget(rule);
    headerLayout->addSpacerItem(new QSpacerItem(0, 16, QSizePolicy::Minimum, QSizePolicy::Fixed));
    if (withSwitch) {
        headerLayout->addLayout(switchLayout);
    } else {
        // Kept so that the members stay valid, but never shown; the unused layout is parented
        // to the header so that it goes with it.
        offLabel->hide();
        switchButton->hide();
        onLabel->hide();
        static_cast<QObject *>(switchLayout)->setParent(headerWidget);
    }
}

bool PanelWidget::isActivated()
{
    return withSwitch && switchButton->isChecked();
}

void PanelWidget::updateActivation()
{
    if (!withSwitch)
        return;
    const bool active = isActivated();
    updateSwitchLabels(active);

    const QList<QWidget *> children = findChildren<QWidget *>();
    for (QWidget *child : children) {
        if (child == switchButton || child == offLabel || child == titleLabel || child == rule
            || child == headerWidget)
            continue;
        child->setEnabled(active);
    }
}

void PanelWidget::closeEvent(QCloseEvent *event)
{
    emit widgetClosed();
    event->accept();
}

void PanelWidget::updateSwitchLabels(bool on)
{
    onLabel->setStyleSheet(QString::fromLatin1(on ? accentLabel : dimLabel));
    offLabel->setStyleSheet(QString::fromLatin1(on ? dimLabel : whiteLabel));
}

void PanelWidget::setDefaultLabelStyle()
{
    const QList<QLabel *> labels = findChildren<QLabel *>();
    for (QLabel *label : labels) {
        if (label != titleLabel)
            label->setObjectName(QStringLiteral("default"));
    }
}
