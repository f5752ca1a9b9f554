#pragma once

#include <QThread>

class QTimer;
class VideoEncoder;

// Runs one encoder's steps at its frame period. The timer is rearmed after each step, so the
// rate holds when a step is quick and falls to as fast as possible when it is not, with no
// queue of frames.
class EncoderThread : public QThread
{
    Q_OBJECT

public:
    EncoderThread(VideoEncoder *encoder, int period, QObject *parent = nullptr);

signals:
    void outputClosed();

public slots:
    void encodeFrame();
    void abortEncoding();

protected:
    void run() override;

private:
    VideoEncoder *encoder;
    QTimer *timer = nullptr;
    int period;
    bool aborted = false;
};
