#include "widgetgps.h"

#include "calddoublevalidator.h"
#include "compass.h"
#include "eventmanager.h"
#include "vmtoolsmachine.h"
#include "settings.h"
#include "statsmanager.h"
#include "widgetmaps.h"

#include <QCursor>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QSlider>
#include <QToolTip>
#include <QVBoxLayout>

namespace {

const int PanelWidth = 360;
const QChar Degree(0x00B0);

const char *const LatitudeKey = "widget.gps.latitude";
const char *const LongitudeKey = "widget.gps.longitude";
const char *const AltitudeKey = "widget.gps.altitude";
const char *const AccuracyKey = "widget.gps.accuracy";
const char *const BearingKey = "widget.gps.bearing";

// The user's locale without group separators: the validator turns a point into the decimal
// comma, so in a comma locale "10.000" would come back as ten.
QLocale numberLocale()
{
    QLocale locale;
    locale.setNumberOptions(QLocale::OmitGroupSeparator);
    return locale;
}

QString localeText(double value)
{
    return numberLocale().toString(value, 'g', 6);
}

double editValue(const QLineEdit *edit, bool *ok = nullptr)
{
    return QLocale().toDouble(edit->text(), ok);
}

} // namespace

WidgetGps::WidgetGps(Player *player, EventManager *eventManager, VMToolsMachine *machine, QWidget *parent)
    : PanelWidget(true, player, eventManager, machine, parent)
{
    titleLabel->setText(tr("GPS"));
    headerWidget->setFixedWidth(PanelWidth);

    auto *content = new QWidget(this);
    content->setObjectName(QStringLiteral("content"));
    content->setFixedWidth(PanelWidth);

    latitudeEdit = numberEdit("latitude", 150, 8, -90.0, 90.0);
    longitudeEdit = numberEdit("longitude", 150, 8, -180.0, 180.0);
    altitudeEdit = numberEdit("altitude", 150, 8, -10000.0, 10000.0);
    accuracyEdit = numberEdit("accuracy", 50, 2, 0.0, 200.0);
    accuracyEdit->setAlignment(Qt::AlignRight);
    bearingEdit = numberEdit("bearing", 80, 2, 0.0, 359.99);
    bearingEdit->setAlignment(Qt::AlignRight);

    accuracySlider = new QSlider(Qt::Horizontal, content);
    accuracySlider->setObjectName(QStringLiteral("accuracySlider"));
    accuracySlider->setRange(0, 200);
    accuracySlider->setTracking(false);
    accuracySlider->setFixedWidth(180);

    bearingDial = new Compass(content);
    bearingDial->setObjectName(QStringLiteral("compass"));
    bearingDial->setRange(0, 359);
    bearingDial->setWrapping(true);
    bearingDial->setFixedSize(64, 64);
    bearingDial->setMaxAngle(360);

    mapButton = new QPushButton(content);
    mapButton->setObjectName(QStringLiteral("mapButton"));
    mapButton->setCheckable(true);
    // Return in a field finishes the field; it must not press the map button too.
    mapButton->setAutoDefault(false);
    mapButton->setFixedSize(49, 49);
    mapButton->setToolTip(tr("tooltip.gps.buttonmap"));
    mapButton->setStyleSheet(QStringLiteral(
        "QPushButton#mapButton {border-image: url(:/widgets/gps/btn_map_default.png);}"
        "QPushButton#mapButton:hover {border-image: url(:/widgets/gps/btn_map_hover.png);}"
        "QPushButton#mapButton:checked {border-image: url(:/widgets/gps/btn_map_pressed.png);}"
        "QPushButton#mapButton:checked:hover {border-image: url(:/widgets/gps/btn_map_hover_pressed.png);}"));

    auto *grid = new QGridLayout;
    int row = 0;
    auto addRow = [&](const QString &label, QWidget *field, const QString &unit) {
        grid->addWidget(new QLabel(label, content), row, 0);
        grid->addWidget(field, row, 1);
        auto *unitLabel = new QLabel(unit, content);
        unitLabel->setFixedWidth(30);
        grid->addWidget(unitLabel, row, 2);
        ++row;
    };
    addRow(tr("Latitude"), latitudeEdit, QString(Degree));
    addRow(tr("Longitude"), longitudeEdit, QString(Degree));
    addRow(tr("Altitude"), altitudeEdit, QStringLiteral("m"));
    grid->addWidget(mapButton, 0, 3, 3, 1, Qt::AlignCenter);

    auto *accuracyRow = new QHBoxLayout;
    accuracyRow->addWidget(accuracySlider);
    accuracyRow->addWidget(accuracyEdit);
    accuracyRow->addWidget(new QLabel(QStringLiteral("m"), content));
    accuracyRow->addStretch();
    auto *bearingRow = new QHBoxLayout;
    bearingRow->addWidget(bearingDial);
    bearingRow->addWidget(bearingEdit);
    bearingRow->addWidget(new QLabel(QString(Degree), content));
    bearingRow->addStretch();

    auto *contentLayout = new QVBoxLayout(content);
    contentLayout->addLayout(grid);
    contentLayout->addSpacing(16);
    contentLayout->addWidget(new QLabel(tr("Accuracy"), content));
    contentLayout->addLayout(accuracyRow);
    contentLayout->addSpacing(16);
    contentLayout->addWidget(new QLabel(tr("Bearing"), content));
    contentLayout->addLayout(bearingRow);
    contentLayout->addStretch();

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(headerWidget);
    layout->addWidget(content);
    setDefaultLabelStyle();

    maps = new WidgetMaps(this);

    // The last values this device took.
    const QString vm = vmName();
    auto stored = [&vm](const char *key, double fallback) {
        return deviceSettingsValue(vm, QLatin1String(key), fallback).toDouble();
    };
    latitudeEdit->setText(localeText(stored(LatitudeKey, 65.9667)));
    longitudeEdit->setText(localeText(stored(LongitudeKey, -18.5333)));
    altitudeEdit->setText(localeText(stored(AltitudeKey, 15.04444408)));
    const double accuracy = stored(AccuracyKey, 0.0);
    accuracyEdit->setText(localeText(accuracy));
    accuracySlider->setValue(int(accuracy));
    bearingEdit->setText(localeText(stored(BearingKey, 0.0)));
    setDialFromBearing();

    connect(switchButton, &QPushButton::clicked, this, &WidgetGps::onButtonReceptionToggled);
    connect(mapButton, &QPushButton::toggled, this, &WidgetGps::onButtonMapWidgetToggled);
    connect(maps, &WidgetMaps::closing, this, &WidgetGps::onMapWidgetClosed);
    connect(maps->jsObject(), &JsObject::sigGoogleMapsCoordinates, this, &WidgetGps::onAllCoordinatesChanged);
    connect(latitudeEdit, &QLineEdit::editingFinished, this, &WidgetGps::onLatitudeChanged);
    connect(longitudeEdit, &QLineEdit::editingFinished, this, &WidgetGps::onLongitudeChanged);
    connect(altitudeEdit, &QLineEdit::editingFinished, this, &WidgetGps::onAltitudeChanged);
    connect(accuracySlider, &QSlider::sliderMoved, this, &WidgetGps::updateAccuracyLabel);
    connect(accuracySlider, &QSlider::valueChanged, this, &WidgetGps::onSliderAccuracyChanged);
    connect(accuracyEdit, &QLineEdit::editingFinished, this, &WidgetGps::onEditAccuracyChanged);
    connect(bearingDial, &QDial::valueChanged, this, &WidgetGps::onDialBearingChanged);
    connect(bearingDial, &QDial::sliderReleased, this, &WidgetGps::onBearingChanged);
    connect(bearingEdit, &QLineEdit::editingFinished, this, &WidgetGps::onEditBearingChanged);

    updateActivation();
}

