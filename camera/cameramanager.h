#pragma once

#include "aospcamera.h"

#include <QAbstractSocket>
#include <QImage>
#include <QList>
#include <QObject>
#include <QString>
#include <QTcpSocket>

class NoCamera;

// The player's side of the device's camera service: one socket to the front camera port and
// one to the back camera port, each answered by the camera bound to it.
class CameraManager : public QObject
{
    Q_OBJECT

public:
    static constexpr quint16 FrontPort = 24810;
    static constexpr quint16 BackPort = 24800;
    // A command waits unread while more than this much of the earlier replies is still unsent,
    // so a device that asks for frames but never reads them can't make them pile up here.
    static constexpr qint64 MaximumUnsentBytes = 64 * 1024;
    // What is taken from a socket at a time; commands are a few dozen bytes.
    static constexpr qint64 MaximumCommandBytes = 4096;

    // Connects both sockets to deviceAddress (nothing happens while it is empty), with the
    // placeholder camera bound to both.
    explicit CameraManager(const QString &deviceAddress, QObject *parent = nullptr);
    ~CameraManager() override;

    QString deviceAddress() const { return m_deviceAddress; }
    // A device that came up at another address: both sockets leave the old one and connect
    // there. The same address again only connects a socket that is not connected.
    void setDeviceAddress(const QString &deviceAddress);
    AOSPCamera *frontCamera() const { return m_frontCamera; }
    AOSPCamera *backCamera() const { return m_backCamera; }
    // Moves the front users of the present camera over to camera (not owned unless listed).
    void setFrontCamera(AOSPCamera *camera);
    void setBackCamera(AOSPCamera *camera);
    // Opaque green (front) or blue (back) 640 x 480 without a camera, else its current image.
    void frontPreview(QImage &image);
    void backPreview(QImage &image);
    void setPlaceholderImage(const QImage &image);
    // The cameras to choose from; the first is always the placeholder. The manager owns them.
    virtual QList<AOSPCamera *> listCameras() = 0;

    // Writes one reply: 8 lower-case hexadecimal digits of the body length, then the body.
    static void sendReply(QTcpSocket *socket, CameraReply &reply);
    // The command in one read: the bytes before the first NUL, trimmed.
    static QString commandFromData(const QByteArray &data);

public slots:
    void connectFrontSocket();
    void handleFrontSocket();
    void errorFrontSocket(QAbstractSocket::SocketError error);
    void stateFrontSocket(QAbstractSocket::SocketState state);
    void connectBackSocket();
    void handleBackSocket();
    void errorBackSocket(QAbstractSocket::SocketError error);
    void stateBackSocket(QAbstractSocket::SocketState state);

protected:
    // Hands cameras no longer listed over for deletion; bound ones live until unbound or the end.
    void retireCameras();
    NoCamera *noCamera() const { return m_noCamera; }

    AOSPCamera *m_frontCamera = nullptr;
    AOSPCamera *m_backCamera = nullptr;
    QTcpSocket m_frontSocket;
    QTcpSocket m_backSocket;
    QString m_deviceAddress;
    CameraReply m_frontReply;
    CameraReply m_backReply;
    QList<AOSPCamera *> m_cameras;

private:
    void bindCamera(AOSPCamera *&slot, AOSPCamera *camera, quint32 bit);
    void handleSocket(QTcpSocket &socket, AOSPCamera *camera, quint32 bit, CameraReply &reply, bool &stalled);
    void resumeWhenDrained(QTcpSocket &socket, void (CameraManager::*handler)());
    void retryLater(QAbstractSocket::SocketError error, void (CameraManager::*connectSlot)());
    void deleteUnused();

    NoCamera *m_noCamera = nullptr;
    QList<AOSPCamera *> m_retired;
    // Set while a socket's commands wait for its replies to drain; the log says so once.
    bool m_frontStalled = false;
    bool m_backStalled = false;
};
