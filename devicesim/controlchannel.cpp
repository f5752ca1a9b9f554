#include "controlchannel.h"

#include "channelserver.h"
#include "companionapp.h"
#include "devicecameraservice.h"
#include "devicesimulator.h"
#include "devicestate.h"
#include "journal.h"
#include "phonescreen.h"
#include "requestserver.h"

#include <QJsonObject>
#include <QLocalServer>
#include <QLocalSocket>
#include <QSocketNotifier>

#include <cstdio>
#include <unistd.h>

using Calderwick::Parameter;
using Calderwick::Status;

namespace {

const int MaxCommandLength = 64 * 1024;

QString ok(const QString &data = QString())
{
    return data.isEmpty() ? QStringLiteral("ok") : QStringLiteral("ok ") + data;
}

QString error(const QString &reason)
{
    return QStringLiteral("error ") + reason;
}

// "\n" stands for a line feed and "\\" for a backslash, so one command line can carry any text.
QString unescape(const QString &text)
{
    QString result;
    for (int i = 0; i < text.size(); ++i) {
        if (text.at(i) == QLatin1Char('\\') && i + 1 < text.size()) {
            const QChar next = text.at(++i);
            result += next == QLatin1Char('n') ? QLatin1Char('\n') : next;
        } else {
            result += text.at(i);
        }
    }
    return result;
}

bool parseSwitch(const QString &word, bool &on)
{
    on = word == QLatin1String("on");
    return on || word == QLatin1String("off");
}

bool parseStatus(const QString &word, Status::Code &code)
{
    static const char *const names[] = {"Ok", "GenericError", "InvalidRequest", "OkWithInformation",
                                        "NotImplemented"};
    for (int i = 0; i < 5; ++i) {
        if (word.compare(QLatin1String(names[i]), Qt::CaseInsensitive) == 0) {
            code = Status::Code(i);
            return true;
        }
    }
    return false;
}

} // namespace

ControlChannel::ControlChannel(DeviceSimulator *simulator, QObject *parent)
    : QObject(parent)
    , simulator(simulator)
{
}

ControlChannel::~ControlChannel() = default;

QString ControlChannel::execute(const QString &line)
{
    const QString trimmed = line.trimmed();
    const int space = trimmed.indexOf(QLatin1Char(' '));
    const QString command = space < 0 ? trimmed : trimmed.left(space);
    const QString arguments = space < 0 ? QString() : trimmed.mid(space + 1).trimmed();
    const QString answer = run(command, arguments);
    simulator->journal()->record(QStringLiteral("control"),
                                 {{QStringLiteral("command"), trimmed}, {QStringLiteral("answer"), answer}});
    return answer;
}

