#include "widgetnetwork.h"

#include "eventmanager.h"
#include "messageboxes.h"
#include "settings.h"
#include "statsmanager.h"
#include "vmtoolsmachine.h"

#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

const int PanelWidth = 320;
const char *const ModeSetting = "widget.network.mode";
const int DefaultMode = 8;

struct Profile
{
    int mode;
    const char *key;
    const char *word;
};

const Profile Profiles[] = {
    {1, QT_TRANSLATE_NOOP("WidgetNetwork", "widget.network.status.no-data"), "no-data"},
    {2, QT_TRANSLATE_NOOP("WidgetNetwork", "widget.network.status.gprs"), "gprs"},
    {3, QT_TRANSLATE_NOOP("WidgetNetwork", "widget.network.status.edge"), "edge"},
    {4, QT_TRANSLATE_NOOP("WidgetNetwork", "widget.network.status.3g"), "3g"},
    {5, QT_TRANSLATE_NOOP("WidgetNetwork", "widget.network.status.4g"), "4g"},
    {6, QT_TRANSLATE_NOOP("WidgetNetwork", "widget.network.status.4g-bad-dns"), "4g-bad-dns"},
    {7, QT_TRANSLATE_NOOP("WidgetNetwork", "widget.network.status.4g-bad-network"), "4g-bad-network"},
    {8, QT_TRANSLATE_NOOP("WidgetNetwork", "widget.network.status.wifi"), "wifi"},
};

// In the order the values are read from the device.
const char *const ValueKeys[] = {
    QT_TRANSLATE_NOOP("WidgetNetwork", "widget.network.up-rate"),
    QT_TRANSLATE_NOOP("WidgetNetwork", "widget.network.down-rate"),
    QT_TRANSLATE_NOOP("WidgetNetwork", "widget.network.up-delay"),
    QT_TRANSLATE_NOOP("WidgetNetwork", "widget.network.down-delay"),
    QT_TRANSLATE_NOOP("WidgetNetwork", "widget.network.up-loss"),
    QT_TRANSLATE_NOOP("WidgetNetwork", "widget.network.down-loss"),
    QT_TRANSLATE_NOOP("WidgetNetwork", "widget.network.dns-delay"),
};

QString delayText(int ms)
{
    return QString::number(ms) + QStringLiteral(" ms");
}

QString lossText(float percent)
{
    return QString::number(percent, 'g', 6) + QLatin1Char('%');
}

} // namespace

WidgetNetwork::WidgetNetwork(Player *player, EventManager *eventManager, VMToolsMachine *machine, QWidget *parent)
    : PanelWidget(true, player, eventManager, machine, parent)
{
    titleLabel->setText(tr("widget.network.title"));

    auto *content = new QWidget(this);
    content->setObjectName(QStringLiteral("content"));
    content->setFixedWidth(PanelWidth);
    headerWidget->setFixedWidth(PanelWidth);

    profileBox = new QComboBox(content);
    profileBox->setObjectName(QStringLiteral("profile"));
    profileBox->setStyleSheet(QStringLiteral("QComboBox {min-width: 15em;max-width: 15em;}"));
    for (const Profile &profile : Profiles)
        profileBox->addItem(tr(profile.key), profile.mode);
    const int stored = deviceSettingsValue(vmName(), QLatin1String(ModeSetting), DefaultMode).toInt();
    const int index = profileBox->findData(stored);
    profileBox->setCurrentIndex(index >= 0 ? index : profileBox->findData(DefaultMode));

    detailsButton = new QToolButton(content);
    detailsButton->setObjectName(QStringLiteral("details"));
    detailsButton->setCheckable(true);
    detailsButton->setText(tr("widget.network.details"));
    detailsButton->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    detailsButton->setArrowType(Qt::DownArrow);

    detailsArea = new QWidget(content);
    // Its own widget would take the toolbar's black from the application's style.
    detailsArea->setObjectName(QStringLiteral("detailsArea"));
    detailsArea->setStyleSheet(QStringLiteral("QWidget#detailsArea {background: #262626;}"));
    auto *detailsLayout = new QVBoxLayout(detailsArea);
    detailsLayout->setContentsMargins(0, 0, 0, 0);
    for (QLabel *&label : valueLabels) {
        label = new QLabel(detailsArea);
        detailsLayout->addWidget(label);
    }
    detailsArea->hide();

    auto *contentLayout = new QVBoxLayout(content);
    contentLayout->addWidget(new QLabel(tr("widget.network.network-profile"), content));
    contentLayout->addWidget(profileBox, 0, Qt::AlignLeft);
    contentLayout->addSpacing(16);
    contentLayout->addWidget(detailsButton, 0, Qt::AlignLeft);
    contentLayout->addWidget(detailsArea);
    contentLayout->addStretch();

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(headerWidget);
    layout->addWidget(content);
    setDefaultLabelStyle();

    connect(profileBox, QOverload<int>::of(&QComboBox::activated), this, &WidgetNetwork::slotNetworkModeChanged);
    connect(detailsButton, &QToolButton::toggled, this, &WidgetNetwork::slotButtonDetailsToggled);
    connect(switchButton, &QPushButton::clicked, this, &WidgetNetwork::slotNetworkToggled);
    applyActivation();
}