QLineEdit *WidgetGps::numberEdit(const char *name, int width, int decimals, double bottom, double top)
{
    auto *edit = new QLineEdit(this);
    edit->setObjectName(QLatin1String(name));
    edit->setFixedWidth(width);
    edit->setValidator(new CaldDoubleValidator(decimals, edit, bottom, top));
    return edit;
}

QString WidgetGps::vmName() const
{
    return machine() ? machine()->name() : QString();
}

void WidgetGps::updateFromDevice()
{
    GpsInfo info;
    if (!eventManager() || !eventManager()->gpsGetAll(info))
        return;
    switchButton->setChecked(info.reception);
    updateActivation();
    if (!info.reception)
        return;
    latitudeEdit->setText(localeText(info.latitude));
    longitudeEdit->setText(localeText(info.longitude));
    altitudeEdit->setText(localeText(info.altitude));
    accuracyEdit->setText(localeText(info.accuracy));
    {
        // What the device reports is not sent back to it.
        const QSignalBlocker quiet(accuracySlider);
        accuracySlider->setValue(int(info.accuracy));
    }
    bearingEdit->setText(localeText(info.bearing));
    onEditBearingChanged();
}

void WidgetGps::onButtonReceptionToggled()
{
    const bool state = switchButton->isChecked();
    emit activationChanged(state);
    updateActivation();
    if (!eventManager())
        return;
    eventManager()->gpsSetStatus(state);
    if (state) {
        onLatitudeChanged();
        onLongitudeChanged();
        onAltitudeChanged();
        StatsManager::instance()->reportEvent(QStringLiteral("widget_gps"));
    } else {
        mapButton->setChecked(false);
    }
}

