#include "devicesimulator.h"

#include "devicestate.h"
#include "eventserver.h"
#include "journal.h"
#include "phonescreen.h"
#include "requestserver.h"
#include "screenstreamer.h"
#include "sensorserver.h"

#include <QJsonObject>

DeviceSimulator::DeviceSimulator(const SimulatorOptions &options, QObject *parent)
    : QObject(parent)
    , settings(options)
    , journalLog(new Journal(this))
    , deviceState(new DeviceState(options.size, options.dpi, this))
    , phoneScreen(new PhoneScreen(deviceState, this))
    , eventServer(new EventServer(options.address, deviceState, journalLog, this))
    , requestServer(new RequestServer(options.address, deviceState, journalLog, this))
    , sensorServer(new SensorServer(options.address, deviceState, journalLog, this))
    , screenStreamer(new ScreenStreamer(phoneScreen, journalLog, this))
{
}

DeviceSimulator::~DeviceSimulator() = default;

bool DeviceSimulator::start(QString *error)
{
    if (!settings.journalPath.isEmpty() && !journalLog->open(settings.journalPath)) {
        if (error)
            *error = QStringLiteral("cannot write the journal %1").arg(settings.journalPath);
        return false;
    }
    journalLog->record(QStringLiteral("device"),
                       {{QStringLiteral("event"), QStringLiteral("start")},
                        {QStringLiteral("address"), settings.address.toString()},
                        {QStringLiteral("width"), settings.size.width()},
                        {QStringLiteral("height"), settings.size.height()},
                        {QStringLiteral("dpi"), settings.dpi}});
    for (ChannelServer *server : channels()) {
        if (!server->listen()) {
            if (error)
                *error = QStringLiteral("cannot listen on %1:%2").arg(settings.address.toString()).arg(server->port());
            return false;
        }
    }
    if (settings.screenPort != 0 && !screenStreamer->start(settings.address, settings.screenPort)) {
        if (error)
            *error = QStringLiteral("cannot listen on %1:%2").arg(settings.address.toString()).arg(settings.screenPort);
        return false;
    }
    return true;
}

ChannelServer *DeviceSimulator::channel(const QString &name) const
{
    for (ChannelServer *server : channels()) {
        if (server->channel() == name)
            return server;
    }
    return nullptr;
}

QList<ChannelServer *> DeviceSimulator::channels() const
{
    return {eventServer, requestServer, sensorServer};
}
