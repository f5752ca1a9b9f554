#include "encoderthread.h"

#include "videoencoder.h"

#include <QAbstractSocket>
#include <QDebug>
#include <QElapsedTimer>
#include <QTimer>

EncoderThread::EncoderThread(VideoEncoder *encoder, int period, QObject *parent)
    : QThread(parent)
    , encoder(encoder)
    , period(qMax(1, period))
{
}

void EncoderThread::run()
{
    qDebug() << "[VideoEncoder]" << "Encoder started";
    QIODevice *output = encoder->outputDevice();
    connect(output, &QIODevice::aboutToClose, this, &EncoderThread::abortEncoding, Qt::DirectConnection);
    if (auto *socket = qobject_cast<QAbstractSocket *>(output))
        connect(socket, &QAbstractSocket::disconnected, this, &EncoderThread::abortEncoding, Qt::DirectConnection);
    QTimer frameTimer;
    frameTimer.setSingleShot(true);
    connect(&frameTimer, &QTimer::timeout, this, &EncoderThread::encodeFrame, Qt::DirectConnection);
    timer = &frameTimer;
    frameTimer.start(period);
    exec();
    timer = nullptr;
    disconnect(output, nullptr, this, nullptr);
    // The container is closed here, on the thread that owns the output, which then goes back
    // to the encoder's thread.
    encoder->finishOutput();
}

void EncoderThread::encodeFrame()
{
    QElapsedTimer step;
    step.start();
    encoder->encodeVideo();
    const qint64 taken = step.elapsed();
    if (timer)
        timer->start(taken >= period ? 1 : int(period - taken));
}

void EncoderThread::abortEncoding()
{
    // A closing socket says so twice (closing, disconnected): one stop is enough.
    if (aborted)
        return;
    aborted = true;
    qDebug() << "[EncoderThread]" << "Output device close. Stopping encoder";
    emit outputClosed();
    quit();
}