void WidgetGps::onButtonMapWidgetToggled()
{
    if (mapButton->isChecked()) {
        maps->loadMap(editValue(latitudeEdit), editValue(longitudeEdit));
        maps->show();
    } else {
        maps->hide();
    }
}

void WidgetGps::onMapWidgetClosed()
{
    maps->hide();
    mapButton->setChecked(false);
}

void WidgetGps::sendValue(QLineEdit *edit, bool (EventManager::*setter)(double), const char *key)
{
    bool ok = false;
    const double value = editValue(edit, &ok);
    if (!ok) {
        qWarning().noquote() << "[WidgetGps] not a number, not sent:" << edit->text();
        return;
    }
    if (eventManager() && (eventManager()->*setter)(value))
        setDeviceSettingsValue(vmName(), QLatin1String(key), value);
}

void WidgetGps::onLatitudeChanged()
{
    sendValue(latitudeEdit, &EventManager::gpsSetLatitude, LatitudeKey);
}

void WidgetGps::onLongitudeChanged()
{
    sendValue(longitudeEdit, &EventManager::gpsSetLongitude, LongitudeKey);
}

void WidgetGps::onAltitudeChanged()
{
    sendValue(altitudeEdit, &EventManager::gpsSetAltitude, AltitudeKey);
}

void WidgetGps::onAccuracyChanged()
{
    sendValue(accuracyEdit, &EventManager::gpsSetAccuracy, AccuracyKey);
}

void WidgetGps::onBearingChanged()
{
    sendValue(bearingEdit, &EventManager::gpsSetBearing, BearingKey);
}

void WidgetGps::updateAccuracyLabel(int value)
{
    accuracyEdit->setText(QStringLiteral("%1").arg(value));
    QToolTip::showText(QCursor::pos(), tr("tooltip.gps.accuracy") + QString::number(value) + QStringLiteral(" m"),
                       accuracySlider);
}

void WidgetGps::onSliderAccuracyChanged(int value)
{
    accuracyEdit->setText(QStringLiteral("%1").arg(value));
    if (switchButton->isChecked())
        onAccuracyChanged();
}

void WidgetGps::onEditAccuracyChanged()
{
    bool ok = false;
    const int value = accuracyEdit->text().toInt(&ok);
    if (!ok)
        return;
    if (value == accuracySlider->value()) {
        // The slider does not move, so it sends nothing: the typed value goes out here.
        if (switchButton->isChecked())
            onAccuracyChanged();
        return;
    }
    accuracySlider->setValue(value);
}

// The dial's zero stands opposite the bearing's zero.
void WidgetGps::onDialBearingChanged(int value)
{
    if (!bearingDial->hasFocus())
        return;
    bearingEdit->setText(QString::number(value < 180 ? value + 180 : value - 180));
    QToolTip::showText(QCursor::pos(), tr("tooltip.gps.bearing") + bearingEdit->text() + Degree, bearingDial);
}

void WidgetGps::setDialFromBearing()
{
    const int bearing = int(editValue(bearingEdit));
    bearingDial->setValue(bearing < 180 ? bearing + 180 : bearing - 180);
}

void WidgetGps::onEditBearingChanged()
{
    setDialFromBearing();
    onBearingChanged();
}

void WidgetGps::onAllCoordinatesChanged(double lat, double lng, double alt)
{
    // Eight decimals without their trailing zeros, in the user's decimal separator.
    static const QRegularExpression trailingZeros(QStringLiteral("0+$"));
    const QChar point = QLocale().decimalPoint();
    auto text = [&](double value) {
        return QString::number(value, 'f', 8).remove(trailingZeros).replace(QLatin1Char('.'), point);
    };
    latitudeEdit->setText(text(lat));
    longitudeEdit->setText(text(lng));
    altitudeEdit->setText(text(alt));
    onLatitudeChanged();
    onLongitudeChanged();
    onAltitudeChanged();
}
