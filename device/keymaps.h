#pragma once

#include <QList>
#include <QMap>
#include <QString>

// Host keys to the device's Linux input key codes (KEY_* of input-event-codes.h).
namespace KeyMaps {

// Device code of left Shift, pressed by itself for characters that need it.
constexpr int LeftShift = 42;

// Upper-case character to the codes to send, in order, on a US layout.
QMap<QString, QList<int>> textKeyMap();
// Qt::Key value to its code, for keys that have no text.
QMap<int, QList<int>> qtKeyMap();

} // namespace KeyMaps
