#include "widgetid.h"

#include "eventmanager.h"
#include "helpers.h"
#include "statsmanager.h"

#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegExpValidator>
#include <QVBoxLayout>

namespace {

const int PanelWidth = 400;
const char *const DiceStyle = "QPushButton {border-image: url(:/picto/random_default);width:20px;height:20px;"
                              "margin-left:10px;}QPushButton:hover {border-image: url(:/picto/random_hover);}";

QPushButton *diceButton(const QString &name, const QString &toolTip, QWidget *parent)
{
    auto *button = new QPushButton(parent);
    button->setObjectName(name);
    button->setToolTip(toolTip);
    button->setStyleSheet(QLatin1String(DiceStyle));
    button->setFocusPolicy(Qt::NoFocus);
    return button;
}

QLineEdit *idEdit(const QString &name, int maxLength, const QString &pattern, QWidget *parent)
{
    auto *edit = new QLineEdit(parent);
    edit->setObjectName(name);
    edit->setMaxLength(maxLength);
    edit->setValidator(new QRegExpValidator(QRegExp(pattern), edit));
    return edit;
}

// Sends a field's text when it differs from what the device last had; reports the change
// with whether it was drawn at random.
bool sendIfChanged(const QString &text, QString &last, bool &randomPending, const char *event,
                   const std::function<bool(const QString &)> &set)
{
    if (text == last || !set(text))
        return false;
    StatsManager::instance()->reportEvent(QLatin1String(event),
                                          {{QStringLiteral("random"), randomPending ? QStringLiteral("true")
                                                                                    : QStringLiteral("false")}});
    randomPending = false;
    last = text;
    return true;
}

} // namespace

WidgetID::WidgetID(Player *player, EventManager *eventManager, VMToolsMachine *machine, QWidget *parent)
    : PanelWidget(false, player, eventManager, machine, parent)
{
    titleLabel->setText(tr("widget.device-id.header"));
    headerWidget->setFixedWidth(PanelWidth);

    auto *content = new QWidget(this);
    content->setObjectName(QStringLiteral("content"));
    content->setFixedWidth(PanelWidth);

    androidIdEdit = idEdit(QStringLiteral("androidId"), 16, QStringLiteral("^[0-9a-f]{16}$"), content);
    androidIdEdit->setToolTip(tr("tooltip.android-id"));
    deviceIdEdit = idEdit(QStringLiteral("deviceId"), 32, QStringLiteral("^[\\.0-9a-z_-]*$"), content);
    deviceIdEdit->setToolTip(tr("tooltip.device-id"));
    randomAndroidIdButton = diceButton(QStringLiteral("randomAndroidId"), tr("tooltip.android-id.randomize-btn"), content);
    randomDeviceIdButton = diceButton(QStringLiteral("randomDeviceId"), tr("tooltip.device-id.randomize-btn"), content);

    auto *grid = new QGridLayout(content);
    grid->addWidget(new QLabel(tr("widget.device-id.label.android-id"), content), 0, 0, 1, 2);
    grid->addWidget(androidIdEdit, 1, 0);
    grid->addWidget(randomAndroidIdButton, 1, 1);
    grid->setRowMinimumHeight(2, 16);
    grid->addWidget(new QLabel(tr("widget.device-id.label.device-id"), content), 3, 0, 1, 2);
    grid->addWidget(deviceIdEdit, 4, 0);
    grid->addWidget(randomDeviceIdButton, 4, 1);
    grid->setRowStretch(5, 1);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(headerWidget);
    layout->addWidget(content);
    setDefaultLabelStyle();

    // Return ends the editing too, so editingFinished() alone covers both ways of leaving a
    // field; listening to returnPressed() as well would send a refused value twice.
    connect(androidIdEdit, &QLineEdit::editingFinished, this, &WidgetID::slotEditingFinishedAndroidID);
    connect(deviceIdEdit, &QLineEdit::editingFinished, this, &WidgetID::slotEditingFinishedDeviceID);
    connect(androidIdEdit, &QLineEdit::textChanged, this, &WidgetID::slotTextChangedAndroidID);
    connect(randomAndroidIdButton, &QPushButton::clicked, this, &WidgetID::slotRandomizeAndroidID);
    connect(randomDeviceIdButton, &QPushButton::clicked, this, &WidgetID::slotRandomizeDeviceID);
}

void WidgetID::updateFromDevice()
{
    slotGetDeviceID();
    slotGetAndroidID();
    lastDeviceId = deviceIdEdit->text().trimmed();
    lastAndroidId = androidIdEdit->text().trimmed();
    slotTextChangedAndroidID();
}

void WidgetID::slotGetDeviceID()
{
    deviceIdEdit->setText(eventManager()->getDeviceId().trimmed());
}

void WidgetID::slotGetAndroidID()
{
    androidIdEdit->setText(eventManager()->getAndroidId().trimmed());
}

void WidgetID::slotEditingFinishedDeviceID()
{
    sendIfChanged(deviceIdEdit->text().trimmed(), lastDeviceId, randomPending, "device_id",
                  [this](const QString &id) { return eventManager()->setDeviceId(id); });
}

void WidgetID::slotEditingFinishedAndroidID()
{
    sendIfChanged(androidIdEdit->text().trimmed(), lastAndroidId, randomPending, "android_id",
                  [this](const QString &id) { return eventManager()->setAndroidId(id); });
}

void WidgetID::slotTextChangedAndroidID()
{
    if (androidIdEdit->hasAcceptableInput()) {
        androidIdEdit->setStyleSheet(QString());
        androidIdEdit->setToolTip(tr("tooltip.android-id"));
    } else {
        androidIdEdit->setStyleSheet(QStringLiteral("QLineEdit {color: #E6195E;}"));
        androidIdEdit->setToolTip(tr("tooltip.android-id-error"));
    }
}

void WidgetID::slotRandomizeDeviceID()
{
    randomPending = true;
    deviceIdEdit->setText(generateImei());
    slotEditingFinishedDeviceID();
}

void WidgetID::slotRandomizeAndroidID()
{
    randomPending = true;
    androidIdEdit->setText(generateAndroidId());
    slotEditingFinishedAndroidID();
}
