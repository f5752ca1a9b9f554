#include "calderwickclient.h"

#include <google/protobuf/stubs/common.h>
#include <google/protobuf/stubs/logging.h>

#include <QCoreApplication>
#include <QDebug>
#include <QEventLoop>
#include <QTcpSocket>
#include <QTimer>

#include <mutex>

using Calderwick::Parameter;
using Calderwick::Reply;
using Calderwick::Request;
using Calderwick::Status;
using Calderwick::Value;

namespace {

// The library keeps process-wide state; it is released once, when the application ends,
// because other clients (and a simulator in the same process) may still use it before.
void shutdownProtobufAtExit()
{
    static std::once_flag once;
    std::call_once(once, [] {
        if (QCoreApplication::instance())
            qAddPostRoutine([] { google::protobuf::ShutdownProtobufLibrary(); });
    });
}

// Fills value from the QVariant; false when the QVariant's type has no wire form.
bool fillValue(Value *value, const QVariant &variant)
{
    switch (variant.userType()) {
    case QMetaType::Bool:
        value->set_type(Value::Bool);
        value->set_boolvalue(variant.toBool());
        return true;
    case QMetaType::Int:
    case QMetaType::UInt:
        value->set_type(Value::Int);
        value->set_intvalue(variant.toInt());
        return true;
    case QMetaType::Double:
        // The double rides along for readers that want the full precision.
        value->set_type(Value::Float);
        value->set_floatvalue(static_cast<float>(variant.toDouble()));
        value->set_doublevalue(variant.toDouble());
        return true;
    case QMetaType::QString:
        value->set_type(Value::String);
        value->set_stringvalue(variant.toString().toStdString());
        return true;
    case QMetaType::QByteArray: {
        QByteArray bytes = variant.toByteArray();
        const int zero = bytes.indexOf('\0');
        if (zero >= 0)
            bytes.truncate(zero);
        value->set_type(Value::Bytes);
        value->set_bytesvalue(bytes.constData(), static_cast<size_t>(bytes.size()));
        return true;
    }
    default:
        return false;
    }
}

ReplyCode valueToVariant(const Value &value, QVariant &variant)
{
    switch (value.type()) {
    case Value::Bool:
        if (!value.has_boolvalue())
            return ReplyCode::SerializationError;
        variant = value.boolvalue();
        return ReplyCode::Ok;
    case Value::Int:
        if (!value.has_intvalue())
            return ReplyCode::SerializationError;
        variant = value.intvalue();
        return ReplyCode::Ok;
    case Value::Float:
        if (!value.has_floatvalue())
            return ReplyCode::SerializationError;
        // A writer of Float carries the same number as a double too; prefer it when there.
        variant = value.has_doublevalue() ? value.doublevalue() : static_cast<double>(value.floatvalue());
        return ReplyCode::Ok;
    case Value::String:
        if (!value.has_stringvalue())
            return ReplyCode::SerializationError;
        variant = QString::fromStdString(value.stringvalue());
        return ReplyCode::Ok;
    case Value::Bytes:
        if (!value.has_bytesvalue())
            return ReplyCode::SerializationError;
        variant = QByteArray(value.bytesvalue().data(), static_cast<int>(value.bytesvalue().size()));
        return ReplyCode::Ok;
    case Value::Double:
        if (!value.has_doublevalue())
            return ReplyCode::SerializationError;
        variant = value.doublevalue();
        return ReplyCode::Ok;
    }
    return ReplyCode::SerializationError;
}

bool parseBytes(google::protobuf::MessageLite &message, const QByteArray &bytes)
{
    return message.ParseFromArray(bytes.constData(), bytes.size());
}

} // namespace

CalderwickClient::CalderwickClient(QObject *parent)
    : QObject(parent)
{
    GOOGLE_PROTOBUF_VERIFY_VERSION;
    shutdownProtobufAtExit();
}

CalderwickClient::~CalderwickClient() = default;

void CalderwickClient::setAddress(const QHostAddress &address, quint16 port)
{
    deviceAddress = address;
    devicePort = port;
}

bool CalderwickClient::initConnection(QString &errorText)
{
    if (persistentConnection && socket) {
        if (socket->state() == QAbstractSocket::ConnectedState)
            return true;
        qCritical() << "[initConnection] Persistant connection but not connected. Will reconnect to"
                    << deviceAddress.toString();
    }

    if (socket) {
        // We may be inside this socket's own readyRead(): let it go when control returns.
        QTcpSocket *old = socket.release();
        old->disconnect(this);
        old->abort();
        old->deleteLater();
    }
    socket = std::make_unique<QTcpSocket>();
    socket->setReadBufferSize(2048);
    socket->connectToHost(deviceAddress, devicePort, QIODevice::ReadWrite);
    if (!socket->waitForConnected(2000)) {
        errorText = socket->errorString();
        return false;
    }
    connect(socket.get(), &QTcpSocket::readyRead, this, &CalderwickClient::messageFromDevice);
    garbageReported = false;
    return true;
}

