#include "adbpacket.h"

#include <QtEndian>

namespace {

quint32 word(const QByteArray &bytes, int index)
{
    return qFromLittleEndian<quint32>(bytes.constData() + 4 * index);
}

bool isKnown(quint32 command)
{
    switch (command) {
    case AdbPacket::Connect:
    case AdbPacket::Auth:
    case AdbPacket::Open:
    case AdbPacket::Okay:
    case AdbPacket::Close:
    case AdbPacket::Write:
    case AdbPacket::Tls:
        return true;
    default:
        return false;
    }
}

} // namespace

quint32 AdbPacket::checksum(const QByteArray &data)
{
    quint32 sum = 0;
    for (char byte : data)
        sum += static_cast<quint8>(byte);
    return sum;
}

QByteArray AdbPacket::encode(quint32 command, quint32 arg0, quint32 arg1, const QByteArray &data)
{
    QByteArray bytes(HeaderSize, Qt::Uninitialized);
    char *out = bytes.data();
    const quint32 words[6] = {command, arg0, arg1, static_cast<quint32>(data.size()), checksum(data),
                              command ^ 0xffffffffu};
    for (int i = 0; i < 6; ++i)
        qToLittleEndian<quint32>(words[i], out + 4 * i);
    return bytes + data;
}

QString AdbPacket::commandName(quint32 command)
{
    if (!isKnown(command))
        return QStringLiteral("0x%1").arg(command, 8, 16, QLatin1Char('0'));
    QByteArray name(4, Qt::Uninitialized);
    qToLittleEndian<quint32>(command, name.data());
    return QString::fromLatin1(name);
}

AdbPacket::Result AdbPacket::take(QByteArray &buffer, quint32 maxPayload, bool verifyChecksum, AdbPacket &packet,
                                  QString &error)
{
    if (buffer.size() < HeaderSize)
        return Result::NeedMore;
    const quint32 command = word(buffer, 0);
    const quint32 length = word(buffer, 3);
    if (!isKnown(command)) {
        error = QStringLiteral("unknown command %1").arg(commandName(command));
        return Result::Invalid;
    }
    if (word(buffer, 5) != (command ^ 0xffffffffu)) {
        error = QStringLiteral("bad magic word after %1").arg(commandName(command));
        return Result::Invalid;
    }
    if (length > maxPayload) {
        error = QStringLiteral("%1 announces %2 bytes of data, more than %3").arg(commandName(command)).arg(length).arg(maxPayload);
        return Result::Invalid;
    }
    if (static_cast<quint32>(buffer.size() - HeaderSize) < length)
        return Result::NeedMore;
    QByteArray data = buffer.mid(HeaderSize, static_cast<int>(length));
    if (verifyChecksum && checksum(data) != word(buffer, 4)) {
        error = QStringLiteral("wrong checksum on %1").arg(commandName(command));
        return Result::Invalid;
    }
    packet.command = command;
    packet.arg0 = word(buffer, 1);
    packet.arg1 = word(buffer, 2);
    packet.data = std::move(data);
    buffer.remove(0, HeaderSize + static_cast<int>(length));
    return Result::Packet;
}
