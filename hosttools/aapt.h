#pragma once

#include "tooloutput.h"

#include <QObject>
#include <QString>

// The Android packaging tool, asked for the package name and launchable activity of an
// APK. badging() blocks for up to 90 s in all: call it from a worker thread.
class Aapt : public QObject
{
    Q_OBJECT

public:
    explicit Aapt(QObject *parent = nullptr);

    // The located tool, empty when there is none; found once, searched again when gone.
    static QString aaptPath();
    // The newest build tools first, then platform-tools, platforms/*/tools, tools, the
    // SDK itself. Empty when no "aapt" is in any of them.
    static QString searchSdk(const QString &sdk);

    // Fills the record from "aapt dump badging". True whenever the tool ran to its end,
    // even on a file that is no APK (the record then stays empty).
    bool badging(const QString &apkPath, ApkBadging &record);
};
