#pragma once

#include <QFile>
#include <QList>
#include <QNetworkReply>
#include <QObject>
#include <QTimer>
#include <QUrl>

class QNetworkAccessManager;

// Fetches one large file in three stages: the cloud's JSON answer naming the real location
// and size, a HEAD on that location (following redirects once each), and the transfer, which
// appends to a partial local file when the server accepts ranges. The destination grows in
// place and is never removed here; the caller judges a finished file (SHA-1 check).
//
// Ends in finished() or error(code, desc): 1 transfer status not 200/206 (reply error text);
// 2 time-out, closed connection or silence; 3 error status of the cloud or the HEAD (status
// text); 4 cloud reply not JSON; 5 not an array of one element; 6 no "url"/"size" or bad
// size; 7 no reply from the manager; 8 a server's certificate refused (the reason). After a network error during the transfer finished()
// comes with isStopped() true. Parented to the manager; the caller deletes it.
class Download : public QObject
{
    Q_OBJECT
public:
    Download(const QString &destinationPath, const QUrl &url, const QString &downloadId,
             QNetworkAccessManager *networkAccessManager);

    bool isStopped() const { return m_stopped; }
    QString downloadId() const { return m_downloadId; }
    // The silence allowed in any stage, 30000 ms unless changed before start().
    void setTimeout(int milliseconds) { m_timeoutMs = milliseconds; }

public slots:
    void start();
    void stop();

signals:
    void progress(qlonglong received, qlonglong total);
    void finished();
    void error(int errorCode, const QString &desc);

private slots:
    void hasProgressed(qlonglong received, qlonglong total);
    void handleTimeout();
    void headerReceived();
    void cdnHeadersReceived();
    void dataReceived();
    void fileDownloadFinished();
    void onNetworkError(QNetworkReply::NetworkError errorCode);

private:
    void requestHead();
    void transfer(qint64 start);
    // Takes over a finished stage's reply (deleted later); null, with the log line, if none.
    QNetworkReply *takeHeaderReply();
    // A reply that failed on the server's certificate: error 8 with the reason, and true.
    bool certificateRefused(QNetworkReply *reply);
    // Drops the current reply without letting it call back.
    void releaseReply();

    QNetworkAccessManager *m_networkAccessManager;
    QNetworkReply *m_reply = nullptr;
    QTimer m_timer;
    int m_timeoutMs = 30000;
    QString m_downloadId;
    QFile m_file;
    qint64 m_localSize = 0;
    QUrl m_url;
    qint64 m_remoteSize = 0;
    QList<QUrl> m_visitedUrls;
    bool m_stopped = false;
};
