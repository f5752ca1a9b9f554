#include "replylimit.h"

#include <QDebug>
#include <QNetworkReply>
#include <QNetworkRequest>

namespace ReplyLimit {

void cap(QNetworkReply *reply, const char *tag, qint64 maxBytes)
{
    // A backstop only: the network layer stops reading ahead once this much waits unread,
    // which the check below never lets happen.
    reply->setReadBufferSize(2 * maxBytes);
    const auto check = [reply, tag, maxBytes](qint64 bytes) {
        if (bytes <= maxBytes || !reply->isOpen())
            return;
        qWarning().noquote() << tag << "Reply body over" << maxBytes << "bytes, aborted:" << reply->url().toString();
        reply->abort();
    };
    QObject::connect(reply, &QNetworkReply::metaDataChanged, reply,
                     [reply, check] { check(reply->header(QNetworkRequest::ContentLengthHeader).toLongLong()); });
    // readyRead, not downloadProgress: progress is reported at most every 100 ms, and a fast
    // peer delivers far more than the cap in that time.
    QObject::connect(reply, &QNetworkReply::readyRead, reply, [reply, check] { check(reply->bytesAvailable()); });
}

} // namespace ReplyLimit
