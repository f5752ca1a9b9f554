#include "requestserver.h"

#include "devicestate.h"
#include "modemcommand.h"

#include <QPointer>
#include <QTcpSocket>
#include <QTimer>

using Calderwick::Parameter;
using Calderwick::Reply;
using Calderwick::Request;
using Calderwick::Status;
using Calderwick::Value;

namespace {

const int SplitPause = 50;

bool readVarint(const QByteArray &buffer, int &pos, quint64 &value, bool &invalid)
{
    value = 0;
    for (int shift = 0; shift < 70; shift += 7) {
        if (pos >= buffer.size())
            return false;
        const quint8 byte = static_cast<quint8>(buffer.at(pos++));
        value |= quint64(byte & 0x7f) << shift;
        if (!(byte & 0x80))
            return true;
    }
    invalid = true;
    return false;
}

QString requestTypeName(int type)
{
    static const char *const names[] = {"None",         "Ping",     "GetParam",   "SetParam",
                                        "CheckArchive", "FlashArchive", "PushData", "SendCommand"};
    return type >= 0 && type < 8 ? QString::fromLatin1(names[type]) : QString::number(type);
}

QString replyTypeName(int type)
{
    static const char *const names[] = {"None", "Error", "Pong", "Value"};
    return type >= 0 && type < 4 ? QString::fromLatin1(names[type]) : QString::number(type);
}

QString statusName(int code)
{
    static const char *const names[] = {"Ok", "GenericError", "InvalidRequest", "OkWithInformation",
                                        "NotImplemented"};
    return code >= 0 && code < 5 ? QString::fromLatin1(names[code]) : QString::number(code);
}

QJsonObject describeValue(const Value &value)
{
    static const char *const types[] = {"", "Bool", "Int", "Float", "String", "Bytes", "Double"};
    QJsonObject json;
    json[QStringLiteral("type")] = value.type() >= 1 && value.type() <= 6 ? QString::fromLatin1(types[value.type()])
                                                                         : QString::number(value.type());
    if (value.has_boolvalue())
        json[QStringLiteral("boolValue")] = value.boolvalue();
    if (value.has_intvalue())
        json[QStringLiteral("intValue")] = value.intvalue();
    if (value.has_floatvalue())
        json[QStringLiteral("floatValue")] = static_cast<double>(value.floatvalue());
    if (value.has_stringvalue())
        json[QStringLiteral("stringValue")] = QString::fromStdString(value.stringvalue());
    if (value.has_bytesvalue())
        json[QStringLiteral("bytesValue")] =
            QString::fromLatin1(QByteArray::fromStdString(value.bytesvalue()).toHex());
    if (value.has_doublevalue())
        json[QStringLiteral("doubleValue")] = value.doublevalue();
    return json;
}

void setStatus(Reply &reply, Reply::Type type, Status::Code code, const QString &description = QString())
{
    reply.set_type(type);
    reply.mutable_status()->set_code(code);
    if (!description.isEmpty())
        reply.mutable_status()->set_description(description.toStdString());
}

// The device answers a value the way the player writes one.
void fillValue(Value *value, DeviceState::Kind kind, const QVariant &variant)
{
    switch (kind) {
    case DeviceState::Kind::Bool:
        value->set_type(Value::Bool);
        value->set_boolvalue(variant.toBool());
        break;
    case DeviceState::Kind::Int:
        value->set_type(Value::Int);
        value->set_intvalue(variant.toInt());
        break;
    case DeviceState::Kind::Float:
        value->set_type(Value::Float);
        value->set_floatvalue(static_cast<float>(variant.toDouble()));
        value->set_doublevalue(variant.toDouble());
        break;
    case DeviceState::Kind::String:
    case DeviceState::Kind::Invalid:
        value->set_type(Value::String);
        value->set_stringvalue(variant.toString().toStdString());
        break;
    }
}

// The value carried by a SetParam, if it has the parameter's kind.
bool readValue(const Value &value, DeviceState::Kind kind, QVariant &variant)
{
    switch (kind) {
    case DeviceState::Kind::Bool:
        variant = value.boolvalue();
        return value.type() == Value::Bool && value.has_boolvalue();
    case DeviceState::Kind::Int:
        variant = value.intvalue();
        return value.type() == Value::Int && value.has_intvalue();
    case DeviceState::Kind::Float:
        if (value.type() == Value::Float && value.has_floatvalue()) {
            variant = value.has_doublevalue() ? value.doublevalue() : double(value.floatvalue());
            return true;
        }
        variant = value.doublevalue();
        return value.type() == Value::Double && value.has_doublevalue();
    case DeviceState::Kind::String:
        variant = QString::fromStdString(value.stringvalue());
        return value.type() == Value::String && value.has_stringvalue();
    case DeviceState::Kind::Invalid:
        return false;
    }
    return false;
}

} // namespace

