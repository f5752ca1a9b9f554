#include "proxyevent.h"

#include "devicehost.h"
#include "phoneline.h"

#include <QDebug>

ProxyEvent::ProxyEvent(DeviceHost *screen, QObject *parent)
    : QObject(parent)
    , screen(screen)
{
}

ProxyEvent::~ProxyEvent()
{
    detach();
}

void ProxyEvent::attach(QIODevice *socket)
{
    detach();
    device = socket;
    if (!device)
        return;
    connect(device, &QIODevice::readyRead, this, &ProxyEvent::processInput);
    sendDisplay();
    processInput();
}

void ProxyEvent::detach()
{
    if (device) {
        disconnect(device, nullptr, this, nullptr);
        if (device->bytesAvailable() > 0 && !skippingLongLine)
            drop(QStringLiteral("truncated line"), device->peek(PhoneLine::MaxLength));
    }
    reportDrops();
    device.clear();
    skippingLongLine = false;
    drops = 0;
}

void ProxyEvent::sendDisplay()
{
    if (!device || !device->isWritable() || !screen)
        return;
    const QSize size = screen->deviceDisplaySize();
    const QString line = QStringLiteral("DISPLAY:%1:%2:%3\n")
                             .arg(size.width())
                             .arg(size.height())
                             .arg(static_cast<int>(screen->displayRotation()));
    qDebug().noquote() << "[ProxyEvent]" << "Orientation changed:" << line.trimmed();
    device->write(line.toUtf8());
}

void ProxyEvent::processInput()
{
    // Each emitted signal may detach this object or delete the socket: checked every turn.
    while (device && device->bytesAvailable() > 0) {
        const QByteArray head = device->peek(PhoneLine::MaxLength + 1);
        const int end = head.indexOf('\n');
        if (skippingLongLine) {
            device->read(end < 0 ? head.size() : end + 1);
            skippingLongLine = end < 0;
            continue;
        }
        if (end < 0) {
            if (head.size() <= PhoneLine::MaxLength)
                return; // the rest of the line is still on its way
            drop(QStringLiteral("line longer than %1 bytes").arg(PhoneLine::MaxLength), head);
            skippingLongLine = true;
            continue;
        }
        QByteArray line = device->read(end + 1);
        line.chop(1);
        handleLine(line);
    }
}

void ProxyEvent::handleLine(const QByteArray &line)
{
    const PhoneLine parsed = PhoneLine::parse(line, screen ? screen->deviceDisplaySize() : QSize());
    switch (parsed.kind) {
    case PhoneLine::VideoReady:
        emit videoReady();
        break;
    case PhoneLine::Touch:
        emit multiEvent(parsed.event);
        break;
    case PhoneLine::Accelerometer:
        emit accelEvent(parsed.x, parsed.y, parsed.z);
        break;
    case PhoneLine::Invalid:
        drop(parsed.reason, line);
        break;
    }
}

void ProxyEvent::drop(const QString &reason, const QByteArray &line)
{
    ++drops;
    if (drops > LoggedDrops)
        return;
    qWarning().noquote() << "[ProxyEvent] Line dropped," << reason + QLatin1Char(':')
                         << QString::fromLatin1(line.left(80).toPercentEncoding(" :.,-_"));
    if (drops == LoggedDrops)
        qWarning().noquote() << "[ProxyEvent] Further bad lines from this phone are only counted";
}

void ProxyEvent::reportDrops()
{
    if (drops > LoggedDrops)
        qWarning().noquote() << "[ProxyEvent]" << drops << "lines dropped from this phone in all";
}
