#pragma once

#include "calderwickclient.h"

#include <QAbstractSocket>
#include <QClipboard>
#include <QHostAddress>
#include <QList>
#include <QMap>
#include <QObject>
#include <QStringList>
#include <QTcpSocket>

#include <functional>
#include <memory>

class DeviceHost;
class QEventLoop;
class QKeyEvent;
class SensorManager;

// What gpsGetAll reads, in this order.
struct GpsInfo
{
    bool reception = false;
    double latitude = 0;
    double longitude = 0;
    double altitude = 0;
    double bearing = 0;
    double accuracy = 0;
};

// What a request that the device sent on its own asks of the player.
struct DevicePush
{
    enum Kind { Ignored, Clipboard, ApiCalls };
    Kind kind = Ignored;
    QString text;     // Clipboard: the device's clipboard text
    qint64 calls = 0; // ApiCalls: device API calls to add to the running total
};

// The player's door to the running device: the event channel (text lines to port 22469),
// the request channel (CalderwickClient on 22666) with one operation per device parameter,
// the clipboard link, and the SensorManager. Main thread only; the connection and each
// write block for a bounded time, request exchanges spin a local event loop.
class EventManager : public QObject
{
    Q_OBJECT

public:
    static constexpr quint16 EventPort = 22469;
    static constexpr quint16 RequestPort = 22666;
    static constexpr int ConnectTimeout = 30000;
    static constexpr int WriteTimeout = 2000;
    static constexpr int MaxRetries = 9;
    static constexpr int CapabilityAttempts = 10;

    // Gives the device's address to the render library; non-zero means refused.
    using AddressSink = std::function<int(const QByteArray &address)>;
    // Receives the count of device API calls that a device reports.
    using ApiCallsSink = std::function<void(qint64 calls)>;

    // owner is not owned and must outlive this object.
    explicit EventManager(DeviceHost *owner, QObject *parent = nullptr);
    ~EventManager() override;

    // Where the address goes before connecting: Sylvane_setVMIP unless replaced.
    void setAddressSink(AddressSink sink) { addressSink = std::move(sink); }
    void setApiCallsSink(ApiCallsSink sink) { apiCallsSink = std::move(sink); }
    // Pauses between connection retries and between capability attempts (3000 ms each).
    void setRetryDelay(int ms) { retryDelay = ms; }
    void setCapabilityRetryDelay(int ms) { capabilityRetryDelay = ms; }

    // Starts everything: address check, render library, request client, event connection.
    void setDeviceAddress(const QString &ip);
    void start(const QString &ip) { setDeviceAddress(ip); }
    // Up to ten attempts 3 s apart; emits capabilitiesChanged with the text, or "{}".
    void requestCapabilities();
    // Writes one line and waits for it to leave; a failure goes to socketError.
    void sendEvent(const QByteArray &bytes);

    void keyPressEvent(QKeyEvent *event);
    void keyReleaseEvent(QKeyEvent *event);
    QList<int> translateKeyEvent(QKeyEvent *event);
    QList<int> translateKeyText(const QString &text, bool isRelease);
    static bool isKeyAllowed(int key, Qt::KeyboardModifiers modifiers);

    CalderwickClient *deviceClient() { return &client; }
    // Null until the event channel first started.
    SensorManager *sensorManager() const { return sensors.get(); }
    QString deviceAddressText() const { return deviceAddress.toString(); }
    // Writable and connected: a socket the device closed stays open for writing in Qt's
    // sense until it is reset, yet nothing written there would arrive.
    bool isEventChannelOpen() const
    {
        return eventSocket.isWritable() && eventSocket.state() == QAbstractSocket::ConnectedState;
    }
    bool pingDevice();
    // Reads a request from the device: only PushData of Clipboard or ApiStatistics acts.
    static DevicePush readDevicePush(const Calderwick::Request &request);
    // Stops the event channel for good, before the machine goes: its closing socket is then
    // not taken for a lost device, and no retry follows.
    void shutdown();

    // Parameter operations: getters return the failure value given, setters false, on failure.
    bool batteryGetMode();
    bool batterySetMode(bool manual);
    int batteryGetLevel();
    bool batterySetLevel(int level);
    QString batteryGetStatus();
    bool batterySetStatus(const QString &status);
    bool gpsSetStatus(bool enabled);
    bool gpsSetLatitude(double value);
    bool gpsSetLongitude(double value);
    bool gpsSetAltitude(double value);
    bool gpsSetAccuracy(double value);
    bool gpsSetBearing(double value);
    bool gpsGetAll(GpsInfo &info);
    QString getDeviceId();
    bool setDeviceId(const QString &id);
    QString getAndroidId();
    bool setAndroidId(const QString &id);
    int getNetworkMode();
    int getNetworkUpRate();
    int getNetworkDownRate();
    int getNetworkUpDelay();
    int getNetworkDownDelay();
    float getNetworkUpPktLoss();
    float getNetworkDownPktLoss();
    int getNetworkDnsDelay();
    bool setNetworkMode(int mode);
    bool setNetworkUpRate(int rate);
    bool setNetworkDownRate(int rate);
    bool setNetworkUpDelay(int delay);
    bool setNetworkDownDelay(int delay);
    bool setNetworkUpPktLoss(double loss);
    bool setNetworkDownPktLoss(double loss);
    bool setNetworkDnsDelay(int delay);
    bool basebandCall(const QString &number);
    bool basebandSendSms(const QString &number, const QString &text);

signals:
    void started();
    void error(QString message);
    void capabilitiesChanged(QString capabilities);

public slots:
    void mouseMoveEvent(int x, int y);
    void mousePressEvent(int x, int y);
    void mouseReleaseEvent(int x, int y);
    void multitouchPressEvent(int x, int y, int mode);
    void multitouchReleaseEvent(int x, int y);
    void wheelEvent(int x, int y, int delta);

private slots:
    void connectToMachine();
    void connected();
    void socketError(QAbstractSocket::SocketError error);
    void startSensorManager();
    void clipboardChanged(QClipboard::Mode mode);
    void requestFromDevice();

private:
    void sendPointer(const char *keyword, int x, int y);
    // Shows the error box and ends the player when the machine has stopped; true if so.
    bool machineStopped();
    void giveUp();
    bool gpsSet(Calderwick::Parameter::Type parameter, double value, const char *line, const char *infoLine);
    int networkInt(Calderwick::Parameter::Type parameter, const char *line);
    float networkLoss(Calderwick::Parameter::Type parameter, const char *line);
    bool networkSet(Calderwick::Parameter::Type parameter, const QVariant &value, const char *line);

    DeviceHost *owner;
    QHostAddress deviceAddress;
    QTcpSocket eventSocket;
    int connectRetries = 0;
    CalderwickClient client;
    QMap<QString, QList<int>> textKeyMap;
    QMap<int, QList<int>> qtKeyMap;
    QStringList pressedTexts;
    std::unique_ptr<SensorManager> sensors;
    bool retryPending = false;
    bool shutDown = false;
    bool altHeld = false;
    bool clipboardGuard = false;
    QEventLoop *capabilitiesLoop = nullptr;

    AddressSink addressSink;
    ApiCallsSink apiCallsSink;
    int retryDelay = 3000;
    int capabilityRetryDelay = 3000;
};
