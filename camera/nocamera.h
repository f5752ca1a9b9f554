#pragma once

#include "aospcamera.h"

#include <QImage>
#include <QMutex>

// The camera of a device without webcam: a black picture, with a logo bouncing across it once
// an image is given.
class NoCamera : public AOSPCamera
{
    Q_OBJECT

public:
    explicit NoCamera(QObject *parent = nullptr);
    ~NoCamera() override;

    // The logo; scaled to 100 x 100 and started from the middle of the frame.
    void setImage(const QImage &image);

protected:
    bool startDevice() override;
    int readFrame(CameraFrame *frame, int count, float red, float green, float blue, float exposure) override;
    void stopDevice() override;

private:
    int m_x = 0;
    int m_y = 0;
    qint8 m_xDirection = 1;
    qint8 m_yDirection = 1;
    QImage m_image;
    bool m_hasImage = false;
    QMutex m_imageMutex;
};
