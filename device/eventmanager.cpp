#include "eventmanager.h"

#include "devicehost.h"
#include "keymaps.h"
#include "messageboxes.h"
#include "openglrender.h"
#include "sensormanager.h"
#include "settings.h"
#include "vmtoolsmachine.h"

#include <QDebug>
#include <QEventLoop>
#include <QGuiApplication>
#include <QPointer>
#include <QTimer>

using Calderwick::Parameter;
using Calderwick::Request;

namespace {

// Where the failure box sends a user whose player could not reach the device.
QString startFailureHelpAddress()
{
    return settingsValue(QStringLiteral("support.root"), QStringLiteral("https://www.brackenlea.com/")).toString()
           + QStringLiteral("#!/support?chapter=collapse-nostart#faq");
}

QClipboard *applicationClipboard()
{
    return qobject_cast<QGuiApplication *>(QCoreApplication::instance()) ? QGuiApplication::clipboard() : nullptr;
}

} // namespace

EventManager::EventManager(DeviceHost *owner, QObject *parent)
    : QObject(parent)
    , owner(owner)
    , textKeyMap(KeyMaps::textKeyMap())
    , qtKeyMap(KeyMaps::qtKeyMap())
    , addressSink([](const QByteArray &address) { return Sylvane_setVMIP(address.constData()); })
{
    connect(this, &EventManager::started, this, &EventManager::startSensorManager);
    connect(&eventSocket, &QTcpSocket::connected, this, &EventManager::connected);
    connect(&eventSocket, &QAbstractSocket::errorOccurred, this,
            &EventManager::socketError);
    if (QClipboard *clipboard = applicationClipboard())
        connect(clipboard, &QClipboard::changed, this, &EventManager::clipboardChanged);
    connect(&client, &CalderwickClient::requestFromDevice, this, &EventManager::requestFromDevice);
}

EventManager::~EventManager()
{
    sensors.reset();
    eventSocket.disconnect();
    if (capabilitiesLoop) {
        // The wait may still be running on the stack below us.
        capabilitiesLoop->quit();
        capabilitiesLoop->deleteLater();
    }
}

void EventManager::setDeviceAddress(const QString &ip)
{
    deviceAddress.setAddress(ip);
    if (deviceAddress.isNull()) {
        emit error(QStringLiteral("Virtual device has no IP address"));
        return;
    }
    if (addressSink(ip.toUtf8()) != 0) {
        qCritical() << "Unable to set IP address";
        emit error(QStringLiteral("Unable to set IP address"));
        return;
    }
    client.setAddress(deviceAddress, RequestPort);
    connectToMachine();
}

void EventManager::connectToMachine()
{
    retryPending = false;
    if (shutDown)
        return;
    qDebug().noquote() << "Events Manager connecting to"
                       << deviceAddress.toString() + QLatin1Char(':') + QString::number(EventPort);
    eventSocket.connectToHost(deviceAddress, EventPort, QIODevice::WriteOnly);
    if (!eventSocket.waitForConnected(ConnectTimeout)) {
        qDebug() << "Timeout waiting for EventManager connection";
        // Closed, so that senders see the channel as not writable until it is back.
        eventSocket.abort();
        socketError(QAbstractSocket::ConnectionRefusedError);
    }
}

void EventManager::connected()
{
    qDebug() << "Events Manager connected";
    const QSize size = owner->deviceDisplaySize();
    eventSocket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
    const QByteArray config = "CONFIG:" + QByteArray::number(size.width()) + ':' + QByteArray::number(size.height())
                              + '\n';
    if (eventSocket.write(config) == -1) {
        emit error(QStringLiteral("Could not connect to virtual device event server"));
        return;
    }
    eventSocket.flush();
    emit started();
    connectRetries = -1;
}

void EventManager::sendEvent(const QByteArray &bytes)
{
    if (eventSocket.write(bytes) < 1 || !eventSocket.waitForBytesWritten(WriteTimeout)) {
        eventSocket.abort();
        socketError(QAbstractSocket::RemoteHostClosedError);
    }
}

void EventManager::sendPointer(const char *keyword, int x, int y)
{
    if (!isEventChannelOpen())
        return;
    sendEvent(QByteArray(keyword) + ':' + QByteArray::number(x) + ':' + QByteArray::number(y) + '\n');
}

void EventManager::mouseMoveEvent(int x, int y)
{
    sendPointer("MOUSE", x, y);
}

void EventManager::mousePressEvent(int x, int y)
{
    sendPointer("MSBPR", x, y);
}

void EventManager::mouseReleaseEvent(int x, int y)
{
    sendPointer("MSBRL", x, y);
}

void EventManager::multitouchPressEvent(int x, int y, int mode)
{
    if (!isEventChannelOpen())
        return;
    const int rotation = static_cast<int>(owner->displayRotation());
    sendEvent("MSMTPR:" + QByteArray::number(x) + ':' + QByteArray::number(y) + ':' + QByteArray::number(rotation)
              + ':' + QByteArray::number(mode) + '\n');
}

void EventManager::multitouchReleaseEvent(int x, int y)
{
    sendPointer("MSMTRL", x, y);
}

void EventManager::wheelEvent(int x, int y, int delta)
{
    if (!isEventChannelOpen())
        return;
    sendEvent("WHEEL:" + QByteArray::number(x) + ':' + QByteArray::number(y) + (delta > 0 ? ":1:0\n" : ":-1:0\n"));
}