RequestServer::RequestServer(const QHostAddress &address, DeviceState *state, Journal *journal, QObject *parent)
    : ChannelServer(QStringLiteral("request"), address, Port, journal, parent)
    , state(state)
{
}

RequestServer::Split RequestServer::splitMessages(const QByteArray &buffer)
{
    Split split;
    int pos = 0;
    quint64 lastField = 0;
    while (pos < buffer.size()) {
        const int fieldStart = pos;
        quint64 tag = 0;
        if (!readVarint(buffer, pos, tag, split.invalid))
            return split;
        const quint64 field = tag >> 3;
        const int wire = int(tag & 7);
        if (field == 0 || field > 0x1fffffff || (wire != 0 && wire != 1 && wire != 2 && wire != 5)) {
            split.invalid = true;
            return split;
        }
        if (field <= lastField)
            split.ends << fieldStart;
        lastField = field;
        quint64 skip = 0;
        if (wire == 0) {
            if (!readVarint(buffer, pos, skip, split.invalid))
                return split;
            skip = 0;
        } else if (wire == 1) {
            skip = 8;
        } else if (wire == 5) {
            skip = 4;
        } else if (!readVarint(buffer, pos, skip, split.invalid)) {
            return split;
        }
        if (skip > quint64(MaxPendingBytes)) {
            split.invalid = true;
            return split;
        }
        if (pos + int(skip) > buffer.size())
            return split;
        pos += int(skip);
    }
    split.tailComplete = true;
    return split;
}

void RequestServer::peerData(QTcpSocket *peer)
{
    QByteArray &buffer = buffers[peer];
    buffer += peer->readAll();
    const Split split = splitMessages(buffer);
    int start = 0;
    for (int end : split.ends) {
        handle(peer, buffer.mid(start, end - start));
        start = end;
    }
    if (split.invalid) {
        journal({{QStringLiteral("peer"), peerId(peer)},
                 {QStringLiteral("rejected"), QString::fromLatin1(buffer.mid(start, 256).toHex(' '))},
                 {QStringLiteral("reason"), QStringLiteral("%1 bytes that are no message").arg(buffer.size() - start)}});
        buffer.clear();
        return;
    }
    buffer.remove(0, start);
    if (split.tailComplete && !buffer.isEmpty()) {
        // Whole fields only: a message if its required fields are all there.
        Request probe;
        if (probe.ParseFromArray(buffer.constData(), buffer.size())) {
            handle(peer, buffer);
            buffer.clear();
        }
    }
    if (buffer.size() > MaxPendingBytes) {
        journal({{QStringLiteral("peer"), peerId(peer)},
                 {QStringLiteral("rejected"), QString::fromLatin1(buffer.left(256).toHex(' '))},
                 {QStringLiteral("reason"), QStringLiteral("%1 bytes without a whole request").arg(buffer.size())}});
        buffer.clear();
    }
}

void RequestServer::peerGone(QTcpSocket *peer)
{
    buffers.remove(peer);
}

