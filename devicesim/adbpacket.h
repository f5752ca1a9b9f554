#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>

// One message of the adb transport: a header of six little-endian 32-bit words (command,
// arg0, arg1, data length, data checksum, command ^ 0xffffffff) and its data. Decoding is
// pure so that the daemon and the fuzzer share it.
struct AdbPacket
{
    static constexpr int HeaderSize = 24;
    static constexpr quint32 Connect = 0x4e584e43;  // CNXN
    static constexpr quint32 Auth = 0x48545541;     // AUTH
    static constexpr quint32 Open = 0x4e45504f;     // OPEN
    static constexpr quint32 Okay = 0x59414b4f;     // OKAY
    static constexpr quint32 Close = 0x45534c43;    // CLSE
    static constexpr quint32 Write = 0x45545257;    // WRTE
    static constexpr quint32 Tls = 0x534c5453;      // STLS
    // From this version on, peers may leave the checksum zero and the receiver ignores it.
    static constexpr quint32 VersionSkipChecksum = 0x01000001;

    enum class Result { Packet, NeedMore, Invalid };

    quint32 command = 0;
    quint32 arg0 = 0;
    quint32 arg1 = 0;
    QByteArray data;

    static quint32 checksum(const QByteArray &data);
    static QByteArray encode(quint32 command, quint32 arg0, quint32 arg1, const QByteArray &data = QByteArray());
    static QString commandName(quint32 command);

    // Takes one packet off the front of buffer. Invalid (with the reason) for an unknown
    // command, a bad magic word, data longer than maxPayload or, when verifyChecksum is set,
    // a wrong checksum; NeedMore leaves buffer untouched.
    static Result take(QByteArray &buffer, quint32 maxPayload, bool verifyChecksum, AdbPacket &packet,
                       QString &error);
};
