#pragma once

#include "channelserver.h"

#include <QByteArray>
#include <QHash>

class DeviceState;

// The device's sensor port (22471): records of 32 bytes, little-endian, player to device:
// int64 type (1, accelerometer), then x, y, z as doubles. Records may arrive cut anywhere.
class SensorServer : public ChannelServer
{
    Q_OBJECT

public:
    static constexpr quint16 Port = 22471;
    static constexpr int RecordSize = 32;

    struct Record
    {
        qint64 type = 0;
        double x = 0, y = 0, z = 0;
    };

    SensorServer(const QHostAddress &address, DeviceState *state, Journal *journal, QObject *parent = nullptr);

    // Reads one record from exactly RecordSize bytes.
    static Record decode(const char *bytes);

protected:
    void peerData(QTcpSocket *peer) override;
    void peerGone(QTcpSocket *peer) override;

private:
    DeviceState *state;
    QHash<QTcpSocket *, QByteArray> buffers;
};
