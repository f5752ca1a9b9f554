#include "eventserver.h"

#include "devicestate.h"

#include <QJsonObject>
#include <QPoint>
#include <QTcpSocket>

namespace {

struct Grammar
{
    const char *keyword;
    int fieldCount; // -1: "MULTI", counted by its second field
};

const Grammar Keywords[] = {
    {"CONFIG", 2}, {"MOUSE", 2}, {"MSBPR", 2}, {"MSBRL", 2}, {"MSMTPR", 4}, {"MSMTRL", 2},
    {"WHEEL", 4},  {"KBDPR", 2}, {"KBDRL", 2}, {"MULTI", -1},
};

// Decimal integer with an optional leading minus: what the player writes.
bool parseField(const QByteArray &text, int &value)
{
    if (text.isEmpty() || text.size() > 11)
        return false;
    for (int i = 0; i < text.size(); ++i) {
        const char c = text.at(i);
        if (!(c >= '0' && c <= '9') && !(i == 0 && c == '-' && text.size() > 1))
            return false;
    }
    bool ok = false;
    value = text.toInt(&ok);
    return ok;
}

} // namespace

EventServer::EventServer(const QHostAddress &address, DeviceState *state, Journal *journal, QObject *parent)
    : ChannelServer(QStringLiteral("event"), address, Port, journal, parent)
    , state(state)
{
}

bool EventServer::parseLine(const QByteArray &text, Line &line, QString &reason)
{
    const QList<QByteArray> parts = text.split(':');
    const Grammar *grammar = nullptr;
    for (const Grammar &candidate : Keywords) {
        if (parts.first() == candidate.keyword)
            grammar = &candidate;
    }
    if (!grammar) {
        reason = QStringLiteral("unknown keyword");
        return false;
    }
    line.keyword = parts.first();
    line.fields.clear();
    for (int i = 1; i < parts.size(); ++i) {
        int value = 0;
        if (!parseField(parts.at(i), value)) {
            reason = QStringLiteral("field %1 is not a decimal integer").arg(i);
            return false;
        }
        line.fields << value;
    }
    int expected = grammar->fieldCount;
    if (expected < 0)
        expected = line.fields.size() >= 2 && line.fields.at(1) >= 0 ? 2 + 2 * line.fields.at(1) : -1;
    if (line.fields.size() != expected) {
        reason = QStringLiteral("%1 fields where %2 takes %3")
                     .arg(line.fields.size())
                     .arg(QString::fromLatin1(line.keyword))
                     .arg(expected < 0 ? QStringLiteral("a count") : QString::number(expected));
        return false;
    }
    if ((line.keyword == "KBDPR" || line.keyword == "KBDRL") && line.fields.at(1) != 0) {
        reason = QStringLiteral("the last field of a key line is 0");
        return false;
    }
    if (line.keyword == "KBDRL" && line.fields.at(0) < 0) {
        reason = QStringLiteral("a released key code is never negative");
        return false;
    }
    if (line.keyword == "WHEEL" && (qAbs(line.fields.at(2)) != 1 || line.fields.at(3) != 0)) {
        reason = QStringLiteral("a wheel line takes direction 1 or -1 and a last field 0");
        return false;
    }
    if (line.keyword == "MSMTPR") {
        const int rotation = line.fields.at(2);
        const int mode = line.fields.at(3);
        if (rotation % 90 != 0 || rotation < 0 || rotation > 270 || (mode != 1 && mode != 2)) {
            reason = QStringLiteral("rotation 0, 90, 180 or 270 and mode 1 or 2 expected");
            return false;
        }
    }
    if (line.keyword == "CONFIG" && (line.fields.at(0) <= 0 || line.fields.at(1) <= 0)) {
        reason = QStringLiteral("a display size is positive");
        return false;
    }
    return true;
}

void EventServer::peerData(QTcpSocket *peer)
{
    QByteArray &buffer = buffers[peer];
    buffer += peer->readAll();
    int start = 0;
    for (int end = buffer.indexOf('\n'); end >= 0; end = buffer.indexOf('\n', start)) {
        const QByteArray text = buffer.mid(start, end - start);
        start = end + 1;
        Line line;
        QString reason;
        if (parseLine(text, line, reason)) {
            journal({{QStringLiteral("peer"), peerId(peer)}, {QStringLiteral("line"), QString::fromLatin1(text)}});
            apply(line);
        } else {
            journal({{QStringLiteral("peer"), peerId(peer)},
                     {QStringLiteral("rejected"), QString::fromLatin1(text.toPercentEncoding(" :-"))},
                     {QStringLiteral("reason"), reason}});
        }
    }
    buffer.remove(0, start);
    if (buffer.size() > MaxLineLength) {
        journal({{QStringLiteral("peer"), peerId(peer)},
                 {QStringLiteral("rejected"), QString::fromLatin1(buffer.left(64).toPercentEncoding(" :-"))},
                 {QStringLiteral("reason"), QStringLiteral("%1 bytes without a line feed").arg(buffer.size())}});
        buffer.clear();
    }
}

void EventServer::peerGone(QTcpSocket *peer)
{
    buffers.remove(peer);
}

void EventServer::apply(const Line &line)
{
    const QList<int> &f = line.fields;
    const QByteArray &k = line.keyword;
    if (k == "CONFIG")
        state->setConfiguredSize(QSize(f[0], f[1]));
    else if (k == "MSBPR")
        state->pressPrimary(QPoint(f[0], f[1]));
    else if (k == "MOUSE")
        state->movePointer(QPoint(f[0], f[1]));
    else if (k == "MSBRL")
        state->releasePrimary(QPoint(f[0], f[1]));
    else if (k == "MSMTPR")
        state->pressMultiTouch(QPoint(f[0], f[1]));
    else if (k == "MSMTRL")
        state->releaseMultiTouch(QPoint(f[0], f[1]));
    else if (k == "WHEEL")
        state->scrollWheel(QPoint(f[0], f[1]), f[2]);
    else if (k == "KBDPR")
        state->pressKey(f[0]);
    else if (k == "KBDRL")
        state->releaseKey(f[0]);
}
