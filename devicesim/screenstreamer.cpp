#include "screenstreamer.h"

#include "journal.h"
#include "phonescreen.h"
#include "streamserver.h"

#include <QImage>
#include <QJsonObject>

ScreenStreamer::ScreenStreamer(PhoneScreen *screen, Journal *journal, QObject *parent)
    : QObject(parent)
    , screen(screen)
    , journal(journal)
    , server(std::make_unique<StreamServer>())
{
    connect(screen, &PhoneScreen::changed, this, &ScreenStreamer::submit);
}

ScreenStreamer::~ScreenStreamer()
{
    stop();
}

bool ScreenStreamer::start(const QHostAddress &address, quint16 port)
{
    const QString channel = QStringLiteral("screen");
    if (!server->start(address.toString().toStdString(), port)) {
        journal->record(channel, {{QStringLiteral("event"), QStringLiteral("listen-failed")},
                                  {QStringLiteral("error"), QStringLiteral("cannot listen on %1:%2")
                                                                .arg(address.toString())
                                                                .arg(port)}});
        return false;
    }
    journal->record(channel, {{QStringLiteral("event"), QStringLiteral("listening")},
                              {QStringLiteral("port"), int(server->port())}});
    submit();
    return true;
}

void ScreenStreamer::stop()
{
    server->stop();
}

quint16 ScreenStreamer::port() const
{
    return server->port();
}

int ScreenStreamer::clientCount() const
{
    return server->clientCount();
}

void ScreenStreamer::submit()
{
    if (!server->isRunning())
        return;
    const QImage image = screen->image();
    // Format_RGB32 is B, G, R, A in memory on the little-endian hosts the simulator runs on.
    if (image.format() != QImage::Format_RGB32 && image.format() != QImage::Format_ARGB32)
        return;
    // The angle travels with the picture drawn for it: announced alone, a viewer would turn
    // the old picture and show it sideways until the next redraw.
    const int orientation = screen->orientation();
    if (!server->submitFrame(image.constBits(), image.width(), image.height(), image.bytesPerLine(),
                             StreamServer::PixelLayout::Bgra, orientation))
        return;
    ++submitted;
    if (orientation != lastOrientation) {
        lastOrientation = orientation;
        journal->record(QStringLiteral("screen"), {{QStringLiteral("orientation"), lastOrientation}});
    }
}
