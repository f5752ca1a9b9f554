#pragma once

#include <QEventLoop>
#include <QObject>
#include <QString>

// Carries one REST call from the caller's thread to Connector::doRequest on the connector's
// thread and waits, at most `timeout` ms, for the matching Connector::requestDone.
// Lives on the caller's stack for one request.
class HttpRequest : public QObject
{
    Q_OBJECT
public:
    HttpRequest(int number, const QString &urlPath, const QString &postData, bool firstTime, int timeout);

    // Blocks in a local event loop; returns the result code, 0 when the time ran out.
    int exec();

    int httpResult() const { return m_httpResult; }
    QString httpContent() const { return m_httpContent; }
    int resultCode() const { return m_resultCode; }

signals:
    void done();

public slots:
    void requestDone(const QString &requestID, int resultCode, const QString &httpContent, int httpResult);

private:
    QString m_requestId;
    QString m_urlPath;
    QString m_postData;
    QEventLoop m_loop;
    bool m_firstTime;
    int m_httpResult = 0;
    QString m_httpContent;
    int m_resultCode = 0;
    int m_timeout;
};
