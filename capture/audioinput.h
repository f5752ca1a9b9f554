#pragma once

#include <QObject>
#include <QString>

class QTcpSocket;

// The device's sound: signed 16-bit little-endian stereo at 44100 Hz on TCP 24296. Opened on
// the caller's thread, then read only on the encoder's.
class AudioInput : public QObject
{
    Q_OBJECT

public:
    static constexpr quint16 Port = 24296;
    static constexpr int BufferBytes = 8192;
    static constexpr int MaxSilencePairs = 2048;

    explicit AudioInput(const QString &deviceAddress, QObject *parent = nullptr);
    ~AudioInput() override;

    // Connects, waiting at most 500 ms; false without an address or a listening device.
    bool open();
    // Reads what has arrived, whole sample pairs only, at most BufferBytes; returns the pairs
    // now in samples() (0 when nothing came or the socket is not connected).
    int read();
    // Offers min(pairs, MaxSilencePairs) pairs of silence in samples(); returns how many.
    int silence(qint64 pairs);
    const qint16 *samples() const { return buffer; }
    void close();

private:
    QTcpSocket *socket;
    QString address;
    bool stateReported = false; // a lost device is logged once, not at every frame
    qint16 buffer[BufferBytes / 2];
};
