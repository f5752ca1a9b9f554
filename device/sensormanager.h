#pragma once

#include <QObject>
#include <QString>
#include <QTcpSocket>

// Carries accelerometer readings to the device's sensor port (22471): one 32-byte record
// per reading, little-endian int64 type 1 then x, y, z as doubles, no reply. Reconnects
// every 3 s after an error, without limit. Whatever the device sends back is discarded.
class SensorManager : public QObject
{
    Q_OBJECT

public:
    static constexpr quint16 SensorPort = 22471;
    static constexpr int RecordSize = 32;

    explicit SensorManager(const QString &address, QObject *parent = nullptr);

    // The record of one accelerometer reading, as written on the wire.
    static QByteArray accelerometerRecord(double x, double y, double z);
    bool isConnected() const { return socket.state() == QAbstractSocket::ConnectedState; }
    // Bytes the device sent that the socket still holds (the channel is one-way: none are kept).
    qint64 bufferedBytes() const { return socket.bytesAvailable(); }
    // Pause before reconnecting after an error (3000 ms; tests shorten it).
    void setReconnectDelay(int ms) { reconnectDelay = ms; }

public slots:
    void connectToMachine();
    // Dropped silently while not connected.
    void sendAccelerometerValues(double x, double y, double z);

private slots:
    void connected();
    void error(QAbstractSocket::SocketError socketError);
    void discardIncoming();

private:
    QString address;
    QTcpSocket socket;
    int reconnectDelay = 3000;
    bool incomingReported = false;
};
