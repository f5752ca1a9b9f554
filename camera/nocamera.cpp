#include "nocamera.h"

#include "pixelformat.h"

#include <QMutexLocker>
#include <QPainter>

#include <cstring>

namespace {

constexpr int LogoSize = 100;
constexpr int Step = 5;

} // namespace

NoCamera::NoCamera(QObject *parent)
    : AOSPCamera(parent)
{
    m_name = tr("widget.webcam.disabled");
    m_sourceFormat = makeFourcc("NV21");
    m_frameSizes = {QSize(640, 480), QSize(352, 288), QSize(320, 240), QSize(176, 144)};
}

NoCamera::~NoCamera()
{
    waitForCapture();
}

void NoCamera::setImage(const QImage &image)
{
    QMutexLocker lock(&m_imageMutex);
    m_image = image.scaled(LogoSize, LogoSize, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    m_x = int(m_width) / 2;
    m_y = int(m_height) / 2;
    m_hasImage = true;
}

bool NoCamera::startDevice()
{
    return true;
}

void NoCamera::stopDevice()
{
}

int NoCamera::readFrame(CameraFrame *frame, int count, float red, float green, float blue, float exposure)
{
    QMutexLocker lock(&m_imageMutex);
    const int width = int(m_width);
    const int height = int(m_height);
    if (!m_hasImage) {
        std::memset(frame->video(), 0, std::size_t(width) * height * 3 / 2);
        if (count >= 2)
            std::memset(frame->preview(), 0, std::size_t(width) * height * 4);
        return FrameWritten;
    }
    QImage canvas(width, height, QImage::Format_RGB32);
    canvas.fill(Qt::black);
    {
        QPainter painter(&canvas);
        painter.drawImage(m_x, m_y, m_image);
    }
    const int nextX = m_x + Step * m_xDirection;
    const int nextY = m_y + Step * m_yDirection;
    if (nextX > width - m_image.width())
        m_xDirection = -1;
    if (nextX < 0)
        m_xDirection = 1;
    if (nextY > height - m_image.height())
        m_yDirection = -1;
    if (nextY < 0)
        m_yDirection = 1;
    m_x = nextX;
    m_y = nextY;
    return convertFrame(canvas.constBits(), makeFourcc("8RGB"), width, height, frame->targets, count, red, green, blue,
                        exposure)
               ? FrameWritten
               : ReadFailed;
}