bool CalderwickClient::isConnected() const
{
    return socket && socket->state() == QAbstractSocket::ConnectedState;
}

Request CalderwickClient::buildRequest(Request::Type type, Parameter::Type parameter, const QVariant &value)
{
    Request request;
    request.set_type(type);
    bool valid = true;
    switch (type) {
    case Request::Ping:
        break;
    case Request::GetParam:
        request.mutable_parameter()->set_type(parameter);
        break;
    case Request::SetParam:
    case Request::PushData:
        request.mutable_parameter()->set_type(parameter);
        valid = fillValue(request.mutable_parameter()->mutable_value(), value);
        break;
    case Request::CheckArchive:
    case Request::FlashArchive:
        request.mutable_parameter()->set_type(parameter);
        valid = value.userType() == QMetaType::QString
                && fillValue(request.mutable_parameter()->mutable_value(), value);
        break;
    case Request::SendCommand: {
        request.mutable_parameter()->set_type(parameter);
        Value *sent = request.mutable_parameter()->mutable_value();
        sent->set_type(Value::String);
        sent->set_stringvalue(value.toString().toStdString());
        break;
    }
    default:
        request.mutable_parameter()->set_type(parameter);
        valid = false;
        break;
    }
    if (!valid) {
        if (request.has_parameter())
            request.mutable_parameter()->clear_value();
        qCritical() << "Invalid request type in buildRequest. Sending dummy empty request";
    }
    return request;
}

ReplyCode CalderwickClient::sendRequest(const Request &request, QByteArray &reply, int timeoutMs)
{
    QString connectError;
    if (!initConnection(connectError)) {
        qCritical() << "Unable to connect to"
                    << qPrintable(deviceAddress.toString() + QLatin1Char(':') + QString::number(devicePort))
                    << connectError;
        return ReplyCode::NetworkError;
    }

    const std::string bytes = request.SerializeAsString();
    auto loop = std::make_unique<QEventLoop>();
    QTimer timer;
    timer.setSingleShot(true);
    connect(&timer, &QTimer::timeout, loop.get(), &QEventLoop::quit);
    connect(this, &CalderwickClient::replyFromDevice, loop.get(), &QEventLoop::quit);

    const qint64 written = socket->write(bytes.data(), static_cast<qint64>(bytes.size()));
    if (written != static_cast<qint64>(bytes.size())) {
        qCritical() << "Unable to send request:" << socket->errorString();
        return ReplyCode::NetworkError;
    }

    if (timeoutMs > 0)
        timer.start(timeoutMs);
    loop->exec();
    loop.reset();

    // The timer, not a flag, decides: a reply that came with the expiry is still late.
    if (timeoutMs > 0 && !timer.isActive()) {
        qWarning() << "Timeout while waiting for request reply";
        return ReplyCode::NetworkError;
    }
    reply = lastReply;
    return ReplyCode::Ok;
}

ReplyCode CalderwickClient::parseReply(const QByteArray &bytes, QVariant &value)
{
    Reply reply;
    // Partial on purpose: a reply without its status is told apart below.
    reply.ParsePartialFromArray(bytes.constData(), bytes.size());
    if (!reply.has_type()) {
        qCritical() << "[CalderwickClient]" << "[parseReply]" << "Can't unserialize reply";
        return ReplyCode::SerializationError;
    }

    switch (reply.type()) {
    case Reply::None:
        if (!reply.has_status() || !reply.status().has_code())
            return ReplyCode::SerializationError;
        value = QString::fromStdString(reply.status().has_description() ? reply.status().description()
                                                                        : std::string());
        return reply.status().code() == Status::OkWithInformation ? ReplyCode::OkWithInformation : ReplyCode::Ok;
    case Reply::Error:
        if (!reply.has_status() || !reply.status().has_code())
            return ReplyCode::SerializationError;
        value = QString::fromStdString(reply.status().description());
        switch (reply.status().code()) {
        case Status::Ok:
            return ReplyCode::Ok;
        case Status::GenericError:
            return ReplyCode::GenericError;
        case Status::InvalidRequest:
            return ReplyCode::InvalidRequest;
        case Status::NotImplemented:
            qWarning() << "Not implemented in your current Calderwick system.";
            return ReplyCode::NotImplemented;
        default:
            return ReplyCode::SerializationError;
        }
    case Reply::Pong:
        value = QStringLiteral("PONG");
        return ReplyCode::Ok;
    case Reply::Value:
        if (!reply.has_value() || !reply.value().has_type())
            return ReplyCode::SerializationError;
        return valueToVariant(reply.value(), value);
    }
    return ReplyCode::SerializationError;
}