QString ControlChannel::run(const QString &command, const QString &arguments)
{
    RequestServer *requests = simulator->requests();
    DeviceState *state = simulator->state();
    const QStringList words = arguments.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    bool on = false;
    bool number = false;
    const int firstNumber = words.value(0).toInt(&number);

    if (command == QLatin1String("ping"))
        return ok(QStringLiteral("pong"));
    if (command == QLatin1String("push-clipboard"))
        return requests->pushClipboard(unescape(arguments)) ? ok() : error(QStringLiteral("no request connection"));
    if (command == QLatin1String("push-api")) {
        if (!number)
            return error(QStringLiteral("push-api takes a number"));
        return requests->pushApiStatistics(firstNumber) ? ok() : error(QStringLiteral("no request connection"));
    }
    if (command == QLatin1String("set") || command == QLatin1String("get")) {
        const Parameter::Type parameter = DeviceState::parameterFromName(words.value(0));
        if (parameter == Parameter::None)
            return error(QStringLiteral("unknown parameter \"%1\"").arg(words.value(0)));
        if (command == QLatin1String("get"))
            return ok(state->value(parameter).toString());
        QString reason;
        const QString value = unescape(arguments.mid(words.value(0).size()).trimmed());
        return state->setValue(parameter, value, &reason) ? ok() : error(reason);
    }
    if (command == QLatin1String("caps") && words.size() == 2 && parseSwitch(words.at(1), on)) {
        state->setCapability(words.at(0), on);
        return ok(state->capabilitiesText());
    }
    if (command == QLatin1String("caps-text")) {
        state->setCapabilitiesText(unescape(arguments));
        return ok();
    }
    if (command == QLatin1String("caps-fail") && number) {
        requests->failCapabilities(firstNumber);
        return ok();
    }
    if (command == QLatin1String("reply-delay") && number) {
        requests->setReplyDelay(firstNumber);
        return ok();
    }
    if (command == QLatin1String("reply-split") && (number || parseSwitch(arguments, on))) {
        // "on" cuts inside the status, where no reply is whole yet.
        requests->setReplySplit(number ? firstNumber : (on ? 3 : 0));
        return ok();
    }
    if (command == QLatin1String("reply-silent") && parseSwitch(arguments, on)) {
        requests->setSilent(on);
        return ok();
    }
    Status::Code code = Status::Ok;
    if (command == QLatin1String("reply-next") && parseStatus(words.value(0), code)) {
        requests->queueReplyStatus(code, unescape(arguments.mid(words.value(0).size()).trimmed()));
        return ok();
    }
    if (command == QLatin1String("garbage") && number)
        return requests->sendGarbage(firstNumber) ? ok() : error(QStringLiteral("no request connection"));
    if (command == QLatin1String("close") || command == QLatin1String("refuse") || command == QLatin1String("accept")
        || command == QLatin1String("connections")) {
        QList<ChannelServer *> targets;
        if (arguments == QLatin1String("all"))
            targets = simulator->channels();
        else if (ChannelServer *one = simulator->channel(arguments))
            targets << one;
        if (targets.isEmpty())
            return error(QStringLiteral("no channel \"%1\"").arg(arguments));
        int count = 0;
        for (ChannelServer *target : targets) {
            if (command == QLatin1String("close"))
                target->closeConnections();
            else if (command == QLatin1String("refuse"))
                target->refuse();
            else if (command == QLatin1String("accept") && !target->listen())
                return error(QStringLiteral("cannot listen for %1").arg(target->channel()));
            count += target->connectionCount();
        }
        return command == QLatin1String("connections") ? ok(QString::number(count)) : ok();
    }
    if (command == QLatin1String("camera"))
        return runCamera(words);
    if (command == QLatin1String("screenshot") && !arguments.isEmpty()) {
        simulator->screen()->render();
        return simulator->screen()->save(arguments) ? ok() : error(QStringLiteral("cannot write %1").arg(arguments));
    }
    if (command == QLatin1String("phone-script") || command == QLatin1String("phone-send")) {
        CompanionApp *companion = simulator->companion();
        QString failure;
        if (!companion)
            return error(QStringLiteral("not a phone (start with --phone)"));
        if (command == QLatin1String("phone-send"))
            return companion->send(arguments.toUtf8()) ? ok() : error(QStringLiteral("no player connected"));
        return companion->loadScript(arguments, &failure) ? ok() : error(failure);
    }
    if (command == QLatin1String("mark"))
        return ok();
    if (command == QLatin1String("quit")) {
        emit quitRequested();
        return ok();
    }
    return error(QStringLiteral("unknown command or arguments: \"%1 %2\"").arg(command, arguments).trimmed());
}