QString WidgetNetwork::rateText(int kbps)
{
    if (kbps <= 1000)
        return QString::number(kbps) + QStringLiteral(" Kb/s");
    return QString::number(kbps / 1000.0, 'f', 1) + QStringLiteral(" Mb/s");
}

QString WidgetNetwork::profileWord(int mode)
{
    for (const Profile &profile : Profiles) {
        if (profile.mode == mode)
            return QLatin1String(profile.word);
    }
    return QStringLiteral("unknown");
}

void WidgetNetwork::updateFromDevice()
{
    const int mode = eventManager()->getNetworkMode();
    // A device that does not answer keeps the panel as it was: its other values would only
    // fail the same way, each after the client's time-out.
    if (mode >= 0) {
        switchButton->setChecked(mode != 0);
        const int index = profileBox->findData(mode);
        if (index >= 0)
            profileBox->setCurrentIndex(index);
        refreshLabels();
    }
    applyActivation();
    slotButtonDetailsToggled();
}

void WidgetNetwork::slotNetworkModeChanged()
{
    const int mode = profileBox->currentData().toInt();
    if (!eventManager()->setNetworkMode(mode)) {
        // The device keeps its previous mode; the panel says so by switching off.
        showError(tr("widget.network.set-mode-failed"), this);
        switchButton->setChecked(false);
        applyActivation();
        return;
    }
    refreshLabels();
    setDeviceSettingsValue(vmName(), QLatin1String(ModeSetting), mode);
    StatsManager::instance()->reportEvent(QStringLiteral("widget_network"),
                                          {{QStringLiteral("profile"), profileWord(mode)}});
}

void WidgetNetwork::slotNetworkToggled()
{
    if (switchButton->isChecked()) {
        slotNetworkModeChanged();
    } else {
        // Values the device refused to change need no new reading.
        if (eventManager()->setNetworkMode(0))
            refreshLabels();
        else
            applyActivation();
        StatsManager::instance()->reportEvent(QStringLiteral("widget_network"),
                                              {{QStringLiteral("profile"), QStringLiteral("none")}});
    }
    // A refused profile has switched the panel back off.
    emit activationChanged(switchButton->isChecked());
}

void WidgetNetwork::slotButtonDetailsToggled()
{
    const bool open = detailsButton->isChecked();
    detailsButton->setArrowType(open ? Qt::UpArrow : Qt::DownArrow);
    detailsArea->setVisible(open);
    // Closing the details shrinks the window at once rather than on the next layout pass.
    if (!open)
        adjustSize();
}

void WidgetNetwork::refreshLabels()
{
    EventManager *events = eventManager();
    const QString texts[] = {
        rateText(events->getNetworkUpRate()),     rateText(events->getNetworkDownRate()),
        delayText(events->getNetworkUpDelay()),   delayText(events->getNetworkDownDelay()),
        lossText(events->getNetworkUpPktLoss()),  lossText(events->getNetworkDownPktLoss()),
        delayText(events->getNetworkDnsDelay()),
    };
    for (int i = 0; i < 7; ++i)
        valueLabels[i]->setText(tr(ValueKeys[i]) + texts[i]);
    applyActivation();
}

void WidgetNetwork::applyActivation()
{
    updateActivation();
    const bool on = switchButton->isChecked();
    detailsButton->setEnabled(on);
    detailsArea->setEnabled(on);
}

QString WidgetNetwork::vmName() const
{
    return machine() ? machine()->name() : QString();
}
