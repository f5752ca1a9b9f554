#pragma once

#include <QByteArray>
#include <QtGlobal>

// One compressed packet as an encoder hands it on: pts in the encoder's own time base
// (frame periods for video, sample pairs for sound).
struct EncodedPacket
{
    QByteArray data;
    qint64 pts = 0;
    bool key = true;
};
