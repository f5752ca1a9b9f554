#pragma once

#include <QByteArray>
#include <QIODevice>
#include <QObject>
#include <QPointer>
#include <QString>

class DeviceHost;

// Reads the remote control phone's lines from its socket and turns them into device input:
// touches scaled to the device's display for the event channel, accelerometer values for
// the sensor channel. Tells the phone the display's size and rotation on attaching and on
// every turn. A line the phone gets wrong is dropped with a log line (the first few of a
// connection in full, the rest counted); a line longer than PhoneLine::MaxLength is skipped
// up to its end. Main thread only.
class ProxyEvent : public QObject
{
    Q_OBJECT

public:
    // Lines dropped per connection that are logged one by one.
    static constexpr int LoggedDrops = 5;

    // screen: where the display's size and rotation are read, not owned.
    explicit ProxyEvent(DeviceHost *screen, QObject *parent = nullptr);
    ~ProxyEvent() override;

    // socket is not owned; it may go away at any time.
    void attach(QIODevice *socket);
    void detach();
    QIODevice *socket() const { return device; }
    // Writes "DISPLAY:<width>:<height>:<rotation>\n" when a writable socket is attached.
    void sendDisplay();

signals:
    void videoReady();
    void multiEvent(QByteArray buffer);
    void accelEvent(double ax, double ay, double az);

public slots:
    void processInput();

private:
    void handleLine(const QByteArray &line);
    void drop(const QString &reason, const QByteArray &line);
    void reportDrops();

    DeviceHost *screen;
    QPointer<QIODevice> device;
    bool skippingLongLine = false;
    int drops = 0;
};
