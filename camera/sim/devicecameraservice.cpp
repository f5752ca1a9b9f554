#include "devicecameraservice.h"

DeviceCameraService::DeviceCameraService(QObject *parent)
    : QObject(parent)
    , m_front(QStringLiteral("front"), FrontPort)
    , m_back(QStringLiteral("back"), BackPort)
{
}

bool DeviceCameraService::listen(const QHostAddress &address)
{
    return m_front.listen(address) && m_back.listen(address);
}

void DeviceCameraService::openCamera(CameraServicePort *port, quint32 width, quint32 height, quint32 fourcc,
                                     int intervalMs, bool preview)
{
    port->sendConnect();
    port->sendInfos();
    port->sendStart(width, height, fourcc);
    if (intervalMs > 0)
        port->startStreaming(intervalMs, preview);
}

void DeviceCameraService::closeCamera(CameraServicePort *port)
{
    port->stopStreaming();
    port->sendStop();
    port->sendDisconnect();
}
