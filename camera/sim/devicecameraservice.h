#pragma once

#include "cameraserviceport.h"

#include <QHostAddress>
#include <QObject>

// The camera service of a simulated device: the front camera on 24810 and the back camera on
// 24800 of one address.
class DeviceCameraService : public QObject
{
    Q_OBJECT

public:
    static constexpr quint16 FrontPort = 24810;
    static constexpr quint16 BackPort = 24800;

    explicit DeviceCameraService(QObject *parent = nullptr);

    bool listen(const QHostAddress &address);
    CameraServicePort *front() { return &m_front; }
    CameraServicePort *back() { return &m_back; }

    // What a camera application does on opening a camera: connect, infos, start; then a frame
    // every intervalMs (0: none).
    void openCamera(CameraServicePort *port, quint32 width, quint32 height, quint32 fourcc, int intervalMs = 40,
                    bool preview = false);
    // And on closing it: stop, disconnect.
    void closeCamera(CameraServicePort *port);

private:
    CameraServicePort m_front;
    CameraServicePort m_back;
};
