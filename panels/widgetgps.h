#pragma once

#include "panelwidget.h"

class Compass;
class QLineEdit;
class QSlider;
class WidgetMaps;

// The GPS panel: position, altitude, accuracy and bearing of the device's GPS receiver, typed,
// set with the dial and the slider, or picked on the map. Each value the device takes is kept
// in the device's settings for the next run.
class WidgetGps : public PanelWidget
{
    Q_OBJECT

public:
    WidgetGps(Player *player, EventManager *eventManager, VMToolsMachine *machine, QWidget *parent = nullptr);

    WidgetMaps *mapWidget() const { return maps; }

public slots:
    void updateFromDevice() override;

private slots:
    void onButtonReceptionToggled();
    void onButtonMapWidgetToggled();
    void onMapWidgetClosed();
    void onLatitudeChanged();
    void onLongitudeChanged();
    void onAltitudeChanged();
    void onDialBearingChanged(int value);
    void onEditBearingChanged();
    void onBearingChanged();
    void onAllCoordinatesChanged(double lat, double lng, double alt);
    void updateAccuracyLabel(int value);
    void onSliderAccuracyChanged(int value);
    void onEditAccuracyChanged();
    void onAccuracyChanged();

private:
    QLineEdit *numberEdit(const char *name, int width, int decimals, double bottom, double top);
    // Sends the edit's value with the setter; the device's settings keep what it took.
    void sendValue(QLineEdit *edit, bool (EventManager::*setter)(double), const char *key);
    void setDialFromBearing();
    QString vmName() const;

    QLineEdit *latitudeEdit = nullptr;
    QLineEdit *longitudeEdit = nullptr;
    QLineEdit *altitudeEdit = nullptr;
    QSlider *accuracySlider = nullptr;
    QLineEdit *accuracyEdit = nullptr;
    Compass *bearingDial = nullptr;
    QLineEdit *bearingEdit = nullptr;
    QPushButton *mapButton = nullptr;
    WidgetMaps *maps = nullptr; // child
};
