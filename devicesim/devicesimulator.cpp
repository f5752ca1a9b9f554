#include "devicesimulator.h"

#include "companionapp.h"
#include "packagemanager.h"

#include "adbserver.h"
#include "audioserver.h"
#include "devicecameraservice.h"
#include "devicestate.h"
#include "eventserver.h"
#include "journal.h"
#include "phonescreen.h"
#include "pixelformat.h"
#include "requestserver.h"
#include "screenstreamer.h"
#include "sensorserver.h"

#include <QJsonObject>
#include <QRegularExpression>

namespace {

QString storageFolder(const SimulatorOptions &options, std::unique_ptr<QTemporaryDir> &temporary)
{
    if (!options.storagePath.isEmpty())
        return options.storagePath;
    temporary = std::make_unique<QTemporaryDir>();
    return temporary->path();
}

} // namespace

DeviceSimulator::DeviceSimulator(const SimulatorOptions &options, QObject *parent)
    : QObject(parent)
    , settings(options)
    , journalLog(new Journal(this))
    , deviceState(new DeviceState(options.size, options.dpi, this))
    , phoneScreen(new PhoneScreen(deviceState, this))
    , eventServer(new EventServer(options.address, deviceState, journalLog, this))
    , requestServer(new RequestServer(options.address, deviceState, journalLog, this))
    , sensorServer(new SensorServer(options.address, deviceState, journalLog, this))
    , adbServer(new AdbServer(options.address, storageFolder(options, temporaryStorage), deviceState, journalLog, this))
    , audioServer(new AudioServer(options.address, journalLog, this))
    , screenStreamer(new ScreenStreamer(phoneScreen, journalLog, this))
    , cameraService(new DeviceCameraService(this))
{
    deviceState->setVersions(options.androidVersion, options.systemVersion);
    for (CameraServicePort *port : {cameraService->front(), cameraService->back()})
        watchCamera(port);
}

void DeviceSimulator::watchCamera(CameraServicePort *port)
{
    const QString direction = port->direction();
    auto record = [this, direction](const QJsonObject &fields) {
        QJsonObject entry = fields;
        entry.insert(QStringLiteral("camera"), direction);
        journalLog->record(QStringLiteral("camera"), entry);
    };
    connect(port, &CameraServicePort::playerConnected, this, [this, record, port] {
        record({{QStringLiteral("event"), QStringLiteral("connected")}});
        // Small and slow: enough to show the player's pictures on the phone screen.
        if (settings.cameraApp)
            cameraService->openCamera(port, 320, 240, makeFourcc("YU12"), 200);
    });
    connect(port, &CameraServicePort::playerDisconnected, this,
            [record] { record({{QStringLiteral("event"), QStringLiteral("disconnected")}}); });
    connect(port, &CameraServicePort::replyReceived, this,
            [this, record, port](const QByteArray &command, const QByteArray &reply) {
                // Frame bodies are large: the journal keeps the header and at most the start of a body.
                record({{QStringLiteral("command"), QString::fromLatin1(command)},
                        {QStringLiteral("reply"), QString::fromLatin1(reply.left(8 + 120).toPercentEncoding(" =:,.x"))},
                        {QStringLiteral("bytes"), reply.size()}});
                noteCameraReply(port, command, reply);
            });
    connect(port, &CameraServicePort::replyRejected, this, [record](const QByteArray &command, const QString &reason) {
        record({{QStringLiteral("command"), QString::fromLatin1(command)}, {QStringLiteral("rejected"), reason}});
    });
    connect(port, &CameraServicePort::frameReceived, deviceState,
            [this, direction](const QImage &frame) { deviceState->setCameraFrame(direction, frame); });
}

void DeviceSimulator::noteCameraReply(CameraServicePort *port, const QByteArray &command, const QByteArray &reply)
{
    const QString direction = port->direction();
    const QByteArray body = reply.mid(8);
    if (command.startsWith("infos")) {
        // "ok: name=<name> channel=...": the name may hold blanks; a long one is cut for the screen.
        static const QRegularExpression named(QStringLiteral("^ok: name=(.*) channel="));
        const QRegularExpressionMatch match = named.match(QString::fromUtf8(body.left(200)));
        if (match.hasMatch())
            deviceState->setCameraName(direction, match.captured(1).left(MaximumCameraName));
        return;
    }
    const bool start = command.startsWith("start");
    if (!start && !command.startsWith("stop"))
        return;
    const QSize size = port->frameSize();
    journalLog->record(QStringLiteral("camera"),
                       {{QStringLiteral("camera"), direction},
                        {QStringLiteral("event"), start ? QStringLiteral("start") : QStringLiteral("stop")},
                        {QStringLiteral("width"), size.width()},
                        {QStringLiteral("height"), size.height()}});
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
    if (settings.phone) {
        adbServer->setPhone(true);
        companionApp = new CompanionApp(settings.address, journalLog, this);
        companionApp->setRecordPath(settings.phoneRecord);
        if (!settings.phoneScript.isEmpty() && !companionApp->loadScript(settings.phoneScript, error))
            return false;
        connect(adbServer->packages(), &PackageManager::activityStarted, companionApp, &CompanionApp::activityStarted);
        connect(adbServer->packages(), &PackageManager::broadcastSent, companionApp, &CompanionApp::broadcastSent);
    }
    if (!cameraService->listen(settings.address)) {
        if (error)
            *error = QStringLiteral("cannot listen for the cameras on %1").arg(settings.address.toString());
        return false;
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
    return {eventServer, requestServer, sensorServer, adbServer, audioServer};
}
