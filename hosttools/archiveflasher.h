#pragma once

#include <QString>
#include <QThread>

// The worker that asks the device's own scripts, over adb shell, whether an archive already
// in the download folder can be flashed (Check), or flashes it (Flash). The answer is a
// marker in the script's output; no marker, no answer or no adb all read as false.
class ArchiveFlasher : public QThread
{
    Q_OBJECT

public:
    enum Action { Check = 0, Flash = 1 };

    // deviceIp: the device's address; the adb serial is made from it with ":5555".
    ArchiveFlasher(int action, const QString &fileName, const QString &deviceIp, QObject *parent = nullptr);

    // Whether the script's output holds the marker of the action (case-sensitive, anywhere).
    static bool hasMarker(int action, const QString &output);

signals:
    void sigCheckArchiveResult(bool flashable);
    void sigFlashArchiveResult(bool flashed);

protected:
    void run() override;

private:
    const int action;
    const QString fileName;
    const QString deviceIp;
};
