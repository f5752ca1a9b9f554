#include "adbsyncstream.h"

#include "adbconnection.h"
#include "adbserver.h"
#include "devicefiles.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QtEndian>

#include <cerrno>
#include <cstring>
#include <sys/stat.h>

namespace {

QByteArray word(quint32 value)
{
    QByteArray bytes(4, Qt::Uninitialized);
    qToLittleEndian<quint32>(value, bytes.data());
    return bytes;
}

QByteArray word64(quint64 value)
{
    QByteArray bytes(8, Qt::Uninitialized);
    qToLittleEndian<quint64>(value, bytes.data());
    return bytes;
}

QByteArray message(const char *id, const QByteArray &payload)
{
    return QByteArray(id, 4) + word(static_cast<quint32>(payload.size())) + payload;
}

} // namespace

AdbSyncStream::AdbSyncStream(AdbConnection *connection, quint32 localId, quint32 remoteId)
    : AdbStream(connection, localId, remoteId)
{
}

quint32 AdbSyncStream::id(const char name[5])
{
    return qFromLittleEndian<quint32>(name);
}

AdbSyncStream::Result AdbSyncStream::takeRequest(const QByteArray &buffer, int &offset, Request &request,
                                                 QString &error)
{
    if (buffer.size() - offset < 8)
        return Result::NeedMore;
    const char *head = buffer.constData() + offset;
    request.id = qFromLittleEndian<quint32>(head);
    request.length = qFromLittleEndian<quint32>(head + 4);
    quint32 limit = MaxPath;
    if (request.id == id("DATA")) {
        limit = MaxData;
    } else if (request.id == id("DONE") || request.id == id("QUIT")) {
        request.payload.clear();
        offset += 8;
        return Result::Request;
    } else if (request.id != id("STAT") && request.id != id("STA2") && request.id != id("LST2")
               && request.id != id("LIST") && request.id != id("SEND") && request.id != id("RECV")) {
        error = QStringLiteral("unknown request %1").arg(QString::fromLatin1(QByteArray(head, 4).toHex()));
        return Result::Invalid;
    }
    if (request.length > limit) {
        error = QStringLiteral("%1 bytes after %2, more than %3")
                    .arg(request.length)
                    .arg(QString::fromLatin1(QByteArray(head, 4)))
                    .arg(limit);
        return Result::Invalid;
    }
    if (static_cast<quint32>(buffer.size() - offset - 8) < request.length)
        return Result::NeedMore;
    request.payload = buffer.mid(offset + 8, static_cast<int>(request.length));
    offset += 8 + static_cast<int>(request.length);
    return Result::Request;
}

AdbSyncStream::~AdbSyncStream()
{
    discardUpload();
}

bool AdbSyncStream::received(const QByteArray &data)
{
    if (stopped)
        return true;
    buffer += data;
    process();
    // Only requests sent ahead of a running RECV wait here; a host does not send megabytes so.
    if (buffer.size() > MaxPending)
        stop(QStringLiteral("%1 bytes of requests sent ahead").arg(buffer.size()));
    return true;
}

void AdbSyncStream::discardUpload()
{
    // A push that did not end with DONE leaves nothing behind, as on a device.
    if (uploading && upload.isOpen()) {
        upload.close();
        upload.remove();
    }
    uploading = false;
}

void AdbSyncStream::process()
{
    int offset = 0;
    while (!stopped && !download.isOpen()) {
        Request request;
        QString error;
        const Result result = takeRequest(buffer, offset, request, error);
        if (result == Result::NeedMore)
            break;
        if (result == Result::Invalid) {
            stop(error);
            break;
        }
        handle(request);
    }
    buffer.remove(0, offset);
}

void AdbSyncStream::handle(const Request &request)
{
    if (uploading) {
        if (request.id == id("DATA")) {
            if (uploadError.isEmpty() && upload.write(request.payload) != request.payload.size())
                uploadError = upload.errorString();
        } else if (request.id == id("DONE")) {
            endSend(request.length);
        } else {
            stop(QStringLiteral("request in the middle of a SEND"));
        }
        return;
    }
    if (request.id == id("STAT") || request.id == id("STA2") || request.id == id("LST2"))
        stat(request.id, request.payload);
    else if (request.id == id("LIST"))
        list(request.payload);
    else if (request.id == id("SEND"))
        beginSend(request.payload);
    else if (request.id == id("RECV"))
        beginReceive(request.payload);
    else if (request.id == id("QUIT"))
        stop(QString());
    else
        stop(QStringLiteral("DATA or DONE outside a SEND"));
}

