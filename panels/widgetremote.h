#pragma once

#include "panelwidget.h"

#include <QAbstractSocket>
#include <QFutureWatcher>
#include <QList>
#include <QPixmap>
#include <QPointer>
#include <QTimer>


class Adb;
class ProxyEvent;
class QCheckBox;
class QComboBox;
class QLabel;
class QTcpSocket;
class VideoEncoder;

// A phone attached through adb as the device's remote control: the companion application is
// installed and started on it, its touches and accelerometer come back on the forwarded
// sensor socket, and the device's screen goes to it as a live WebM stream on the second one.
class WidgetRemote : public PanelWidget
{
    Q_OBJECT

public:
    static constexpr int SensorHostPort = 10969;
    static constexpr int SensorPhonePort = 10972;
    static constexpr int PreviewHostPort = 10975;
    static constexpr int PreviewPhonePort = 10978;
    static constexpr int ErrorDuration = 12000;

    // proxy: the player's reader of the phone's lines, not owned; null: no input.
    WidgetRemote(Player *player, EventManager *eventManager, VMToolsMachine *machine, ProxyEvent *proxy,
                 QWidget *parent = nullptr);
    ~WidgetRemote() override;

    // "x.y..." with a single-digit major and minor of at least 2.2.
    static bool isCompatibleVersion(const QString &version);
    QString errorText() const;
    bool isPreviewing() const { return encoder != nullptr; }

signals:
    void sigDeviceConnected();

public slots:
    void updateFromDevice() override;

private slots:
    void slotButtonActivatedToggled();
    void slotButtonConnectDeviceToggled();
    void slotStartProxyEvent();
    void slotDeviceConnected();
    void slotDeviceDisconnected();
    void slotToogleCheckboxPreview(bool status);
    void slotToogleCheckboxPreview();
    void slotToogleCheckboxTouchEvents(bool status);
    void slotToogleCheckboxAccelerometer(bool status);
    void slotMultiTouchValuesReceived(QByteArray data);
    void slotAccelerometerValuesReceived(double x, double y, double z);
    void sensorsConnected();
    void sensorsDisconnected();
    void previewDisconnected();
    void sensorsError(QAbstractSocket::SocketError error);
    void rotateSpinner();
    void hideError();
    void showError(QString error, QString tooltip, int duration);
    void showError(QString error, QString tooltip);
    void showError(QString error);

protected:
    void showEvent(QShowEvent *event) override;

private:
    // The connection steps on a pool thread; errors reach the panel queued.
    bool manageDeviceConnection(const QString &serial);
    void postError(const QString &error, const QString &tooltip = QString());
    void setControlsEnabled(bool on);
    void tidyUp();
    void deleteEncoder();
    void stopPhone();
    void setSpinnerShown(bool shown);

    ProxyEvent *proxy = nullptr;
    VideoEncoder *encoder = nullptr;
    QPointer<QTcpSocket> sensorSocket;
    QList<Adb *> phones;
    Adb *selectedPhone = nullptr;
    QComboBox *phoneBox = nullptr;
    QPushButton *connectButton = nullptr;
    QLabel *spinner = nullptr;
    QPixmap spinnerPixmap;
    QTimer spinnerTimer;
    int spinnerAngle = 0;
    QCheckBox *previewBox = nullptr;
    QCheckBox *touchBox = nullptr;
    QCheckBox *accelerometerBox = nullptr;
    QList<QLabel *> accelerometerLabels; // three names, then three values
    QLabel *errorLabel = nullptr;
    QTimer errorTimer;
    QFutureWatcher<bool> watcher;
};