std::unique_ptr<Request> CalderwickClient::takeRequest() const
{
    auto request = std::make_unique<Request>();
    if (!parseBytes(*request, lastRequest))
        return nullptr;
    return request;
}

QString CalderwickClient::errorText(ReplyCode code)
{
    switch (code) {
    case ReplyCode::GenericError:
        return QStringLiteral("Generic error: see logs from Android system.");
    case ReplyCode::NetworkError:
        return QStringLiteral("Network error: device unreachable.");
    case ReplyCode::SerializationError:
        return QStringLiteral("Serialization error: failed to serialize request.");
    case ReplyCode::InvalidRequest:
        return QStringLiteral("Invalid request: bad argument or bad format");
    default:
        return QStringLiteral("Unknown error. Result code: %1").arg(static_cast<int>(code));
    }
}

CalderwickClient::MessageKind CalderwickClient::takeMessage(QByteArray &buffer, QByteArray &message)
{
    google::protobuf::LogSilencer silencer;
    Reply reply;
    if (parseBytes(reply, buffer)) {
        message = buffer;
        buffer.remove(0, static_cast<int>(reply.ByteSizeLong()));
        return MessageKind::Reply;
    }
    Request request;
    if (parseBytes(request, buffer)) {
        message = buffer;
        buffer.remove(0, static_cast<int>(request.ByteSizeLong()));
        return MessageKind::Request;
    }
    return MessageKind::Incomplete;
}

void CalderwickClient::messageFromDevice()
{
    if (!socket)
        return;
    receiveBuffer.append(socket->readAll());

    QByteArray message;
    switch (takeMessage(receiveBuffer, message)) {
    case MessageKind::Reply:
        lastReply = message;
        garbageReported = false;
        emit replyFromDevice();
        return;
    case MessageKind::Request:
        lastRequest = message;
        garbageReported = false;
        emit requestFromDevice();
        return;
    case MessageKind::Incomplete:
        break;
    }
    if (!garbageReported) {
        garbageReported = true;
        qWarning() << "Cannot parse message from device";
    }
    // A peer that only sends what never parses must not make us hold its bytes forever.
    if (receiveBuffer.size() > MaxPendingBytes) {
        qWarning() << "[CalderwickClient][messageFromDevice] Dropping" << receiveBuffer.size()
                   << "bytes from device that form no message";
        receiveBuffer.clear();
    }
}

ReplyCode CalderwickClient::exchange(Request::Type type, Parameter::Type parameter, const QVariant &sent,
                                     QVariant &received)
{
    QByteArray replyBytes;
    const ReplyCode sendCode = sendRequest(buildRequest(type, parameter, sent), replyBytes, RequestTimeout);
    if (sendCode != ReplyCode::Ok)
        return sendCode;
    return parseReply(replyBytes, received);
}

ReplyCode CalderwickClient::ping(QString &answer)
{
    QVariant value;
    const ReplyCode code = exchange(Request::Ping, Parameter::None, QVariant(), value);
    if (code == ReplyCode::NetworkError)
        qCritical() << "Fail to send Ping to device";
    if (isSuccess(code))
        answer = value.toString();
    return code;
}

ReplyCode CalderwickClient::getParam(Parameter::Type parameter, QVariant &value)
{
    QVariant received;
    const ReplyCode code = exchange(Request::GetParam, parameter, QVariant(), received);
    if (code == ReplyCode::NetworkError)
        qCritical() << "Failed to send request";
    if (isSuccess(code))
        value = received;
    return code;
}

ReplyCode CalderwickClient::setParam(Parameter::Type parameter, const QVariant &value, QVariant *replyValue)
{
    QVariant received;
    const ReplyCode code = exchange(Request::SetParam, parameter, value, received);
    if (replyValue && isSuccess(code))
        *replyValue = received;
    return code;
}

ReplyCode CalderwickClient::getString(Parameter::Type parameter, QString &text)
{
    QVariant value;
    const ReplyCode code = getParam(parameter, value);
    if (isSuccess(code))
        text = value.toString();
    return code;
}

ReplyCode CalderwickClient::setWithDescription(Parameter::Type parameter, const QVariant &value,
                                               QString *description)
{
    QVariant received;
    const ReplyCode code = setParam(parameter, value, &received);
    if (description && isSuccess(code))
        *description = received.toString();
    return code;
}

