#pragma once

#include "cameramanager.h"

class AOSPCameraLinux;

// The camera manager of a Linux host: webcams are the V4L2 nodes "/dev/video0" to "/dev/video7".
class CameraManagerLinux : public CameraManager
{
    Q_OBJECT

public:
    // Makes the one manager on the first call and returns it afterwards; later arguments are
    // ignored. The manager lives until its parent deletes it; the next call then makes another.
    static CameraManagerLinux *instance(const QString &deviceAddress = QString(), QObject *parent = nullptr);

    // The placeholder, then every node whose probe succeeds, named "webcam0", "webcam1"...
    QList<AOSPCamera *> listCameras() override;
    // Takes the camera's first usable format as its source; false when it has none.
    bool probeCamera(AOSPCameraLinux *camera);

private:
    CameraManagerLinux(const QString &deviceAddress, QObject *parent);
};
