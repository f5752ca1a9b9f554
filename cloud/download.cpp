#include "download.h"

#include "connector.h"
#include "replylimit.h"
#include "scriptjson.h"

#include <QDebug>
#include <QFileInfo>
#include <QNetworkAccessManager>
#include <QNetworkRequest>

namespace {
const qint64 ReadBufferSize = 2 * 1024 * 1024;

bool isRedirect(int status)
{
    return status == 301 || status == 302 || status == 307;
}
}

Download::Download(const QString &destinationPath, const QUrl &url, const QString &downloadId,
                   QNetworkAccessManager *networkAccessManager)
    : QObject(networkAccessManager), m_networkAccessManager(networkAccessManager), m_downloadId(downloadId),
      m_file(destinationPath), m_url(url)
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &Download::handleTimeout);
}

void Download::start()
{
    m_reply = m_networkAccessManager->get(QNetworkRequest(m_url));
    if (!m_reply) {
        emit error(7, QString());
        return;
    }
    // The cloud's answer is read whole; the file itself, later, goes straight to disk.
    ReplyLimit::cap(m_reply, "[Download]");
    connect(m_reply, &QNetworkReply::finished, this, &Download::headerReceived);
}

void Download::headerReceived()
{
    QNetworkReply *reply = takeHeaderReply();
    if (!reply)
        return;
    const QString fileName = m_file.fileName();
    if (certificateRefused(reply))
        return;

    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (status != 200) {
        qCritical().noquote() << "Error while downloading" << fileName << ": HTTP error";
        emit error(3, QString::number(status));
        return;
    }
    QVariant value;
    if (!ScriptJson::evaluate(ScriptJson::replyText(reply->readAll()), value)) {
        qDebug().noquote() << "Error while downloading" << fileName << ": invalid JSON";
        emit error(4, QString());
        return;
    }
    const QVariantList list = value.toList();
    if (list.size() != 1) {
        qDebug().noquote() << "Error while downloading" << fileName << ": must be a 1 element JSON array";
        emit error(5, QString());
        return;
    }
    const QVariantMap element = list.first().toMap();
    if (!element.contains(QStringLiteral("url")) || !element.contains(QStringLiteral("size"))) {
        qDebug().noquote() << "Error while downloading" << fileName << ": invalid JSON data";
        emit error(6, QString());
        return;
    }
    m_url = QUrl(element.value(QStringLiteral("url")).toString());
    // The size may come as a string or as a script number; either is read as decimal text.
    const QVariant size = element.value(QStringLiteral("size"));
    const QString sizeText = size.userType() == QMetaType::Double && size.toDouble() == qint64(size.toDouble())
                                 ? QString::number(qint64(size.toDouble()))
                                 : size.toString();
    bool ok = false;
    m_remoteSize = sizeText.toLongLong(&ok, 10);
    if (!ok || m_remoteSize < 0) {
        qDebug() << "Error while getting file size: invalid JSON data";
        emit error(6, QString());
        return;
    }
    requestHead();
}

QNetworkReply *Download::takeHeaderReply()
{
    m_timer.stop();
    if (!m_reply) {
        qCritical() << "Reply object is NULL. Ignoring headers";
        return nullptr;
    }
    QNetworkReply *reply = m_reply;
    m_reply = nullptr;
    reply->deleteLater();
    return reply;
}

void Download::requestHead()
{
    m_reply = m_networkAccessManager->head(QNetworkRequest(m_url));
    if (!m_reply) {
        emit error(7, QString());
        return;
    }
    qDebug() << "Start timer";
    m_timer.start(m_timeoutMs);
    connect(m_reply, &QNetworkReply::finished, this, &Download::cdnHeadersReceived);
}

void Download::cdnHeadersReceived()
{
    QNetworkReply *reply = takeHeaderReply();
    if (!reply || certificateRefused(reply))
        return;

    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (isRedirect(status)) {
        const QUrl target = m_url.resolved(reply->attribute(QNetworkRequest::RedirectionTargetAttribute).toUrl());
        if (!target.isEmpty() && target != m_url && !m_visitedUrls.contains(target)) {
            qDebug().noquote() << "[Download]" << "Follow redirection: " + target.toString();
            m_visitedUrls.append(target);
            m_url = target;
            requestHead();
            return;
        }
    }
    if (status != 200) {
        qCritical() << "cdn headers have been received with HTTP status different from 200:" << status;
        emit error(3, QString::number(status));
        return;
    }

    const bool resumable = QString::fromLatin1(reply->rawHeader("Accept-Ranges")).trimmed() == QLatin1String("bytes");
    QIODevice::OpenMode mode = QIODevice::WriteOnly | QIODevice::Unbuffered;
    if (resumable) {
        qDebug() << "Resume download mode: available";
        mode |= QIODevice::Append;
    } else {
        qDebug() << "Resume download mode: not available";
        mode |= QIODevice::Truncate;
    }

    m_localSize = QFileInfo(m_file.fileName()).size();
    qDebug() << "Remote file size:" << m_remoteSize << ",current local file size:" << m_localSize;
    if (m_localSize == m_remoteSize) {
        emit finished();
        return;
    }
    qDebug() << "writting to local file with mode" << int(mode);
    if (!m_file.open(mode)) {
        qCritical().noquote() << "Error while downloading" << m_file.fileName() << ":" << m_file.errorString();
        emit error(1, m_file.errorString());
        return;
    }
    if (resumable && m_localSize <= m_remoteSize) {
        transfer(m_localSize);
    } else {
        m_localSize = 0;
        transfer(0);
    }
}

