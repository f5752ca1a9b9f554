#include "sensorserver.h"

#include "devicestate.h"

#include <QJsonObject>
#include <QTcpSocket>
#include <QtEndian>

#include <cstring>

namespace {

double readDouble(const char *bytes)
{
    const quint64 bits = qFromLittleEndian<quint64>(bytes);
    double value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

} // namespace

SensorServer::SensorServer(const QHostAddress &address, DeviceState *state, Journal *journal, QObject *parent)
    : ChannelServer(QStringLiteral("sensor"), address, Port, journal, parent)
    , state(state)
{
}

SensorServer::Record SensorServer::decode(const char *bytes)
{
    Record record;
    record.type = qFromLittleEndian<qint64>(bytes);
    record.x = readDouble(bytes + 8);
    record.y = readDouble(bytes + 16);
    record.z = readDouble(bytes + 24);
    return record;
}

void SensorServer::peerData(QTcpSocket *peer)
{
    QByteArray &buffer = buffers[peer];
    buffer += peer->readAll();
    int offset = 0;
    for (; buffer.size() - offset >= RecordSize; offset += RecordSize) {
        const QByteArray raw = buffer.mid(offset, RecordSize);
        const Record record = decode(raw.constData());
        QJsonObject entry{{QStringLiteral("peer"), peerId(peer)},
                          {QStringLiteral("bytes"), QString::fromLatin1(raw.toHex(' '))},
                          {QStringLiteral("type"), static_cast<double>(record.type)},
                          {QStringLiteral("x"), record.x},
                          {QStringLiteral("y"), record.y},
                          {QStringLiteral("z"), record.z}};
        if (record.type != 1) {
            entry[QStringLiteral("rejected")] = QStringLiteral("sensor type");
            entry[QStringLiteral("reason")] = QStringLiteral("only the accelerometer (1) is simulated");
            journal(entry);
            continue;
        }
        state->setGravity(record.x, record.y, record.z);
        entry[QStringLiteral("orientation")] = state->orientation();
        journal(entry);
    }
    buffer.remove(0, offset);
}

void SensorServer::peerGone(QTcpSocket *peer)
{
    buffers.remove(peer);
}
