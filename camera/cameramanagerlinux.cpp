#include "cameramanagerlinux.h"

#include "aospcameralinux.h"
#include "nocamera.h"

#include <QDebug>
#include <QPointer>

namespace {

constexpr int VideoNodes = 8;

QPointer<CameraManagerLinux> &theInstance()
{
    static QPointer<CameraManagerLinux> manager;
    return manager;
}

} // namespace

CameraManagerLinux::CameraManagerLinux(const QString &deviceAddress, QObject *parent)
    : CameraManager(deviceAddress, parent)
{
}

CameraManagerLinux *CameraManagerLinux::instance(const QString &deviceAddress, QObject *parent)
{
    QPointer<CameraManagerLinux> &manager = theInstance();
    if (!manager)
        manager = new CameraManagerLinux(deviceAddress, parent);
    return manager;
}

bool CameraManagerLinux::probeCamera(AOSPCameraLinux *camera)
{
    const QList<AOSPCameraLinux::Format> formats = camera->usableFormats();
    if (formats.isEmpty())
        return false;
    camera->setSource(formats.first().fourcc, formats.first().sizes);
    return true;
}

QList<AOSPCamera *> CameraManagerLinux::listCameras()
{
    retireCameras();
    m_cameras.append(noCamera());
    for (int n = 0; n < VideoNodes; ++n) {
        AOSPCameraLinux *camera = AOSPCameraLinux::create(QStringLiteral("/dev/video%1").arg(n));
        if (!camera)
            continue;
        if (!probeCamera(camera)) {
            delete camera;
            continue;
        }
        camera->setName(QStringLiteral("webcam%1").arg(m_cameras.size() - 1));
        m_cameras.append(camera);
        qDebug() << "[CAMERA]" << "Compatible camera:" << camera->name();
    }
    return m_cameras;
}