void Download::transfer(qint64 start)
{
    qDebug().noquote() << "Downloading file " + m_url.toString();
    QNetworkRequest request(m_url);
    request.setRawHeader("Range", "bytes=" + QByteArray::number(start) + '-');
    request.setRawHeader("Referer", (Connector::cloudRootUrl().toString() + QLatin1Char('/')).toUtf8());
    m_reply = m_networkAccessManager->get(request);
    if (!m_reply) {
        m_file.close();
        emit error(7, QString());
        return;
    }
    // Back-pressure: the network thread stops reading while this much waits unread, so the
    // memory held does not grow with the file.
    m_reply->setReadBufferSize(ReadBufferSize);
    m_timer.start(m_timeoutMs);
    connect(m_reply, &QNetworkReply::downloadProgress, this, &Download::hasProgressed);
    connect(m_reply, &QNetworkReply::readyRead, this, &Download::dataReceived);
    connect(m_reply, &QNetworkReply::finished, this, &Download::fileDownloadFinished);
    connect(m_reply, &QNetworkReply::errorOccurred, this, &Download::onNetworkError);
}

void Download::hasProgressed(qlonglong received, qlonglong total)
{
    // The timer measures silence, not the length of the whole transfer.
    m_timer.start(m_timeoutMs);
    emit progress(received + m_localSize, total + m_localSize);
}

void Download::dataReceived()
{
    if (!m_reply) {
        qCritical() << "Reply object is NULL. Ignoring received data";
        return;
    }
    const int status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (status != 200 && status != 206)
        qCritical() << "data have been received with HTTP status different from 200 and 206:" << status;
    // Only what this readyRead brought is held in memory.
    const QByteArray data = m_reply->readAll();
    if (m_file.write(data) != data.size())
        qCritical().noquote() << "Error while downloading" << m_file.fileName() << ":" << m_file.errorString();
}

void Download::fileDownloadFinished()
{
    qDebug() << "finished received";
    m_timer.stop();
    if (m_reply && m_reply->bytesAvailable() > 0)
        dataReceived();
    m_file.close();
    if (!m_reply) {
        qCritical() << "Reply object is NULL. Ignoring fileDownladFinished";
        return;
    }
    const int status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const QString errorString = m_reply->errorString();
    releaseReply();
    if (status != 200 && status != 206) {
        qCritical() << "data have been received with HTTP status different from 200 and 206:" << status;
        emit error(1, errorString);
        return;
    }
    emit finished();
}

void Download::onNetworkError(QNetworkReply::NetworkError errorCode)
{
    if (errorCode == QNetworkReply::RemoteHostClosedError || errorCode == QNetworkReply::TimeoutError) {
        handleTimeout();
        return;
    }
    if (errorCode == QNetworkReply::SslHandshakeFailedError && m_reply) {
        QNetworkReply *reply = m_reply;
        m_file.close();
        certificateRefused(reply);
        releaseReply();
        return;
    }
    qCritical() << "We have got a QNetworkReplyError " << int(errorCode);
    stop();
}

bool Download::certificateRefused(QNetworkReply *reply)
{
    if (reply->error() != QNetworkReply::SslHandshakeFailedError)
        return false;
    // Told apart from other network failures: the user must know the server was not trusted.
    qCritical().noquote() << "[Download]" << "Certificate refused for" << m_url.host() << ":" << reply->errorString();
    emit error(8, reply->errorString());
    return true;
}

void Download::handleTimeout()
{
    qCritical() << "Connection Timeout";
    if (m_reply && m_reply->bytesAvailable() > 0)
        dataReceived();
    releaseReply();
    // Everything written so far stays, for the next Download to resume from.
    m_file.close();
    emit error(2, QString());
}

void Download::stop()
{
    if (!m_reply) {
        qCritical() << "Reply object is NULL. Ignoring fileDownladFinished";
        return;
    }
    if (!m_reply->isFinished()) {
        qDebug() << "Stopping current download";
        m_stopped = true;
        // Either way this ends in fileDownloadFinished: a reply in error finishes on its own,
        // and aborting it a second time only upsets it.
        if (m_reply->error() == QNetworkReply::NoError)
            m_reply->abort();
    }
}

void Download::releaseReply()
{
    m_timer.stop();
    if (!m_reply)
        return;
    QNetworkReply *reply = m_reply;
    m_reply = nullptr;
    reply->disconnect(this);
    if (!reply->isFinished() && reply->error() == QNetworkReply::NoError)
        reply->abort();
    reply->deleteLater();
}