void RequestServer::handle(QTcpSocket *peer, const QByteArray &bytes)
{
    Request request;
    if (!request.ParseFromArray(bytes.constData(), bytes.size())) {
        journal({{QStringLiteral("peer"), peerId(peer)},
                 {QStringLiteral("rejected"), QString::fromLatin1(bytes.toHex(' '))},
                 {QStringLiteral("reason"), QStringLiteral("not a Request")}});
        return;
    }
    QJsonObject entry = describe(request);
    entry[QStringLiteral("peer")] = peerId(peer);
    entry[QStringLiteral("bytes")] = QString::fromLatin1(bytes.toHex(' '));
    journal(entry);

    Reply reply;
    if (queuedStatuses.isEmpty()) {
        reply = answer(request);
    } else {
        const Status status = queuedStatuses.takeFirst();
        const bool notice = status.code() == Status::Ok || status.code() == Status::OkWithInformation;
        // A refused operation leaves the device as it was; an accepted one still takes effect.
        if (notice)
            answer(request);
        reply.set_type(notice ? Reply::None : Reply::Error);
        *reply.mutable_status() = status;
    }
    if (silent) {
        journal({{QStringLiteral("peer"), peerId(peer)}, {QStringLiteral("event"), QStringLiteral("reply-withheld")}});
        return;
    }
    const QByteArray replyBytes = QByteArray::fromStdString(reply.SerializeAsString());
    QJsonObject sent = describe(reply);
    sent[QStringLiteral("peer")] = peerId(peer);
    sent[QStringLiteral("sent")] = QString::fromLatin1(replyBytes.toHex(' '));
    if (replyDelay <= 0) {
        journal(sent);
        send(peer, replyBytes);
        return;
    }
    QPointer<QTcpSocket> target(peer);
    QTimer::singleShot(replyDelay, this, [this, target, replyBytes, sent] {
        if (!target)
            return;
        journal(sent);
        send(target, replyBytes);
    });
}

void RequestServer::send(QTcpSocket *peer, const QByteArray &bytes)
{
    if (splitAt <= 0 || splitAt >= bytes.size()) {
        peer->write(bytes);
        return;
    }
    peer->write(bytes.left(splitAt));
    peer->flush();
    QPointer<QTcpSocket> target(peer);
    const QByteArray rest = bytes.mid(splitAt);
    QTimer::singleShot(SplitPause, this, [target, rest] {
        if (target)
            target->write(rest);
    });
}

Reply RequestServer::answer(const Request &request)
{
    Reply reply;
    const Parameter::Type parameter = request.parameter().type();
    const DeviceState::Kind kind = DeviceState::kind(parameter);
    switch (request.type()) {
    case Request::Ping:
        setStatus(reply, Reply::Pong, Status::Ok);
        return reply;
    case Request::GetParam: {
        if (!request.has_parameter() || (kind == DeviceState::Kind::Invalid && parameter != Parameter::Capabilities)) {
            setStatus(reply, Reply::Error, Status::InvalidRequest,
                      QStringLiteral("no value to get for parameter %1").arg(parameter));
            return reply;
        }
        if (parameter == Parameter::Capabilities && capabilityFailures > 0) {
            --capabilityFailures;
            setStatus(reply, Reply::Error, Status::GenericError, QStringLiteral("capabilities not ready"));
            return reply;
        }
        setStatus(reply, Reply::Value, Status::Ok);
        fillValue(reply.mutable_value(), kind, state->value(parameter));
        return reply;
    }
    case Request::SetParam: {
        QVariant value;
        QString reason;
        if (!request.has_parameter() || !request.parameter().has_value()) {
            reason = QStringLiteral("SetParam without a value");
        } else if (DeviceState::isReadOnly(parameter)) {
            reason = QStringLiteral("%1 is read-only").arg(DeviceState::parameterName(parameter));
        } else if (!readValue(request.parameter().value(), kind, value)) {
            reason = QStringLiteral("wrong value type for %1").arg(DeviceState::parameterName(parameter));
        } else if (state->setValue(parameter, value, &reason)) {
            setStatus(reply, Reply::None, Status::Ok);
            return reply;
        }
        setStatus(reply, Reply::Error, Status::InvalidRequest, reason);
        return reply;
    }
    case Request::SendCommand: {
        const Value &value = request.parameter().value();
        const QString command = QString::fromStdString(value.stringvalue());
        if (parameter != Parameter::CaldBasebandCmd || value.type() != Value::String || !value.has_stringvalue()
            || !command.endsWith(QLatin1Char('\n'))) {
            setStatus(reply, Reply::Error, Status::InvalidRequest,
                      QStringLiteral("a command is a CaldBasebandCmd line ending in a line feed"));
            return reply;
        }
        const QString line = command.chopped(1);
        const ModemCommand modem = ModemCommand::parse(line);
        if (modem.kind() == ModemCommand::Kind::Invalid) {
            setStatus(reply, Reply::Error, Status::InvalidRequest, modem.reason());
            return reply;
        }
        state->receiveModemCommand(line, modem);
        if (modem.kind() == ModemCommand::Kind::Call)
            journal({{QStringLiteral("modem"), QStringLiteral("call")}, {QStringLiteral("number"), modem.number()}});
        else
            journal({{QStringLiteral("modem"), QStringLiteral("sms")}, {QStringLiteral("number"), modem.number()},
                     {QStringLiteral("text"), modem.text()}});
        setStatus(reply, Reply::None, Status::Ok);
        return reply;
    }
    case Request::CheckArchive:
    case Request::FlashArchive:
        setStatus(reply, Reply::Error, Status::NotImplemented, QStringLiteral("archives go through adb"));
        return reply;
    default:
        setStatus(reply, Reply::Error, Status::InvalidRequest,
                  QStringLiteral("%1 is not a request a device answers").arg(requestTypeName(request.type())));
        return reply;
    }
}

