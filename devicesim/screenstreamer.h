#pragma once

#include <QHostAddress>
#include <QObject>

#include <memory>

class Journal;
class PhoneScreen;
class StreamServer;

// Serves the phone screen as the render library's screen stream (port 25000 on the
// device's address): every redraw goes out, with the orientation it was drawn for, so
// that the player's rotation callback fires when the device turns.
class ScreenStreamer : public QObject
{
    Q_OBJECT

public:
    static constexpr quint16 Port = 25000;

    ScreenStreamer(PhoneScreen *screen, Journal *journal, QObject *parent = nullptr);
    ~ScreenStreamer() override;

    // Listens on address and port (0: the system picks) and sends the current picture;
    // false, journaled, when the port cannot be had.
    bool start(const QHostAddress &address, quint16 port = Port);
    void stop();
    quint16 port() const;
    int clientCount() const;
    // Pictures handed to the stream since the start.
    int picturesSubmitted() const { return submitted; }

private:
    void submit();

    PhoneScreen *screen;
    Journal *journal;
    std::unique_ptr<StreamServer> server;
    int submitted = 0;
    int lastOrientation = -1;
};