// camera open front|back WxH FOURCC [interval-ms [preview]]: what a camera application does on
// opening a camera; camera close front|back; camera frames front|back: frames received so far.
QString ControlChannel::runCamera(const QStringList &words)
{
    DeviceCameraService *cameras = simulator->cameras();
    const QString direction = words.value(1);
    CameraServicePort *port = direction == QLatin1String("front") ? cameras->front()
                              : direction == QLatin1String("back") ? cameras->back()
                                                                   : nullptr;
    if (!port)
        return error(QStringLiteral("camera takes front or back"));
    const QString action = words.value(0);
    if (action == QLatin1String("frames"))
        return ok(QString::number(simulator->state()->cameraFrameCount(direction)));
    if (!port->isConnected())
        return error(QStringLiteral("no player connected to the %1 camera").arg(direction));
    if (action == QLatin1String("close")) {
        cameras->closeCamera(port);
        return ok();
    }
    if (action != QLatin1String("open") || words.size() < 4 || words.size() > 6)
        return error(QStringLiteral("camera open front|back WxH FOURCC [interval-ms [preview]]"));
    const QStringList size = words.at(2).split(QLatin1Char('x'));
    bool widthOk = false;
    bool heightOk = false;
    const int width = size.value(0).toInt(&widthOk);
    const int height = size.value(1).toInt(&heightOk);
    if (size.size() != 2 || !widthOk || !heightOk || width < 2 || height < 2 || width > 4096 || height > 4096
        || width % 2 || height % 2)
        return error(QStringLiteral("camera size takes even WIDTHxHEIGHT up to 4096x4096"));
    const QByteArray fourcc = words.at(3).toLatin1();
    if (fourcc.size() != 4)
        return error(QStringLiteral("a fourcc has four characters"));
    bool intervalOk = true;
    const int interval = words.size() > 4 ? words.at(4).toInt(&intervalOk) : 40;
    if (!intervalOk || interval < 0 || interval > 10000)
        return error(QStringLiteral("the frame interval is 0 to 10000 ms"));
    const quint32 code = quint32(uchar(fourcc[0])) | quint32(uchar(fourcc[1])) << 8 | quint32(uchar(fourcc[2])) << 16
                         | quint32(uchar(fourcc[3])) << 24;
    cameras->openCamera(port, quint32(width), quint32(height), code, interval,
                        words.value(5) == QLatin1String("preview"));
    return ok();
}

void ControlChannel::attachStandardInput()
{
    if (inputNotifier)
        return;
    inputNotifier = new QSocketNotifier(STDIN_FILENO, QSocketNotifier::Read, this);
    connect(inputNotifier, &QSocketNotifier::activated, this, &ControlChannel::readStandardInput);
}

void ControlChannel::readStandardInput()
{
    char chunk[4096];
    const ssize_t count = ::read(STDIN_FILENO, chunk, sizeof chunk);
    if (count <= 0) {
        // End of input: the simulator goes on serving; only "quit" or a signal ends it.
        inputNotifier->setEnabled(false);
        return;
    }
    inputBuffer.append(chunk, int(count));
    for (int end = inputBuffer.indexOf('\n'); end >= 0; end = inputBuffer.indexOf('\n')) {
        const QString line = QString::fromUtf8(inputBuffer.left(end));
        inputBuffer.remove(0, end + 1);
        const QByteArray answer = execute(line).toUtf8() + '\n';
        std::fwrite(answer.constData(), 1, size_t(answer.size()), stdout);
        std::fflush(stdout);
    }
    if (inputBuffer.size() > MaxCommandLength) {
        std::fputs("error command line too long\n", stdout);
        std::fflush(stdout);
        inputBuffer.clear();
    }
}

bool ControlChannel::listen(const QString &name)
{
    if (!server) {
        server = new QLocalServer(this);
        connect(server, &QLocalServer::newConnection, this, [this] {
            while (QLocalSocket *peer = server->nextPendingConnection()) {
                connect(peer, &QLocalSocket::disconnected, peer, &QObject::deleteLater);
                connect(peer, &QLocalSocket::readyRead, this, [this, peer] {
                    while (peer->canReadLine()) {
                        const QString line = QString::fromUtf8(peer->readLine());
                        peer->write(execute(line).toUtf8() + '\n');
                    }
                    if (peer->bytesAvailable() > MaxCommandLength) {
                        peer->write("error command line too long\n");
                        peer->readAll();
                    }
                });
            }
        });
    }
    QLocalServer::removeServer(name);
    return server->listen(name);
}
