#pragma once

#include "panelwidget.h"

class QComboBox;
class QLabel;
class QToolButton;

// The network shaping panel. On: the device shapes its network by the chosen profile;
// off: mode 0, no shaping. The device owns each profile's rates, delays and losses; the
// panel only names the profile and shows what the device reports for it.
class WidgetNetwork : public PanelWidget
{
    Q_OBJECT

public:
    WidgetNetwork(Player *player, EventManager *eventManager, VMToolsMachine *machine, QWidget *parent = nullptr);

    // "1000 Kb/s" up to 1000 kbit/s, "1.0 Mb/s" above.
    static QString rateText(int kbps);
    // The word the statistics report for a mode: "wifi" for 8, "unknown" outside 1 to 8.
    static QString profileWord(int mode);

public slots:
    void updateFromDevice() override;

private slots:
    void slotNetworkModeChanged();
    void slotButtonDetailsToggled();
    void slotNetworkToggled();

private:
    // Reads the seven values of the device's profile into the details, then applyActivation().
    void refreshLabels();
    // The content follows the switch, the details too.
    void applyActivation();
    QString vmName() const;

    QComboBox *profileBox = nullptr;
    QToolButton *detailsButton = nullptr;
    QWidget *detailsArea = nullptr;
    // Up rate, down rate, up delay, down delay, up loss, down loss, DNS delay.
    QLabel *valueLabels[7] = {};
};
