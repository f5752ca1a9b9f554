#pragma once

#include <QHostAddress>
#include <QObject>
#include <QSize>
#include <QString>
#include <QTemporaryDir>

#include <memory>

class AdbServer;
class AudioServer;
class ChannelServer;
class CameraServicePort;
class CompanionApp;
class DeviceCameraService;
class DeviceState;
class EventServer;
class Journal;
class PhoneScreen;
class RequestServer;
class ScreenStreamer;
class SensorServer;

struct SimulatorOptions
{
    QHostAddress address = QHostAddress(QStringLiteral("127.0.0.2"));
    QSize size = QSize(720, 1280);
    int dpi = 320;
    QString journalPath; // empty: memory only
    quint16 screenPort = 0; // the screen stream's port (25000 on a device); 0: not served
    QString storagePath;    // the device's files (what adb sees); empty: a temporary folder
    bool cameraApp = false; // each camera a player connects to is opened at once
    bool phone = false;     // a real phone beside the device: no device properties, the companion app
    QString phoneScript;    // the companion's scripted run
    QString phoneRecord;    // where the companion records the preview it receives
    QString androidVersion = QStringLiteral("9.0");
    QString systemVersion = QStringLiteral(CALDERWICK_VERSION); // the player's own: no version dialog
};

// One simulated device: its state, the four channels (events, requests, sensors, sound) and the camera service on the given
// address, the journal and the picture of its screen. Owns all of them.
class DeviceSimulator : public QObject
{
    Q_OBJECT

public:
    explicit DeviceSimulator(const SimulatorOptions &options, QObject *parent = nullptr);
    ~DeviceSimulator() override;

    // Opens the journal and listens on every port; false with the reason otherwise.
    bool start(QString *error = nullptr);

    const SimulatorOptions &options() const { return settings; }
    DeviceState *state() const { return deviceState; }
    Journal *journal() const { return journalLog; }
    PhoneScreen *screen() const { return phoneScreen; }
    EventServer *events() const { return eventServer; }
    RequestServer *requests() const { return requestServer; }
    SensorServer *sensors() const { return sensorServer; }
    AdbServer *adb() const { return adbServer; }
    AudioServer *audio() const { return audioServer; }
    // Serves the phone screen when options().screenPort is set; always present.
    ScreenStreamer *screenStream() const { return screenStreamer; }
    // The camera service on 24810 (front) and 24800 (back), as a camera application uses it.
    DeviceCameraService *cameras() const { return cameraService; }
    // The remote control companion in phone mode, else null.
    CompanionApp *companion() const { return companionApp; }
    // "event", "request", "sensor", "adb" or "audio"; null for other names.
    ChannelServer *channel(const QString &name) const;
    QList<ChannelServer *> channels() const;

private:
    void watchCamera(CameraServicePort *port);
    // Journals each camera start and stop with its frame size, and keeps the camera's name.
    void noteCameraReply(CameraServicePort *port, const QByteArray &command, const QByteArray &reply);

    static constexpr int MaximumCameraName = 40;

    SimulatorOptions settings;
    std::unique_ptr<QTemporaryDir> temporaryStorage; // only when no storage path is given
    Journal *journalLog;
    DeviceState *deviceState;
    PhoneScreen *phoneScreen;
    EventServer *eventServer;
    RequestServer *requestServer;
    SensorServer *sensorServer;
    AdbServer *adbServer;
    AudioServer *audioServer;
    ScreenStreamer *screenStreamer;
    DeviceCameraService *cameraService;
    CompanionApp *companionApp = nullptr;
};