void AdbSyncStream::stat(quint32 requestId, const QByteArray &path)
{
    const QString host = owner()->server()->files()->hostPath(path);
    struct stat info;
    std::memset(&info, 0, sizeof info);
    int error = EACCES;
    if (!host.isEmpty()) {
        const QByteArray name = QFile::encodeName(host);
        const bool follow = requestId == id("STA2");
        error = (follow ? ::stat(name.constData(), &info) : ::lstat(name.constData(), &info)) == 0 ? 0 : errno;
    }
    if (error != 0)
        std::memset(&info, 0, sizeof info);
    if (requestId == id("STAT")) {
        send(QByteArrayLiteral("STAT") + word(info.st_mode) + word(static_cast<quint32>(info.st_size))
             + word(static_cast<quint32>(info.st_mtime)));
        return;
    }
    send(word(requestId) + word(static_cast<quint32>(error)) + word64(info.st_dev) + word64(info.st_ino)
         + word(info.st_mode) + word(static_cast<quint32>(info.st_nlink)) + word(info.st_uid) + word(info.st_gid)
         + word64(static_cast<quint64>(info.st_size)) + word64(static_cast<quint64>(info.st_atime))
         + word64(static_cast<quint64>(info.st_mtime)) + word64(static_cast<quint64>(info.st_ctime)));
}

void AdbSyncStream::list(const QByteArray &path)
{
    const QString host = owner()->server()->files()->hostPath(path);
    QByteArray reply;
    const QStringList names = host.isEmpty() ? QStringList()
                                             : QDir(host).entryList(QDir::AllEntries | QDir::Hidden | QDir::System
                                                                    | QDir::NoDotAndDotDot);
    for (const QString &entry : names) {
        const QByteArray name = DeviceFiles::nameBytes(entry);
        struct stat info;
        if (::lstat(QFile::encodeName(host + QLatin1Char('/') + entry).constData(), &info) != 0)
            continue;
        reply += QByteArrayLiteral("DENT") + word(info.st_mode) + word(static_cast<quint32>(info.st_size))
                 + word(static_cast<quint32>(info.st_mtime)) + word(static_cast<quint32>(name.size())) + name;
    }
    send(reply + QByteArrayLiteral("DONE") + QByteArray(16, '\0'));
}

void AdbSyncStream::beginSend(const QByteArray &pathAndMode)
{
    const int comma = pathAndMode.lastIndexOf(',');
    const QByteArray path = comma < 0 ? pathAndMode : pathAndMode.left(comma);
    const QString host = owner()->server()->files()->hostPath(path);
    uploading = true;
    uploadError.clear();
    if (host.isEmpty()) {
        uploadError = QStringLiteral("%1: Permission denied").arg(QString::fromUtf8(path));
        return;
    }
    if (QFileInfo(host).isDir()) {
        uploadError = QStringLiteral("%1: Is a directory").arg(QString::fromUtf8(path));
        return;
    }
    QDir().mkpath(QFileInfo(host).absolutePath());
    upload.setFileName(host);
    // Unbuffered: DATA blocks are large enough, and what arrived is on disk at once.
    if (!upload.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered))
        uploadError = QStringLiteral("%1: %2").arg(QString::fromUtf8(path), upload.errorString());
}

void AdbSyncStream::endSend(quint32 modifiedTime)
{
    uploading = false;
    if (upload.isOpen()) {
        upload.close();
        if (uploadError.isEmpty())
            QFile(upload.fileName()).setFileTime(QDateTime::fromSecsSinceEpoch(modifiedTime), QFileDevice::FileModificationTime);
    }
    if (!uploadError.isEmpty()) {
        fail(uploadError);
        return;
    }
    send(QByteArrayLiteral("OKAY") + word(0));
}

void AdbSyncStream::beginReceive(const QByteArray &path)
{
    const QString host = owner()->server()->files()->hostPath(path);
    download.setFileName(host);
    if (host.isEmpty() || QFileInfo(host).isDir() || !download.open(QIODevice::ReadOnly)) {
        fail(QStringLiteral("No such file or directory"));
        return;
    }
    if (isIdle())
        sendChunk();
}

void AdbSyncStream::sendChunk()
{
    const QByteArray chunk = download.read(MaxData);
    if (!chunk.isEmpty()) {
        send(message("DATA", chunk));
        return;
    }
    download.close();
    send(QByteArrayLiteral("DONE") + word(0));
    // Requests that came during the transfer wait in the buffer; not from inside process().
    QMetaObject::invokeMethod(this, [this] { process(); }, Qt::QueuedConnection);
}

void AdbSyncStream::drained()
{
    if (download.isOpen())
        sendChunk();
}

void AdbSyncStream::fail(const QString &text)
{
    send(message("FAIL", text.toUtf8()));
}

void AdbSyncStream::stop(const QString &reason)
{
    if (!reason.isEmpty())
        qWarning().noquote() << "[AdbSyncStream] closing the sync service:" << reason;
    stopped = true;
    buffer.clear();
    discardUpload();
    download.close();
    finish();
}