void RequestServer::queueReplyStatus(Status::Code code, const QString &description)
{
    Status status;
    status.set_code(code);
    if (!description.isEmpty())
        status.set_description(description.toStdString());
    queuedStatuses << status;
}

bool RequestServer::push(Parameter::Type parameter, const Value &value)
{
    QTcpSocket *peer = latestPeer();
    Request request;
    request.set_type(Request::PushData);
    request.mutable_parameter()->set_type(parameter);
    *request.mutable_parameter()->mutable_value() = value;
    QJsonObject entry = describe(request);
    const QByteArray bytes = QByteArray::fromStdString(request.SerializeAsString());
    entry[QStringLiteral("sent")] = QString::fromLatin1(bytes.toHex(' '));
    if (!peer) {
        entry[QStringLiteral("event")] = QStringLiteral("push-without-connection");
        journal(entry);
        return false;
    }
    entry[QStringLiteral("peer")] = peerId(peer);
    journal(entry);
    peer->write(bytes);
    return true;
}

bool RequestServer::pushClipboard(const QString &text)
{
    Value value;
    value.set_type(Value::String);
    value.set_stringvalue(text.toStdString());
    state->setValue(Parameter::Clipboard, text);
    return push(Parameter::Clipboard, value);
}

bool RequestServer::pushApiStatistics(int calls)
{
    Value value;
    value.set_type(Value::Int);
    value.set_intvalue(calls);
    return push(Parameter::ApiStatistics, value);
}

bool RequestServer::sendGarbage(int bytes)
{
    QTcpSocket *peer = latestPeer();
    if (!peer || bytes <= 0)
        return false;
    journal({{QStringLiteral("peer"), peerId(peer)}, {QStringLiteral("event"), QStringLiteral("garbage")},
             {QStringLiteral("size"), bytes}});
    peer->write(QByteArray(bytes, '\xff'));
    return true;
}

QJsonObject RequestServer::describe(const Request &request)
{
    QJsonObject json;
    json[QStringLiteral("request")] = requestTypeName(request.type());
    if (request.has_parameter()) {
        json[QStringLiteral("parameter")] = DeviceState::parameterName(request.parameter().type());
        if (request.parameter().has_value())
            json[QStringLiteral("value")] = describeValue(request.parameter().value());
    }
    return json;
}

QJsonObject RequestServer::describe(const Reply &reply)
{
    QJsonObject json;
    json[QStringLiteral("reply")] = replyTypeName(reply.type());
    json[QStringLiteral("status")] = statusName(reply.status().code());
    if (reply.status().has_description())
        json[QStringLiteral("description")] = QString::fromStdString(reply.status().description());
    if (reply.has_value())
        json[QStringLiteral("value")] = describeValue(reply.value());
    return json;
}
