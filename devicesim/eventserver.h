#pragma once

#include "channelserver.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>

class DeviceState;

// The device's event port (22469): text lines "KEYWORD:field:field...\n", player to device,
// never answered. Each complete line is journaled as "line" when the device accepts it and
// as "rejected" with a "reason" when it does not.
class EventServer : public ChannelServer
{
    Q_OBJECT

public:
    static constexpr quint16 Port = 22469;
    // A line longer than this without its line feed is refused and dropped.
    static constexpr int MaxLineLength = 4096;

    struct Line
    {
        QByteArray keyword;
        QList<int> fields;
    };

    EventServer(const QHostAddress &address, DeviceState *state, Journal *journal, QObject *parent = nullptr);

    // Reads one line without its line feed; false with the reason when the device refuses it.
    static bool parseLine(const QByteArray &text, Line &line, QString &reason);

protected:
    void peerData(QTcpSocket *peer) override;
    void peerGone(QTcpSocket *peer) override;

private:
    void apply(const Line &line);

    DeviceState *state;
    QHash<QTcpSocket *, QByteArray> buffers;
};