void EventManager::requestCapabilities()
{
    QPointer<EventManager> self(this);
    QString text = QStringLiteral("{}");
    ReplyCode result = ReplyCode::NetworkError;
    for (int attempt = 0; attempt < CapabilityAttempts && result != ReplyCode::Ok;) {
        capabilitiesLoop = new QEventLoop;
        qDebug() << "Events Manager: requesting device capabilities";
        result = client.getCapabilities(text);
        if (!self)
            return;
        if (result == ReplyCode::Ok) {
            qDebug() << "Got ok from capabilities request";
        } else {
            qDebug() << "Timeout waiting for capabilities. Will retry.";
            // Keep the interface alive through the pause.
            QTimer::singleShot(capabilityRetryDelay, capabilitiesLoop, &QEventLoop::quit);
            capabilitiesLoop->exec();
            if (!self)
                return;
        }
        delete capabilitiesLoop;
        capabilitiesLoop = nullptr;
        ++attempt;
    }
    emit capabilitiesChanged(text);
    clipboardChanged(QClipboard::Clipboard);
}

void EventManager::clipboardChanged(QClipboard::Mode mode)
{
    if (mode != QClipboard::Clipboard || clipboardGuard)
        return;
    QClipboard *clipboard = applicationClipboard();
    if (!clipboard)
        return;
    qDebug() << "Signaling clipboard modification";
    client.setClipboard(clipboard->text(QClipboard::Clipboard));
}

void EventManager::requestFromDevice()
{
    qDebug() << "Receive request from device";
    const std::unique_ptr<Request> request = client.takeRequest();
    if (!request)
        return;
    const DevicePush push = readDevicePush(*request);
    switch (push.kind) {
    case DevicePush::Clipboard:
        if (QClipboard *clipboard = applicationClipboard()) {
            // The write's own changed() must not send the text back.
            clipboardGuard = true;
            clipboard->setText(push.text, QClipboard::Clipboard);
            clipboardGuard = false;
        }
        break;
    case DevicePush::ApiCalls:
        if (apiCallsSink)
            apiCallsSink(push.calls);
        break;
    case DevicePush::Ignored:
        break;
    }
}

DevicePush EventManager::readDevicePush(const Request &request)
{
    DevicePush push;
    if (request.type() != Request::PushData)
        return push;
    const Calderwick::Value &value = request.parameter().value();
    switch (request.parameter().type()) {
    case Parameter::Clipboard:
        push.kind = DevicePush::Clipboard;
        push.text = QString::fromStdString(value.stringvalue());
        break;
    case Parameter::ApiStatistics:
        push.kind = DevicePush::ApiCalls;
        push.calls = value.intvalue();
        break;
    default:
        break;
    }
    return push;
}

void EventManager::startSensorManager()
{
    qDebug() << "Starting Sensors Manager";
    if (!sensors)
        sensors = std::make_unique<SensorManager>(deviceAddress.toString());
    else
        sensors->connectToMachine();
}

bool EventManager::pingDevice()
{
    QString answer;
    return client.ping(answer) == ReplyCode::Ok;
}

void EventManager::shutdown()
{
    shutDown = true;
    eventSocket.abort();
}

bool EventManager::machineStopped()
{
    VMToolsMachine *machine = owner ? owner->vmMachine() : nullptr;
    if (!machine)
        return false;
    const int state = machine->state();
    if (state == MachineState::On)
        return false;
    static const char *const stateKeys[] = {
        QT_TR_NOOP("vbox.state.undefined"), nullptr, QT_TR_NOOP("vbox.state.off"), QT_TR_NOOP("vbox.state.paused"),
        QT_TR_NOOP("vbox.state.process"), QT_TR_NOOP("vbox.state.aborted")};
    const QString stateText = state >= 0 && state <= 5 && stateKeys[state] ? tr(stateKeys[state]) : QString();
    qCritical().noquote() << "Events Manager: virtual machine switched to state:" << stateText;
    showError(tr("vbox.state.error").arg(stateText));
    fatalExit(3);
    return true;
}

void EventManager::giveUp()
{
    // Finished: a retry that was already scheduled must not reach for the device again.
    shutDown = true;
    qCritical().noquote() << "Events Manager: Unable to connect player to virtual machine:"
                          << deviceAddress.toString();
    const QString address = startFailureHelpAddress();
    showError(tr("network.error") + QStringLiteral("<br><br>") + tr("error.more.information")
              + QStringLiteral("<a href='") + address + QStringLiteral("'><font color='#FFF'>") + address
              + QStringLiteral("</font></a>"));
    fatalExit(15);
}

void EventManager::socketError(QAbstractSocket::SocketError socketError)
{
    if (shutDown)
        return;
    qDebug() << "Event Manager socket error:" << socketError;
    machineStopped();

    const bool retryable = socketError == QAbstractSocket::UnknownSocketError
                           || socketError == QAbstractSocket::ConnectionRefusedError
                           || socketError == QAbstractSocket::RemoteHostClosedError
                           || socketError == QAbstractSocket::SocketTimeoutError;
    if (connectRetries <= MaxRetries && retryable) {
        qCritical().noquote() << "Events Manager: socket error connecting to"
                              << deviceAddress.toString() + QLatin1Char(':') + QString::number(EventPort);
        if (retryPending)
            return;
        ++connectRetries;
        retryPending = true;
        qDebug() << "Events Manager: will retry connection";
        QTimer::singleShot(retryDelay, this, &EventManager::connectToMachine);
        return;
    }
    giveUp();
}