ReplyCode CalderwickClient::getCapabilities(QString &capabilities)
{
    QString text;
    const ReplyCode code = getString(Parameter::Capabilities, text);
    if (!isSuccess(code)) {
        qCritical() << "Error getting capabilities";
        return code;
    }
    qDebug() << "Received capabilities:" << text;
    capabilities = text;
    return code;
}

ReplyCode CalderwickClient::getAndroidVersion(QString &version)
{
    return getString(Parameter::AndroidVersion, version);
}

ReplyCode CalderwickClient::getSystemVersion(QString &version)
{
    return getString(Parameter::CalderwickVersion, version);
}

ReplyCode CalderwickClient::getBatteryMode(bool &manual)
{
    QVariant value;
    const ReplyCode code = getParam(Parameter::BatteryMode, value);
    if (isSuccess(code))
        manual = value.toBool();
    return code;
}

ReplyCode CalderwickClient::setBatteryMode(bool manual, QString *description)
{
    return setWithDescription(Parameter::BatteryMode, manual, description);
}

ReplyCode CalderwickClient::getBatteryLevel(int &level)
{
    QVariant value;
    const ReplyCode code = getParam(Parameter::BatteryLevel, value);
    if (isSuccess(code))
        level = value.toInt();
    return code;
}

ReplyCode CalderwickClient::setBatteryLevel(int level, QString *description)
{
    return setWithDescription(Parameter::BatteryLevel, level, description);
}

ReplyCode CalderwickClient::getBatteryStatus(QString &status)
{
    return getString(Parameter::BatteryStatus, status);
}

ReplyCode CalderwickClient::setBatteryStatus(const QString &status, QString *description)
{
    return setWithDescription(Parameter::BatteryStatus, status, description);
}

ReplyCode CalderwickClient::getGpsStatus(bool &enabled)
{
    QVariant value;
    const ReplyCode code = getParam(Parameter::GpsStatus, value);
    if (isSuccess(code))
        enabled = value.toBool();
    return code;
}

ReplyCode CalderwickClient::setGpsStatus(bool enabled, QString *description)
{
    return setWithDescription(Parameter::GpsStatus, enabled, description);
}

ReplyCode CalderwickClient::getGpsValue(Parameter::Type parameter, double &value)
{
    QVariant received;
    const ReplyCode code = getParam(parameter, received);
    if (isSuccess(code))
        value = received.toDouble();
    return code;
}

ReplyCode CalderwickClient::setGpsValue(Parameter::Type parameter, double value, QString *description)
{
    return setWithDescription(parameter, value, description);
}

ReplyCode CalderwickClient::getDeviceId(QString &id)
{
    return getString(Parameter::DeviceId, id);
}

ReplyCode CalderwickClient::setDeviceId(const QString &id)
{
    return setParam(Parameter::DeviceId, id);
}

ReplyCode CalderwickClient::getAndroidId(QString &id)
{
    return getString(Parameter::AndroidId, id);
}

ReplyCode CalderwickClient::setAndroidId(const QString &id)
{
    return setParam(Parameter::AndroidId, id);
}

ReplyCode CalderwickClient::getNetworkValue(Parameter::Type parameter, QVariant &value)
{
    return getParam(parameter, value);
}

ReplyCode CalderwickClient::setNetworkValue(Parameter::Type parameter, const QVariant &value)
{
    return setParam(parameter, value);
}

ReplyCode CalderwickClient::setClipboard(const QString &text)
{
    return setParam(Parameter::Clipboard, text);
}

ReplyCode CalderwickClient::setAccelerometer(double x, double y, double z)
{
    const QString text = QStringLiteral("%1|%2|%3")
                             .arg(QString::number(x, 'g', 6), QString::number(y, 'g', 6),
                                  QString::number(z, 'g', 6));
    return setParam(Parameter::Accelerometer, text);
}

ReplyCode CalderwickClient::basebandCall(const QString &number, QVariant *replyValue)
{
    return basebandCommand(QStringLiteral("gsm call %1").arg(number), replyValue);
}

ReplyCode CalderwickClient::basebandSendSms(const QString &number, const QString &text, QVariant *replyValue)
{
    const QString encoded = QString::fromLatin1(text.toUtf8().toBase64());
    return basebandCommand(QStringLiteral("sms sendb64 %1 %2").arg(number, encoded), replyValue);
}

ReplyCode CalderwickClient::basebandCommand(const QString &line, QVariant *replyValue)
{
    QVariant received;
    const ReplyCode code = exchange(Request::SendCommand, Parameter::CaldBasebandCmd, line + QLatin1Char('\n'),
                                    received);
    if (replyValue && isSuccess(code))
        *replyValue = received;
    return code;
}
