#pragma once

#include "adbstream.h"

#include <QFile>

// The "sync:" service: STAT, STA2, LST2, LIST, SEND (DATA... DONE), RECV and QUIT on the
// device's files. Data is written as it comes and read as the host takes it, so memory
// stays flat whatever the file's size.
class AdbSyncStream : public AdbStream
{
    Q_OBJECT

public:
    static constexpr int MaxPath = 1024;
    static constexpr int MaxData = 64 * 1024;
    static constexpr int MaxPending = 1024 * 1024;

    struct Request
    {
        quint32 id = 0;
        quint32 length = 0; // the number after the id: payload size, or the time of DONE
        QByteArray payload;
    };
    enum class Result { Request, NeedMore, Invalid };

    AdbSyncStream(AdbConnection *connection, quint32 localId, quint32 remoteId);
    ~AdbSyncStream() override;

    // Reads one request at offset of buffer and moves offset past it. Invalid, with the
    // reason, for an unknown id or a path or data block longer than the limits.
    static Result takeRequest(const QByteArray &buffer, int &offset, Request &request, QString &error);
    static quint32 id(const char name[5]);

    bool received(const QByteArray &data) override;

protected:
    void drained() override;

private:
    void process();
    void handle(const Request &request);
    void stat(quint32 id, const QByteArray &path);
    void list(const QByteArray &path);
    void beginSend(const QByteArray &pathAndMode);
    void endSend(quint32 modifiedTime);
    void beginReceive(const QByteArray &path);
    void sendChunk();
    void discardUpload();
    void fail(const QString &message);
    void stop(const QString &reason);

    QByteArray buffer;
    QFile upload;
    QString uploadError;
    bool uploading = false;
    QFile download;
    bool stopped = false;
};
