#pragma once

#include <QString>
#include <QStringList>
#include <QtGlobal>

// One command of the device's camera service, read from its text without acting on it. The
// kind is found by the text's beginning; parameters are the blank-separated "name=value" parts
// that match exactly, the others are listed in skipped.
struct CameraCommand
{
    enum Kind { Connect, Disconnect, Start, Infos, Stop, Frame, Unknown };

    Kind kind = Unknown;
    // start: what the device asks for; unset fields keep the camera's present values.
    bool hasFormat = false;
    quint32 format = 0;
    bool hasSize = false;
    quint32 width = 0;
    quint32 height = 0;
    // frame: bytes of video and preview wanted (0: none), and the factors for the next capture.
    qulonglong videoSize = 0;
    qulonglong previewSize = 0;
    float red = 1.0f;
    float green = 1.0f;
    float blue = 1.0f;
    float exposure = 1.0f;
    QStringList skipped;

    // Sizes larger than maximumDimension either way are skipped.
    static CameraCommand parse(const QString &text, quint32 maximumDimension);
};
