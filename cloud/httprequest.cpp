#include "httprequest.h"

#include "connector.h"

#include <QDebug>
#include <QTimer>

HttpRequest::HttpRequest(int number, const QString &urlPath, const QString &postData, bool firstTime, int timeout)
    : m_requestId(urlPath + QString::number(number)), m_urlPath(urlPath), m_postData(postData),
      m_firstTime(firstTime), m_timeout(timeout)
{
}

int HttpRequest::exec()
{
    Connector *connector = Connector::instance();
    QTimer timer;
    timer.setSingleShot(true);
    connect(&timer, &QTimer::timeout, &m_loop, &QEventLoop::quit);
    connect(this, &HttpRequest::done, &m_loop, &QEventLoop::quit, Qt::QueuedConnection);
    connect(connector, &Connector::requestDone, this, &HttpRequest::requestDone);

    // Direct from the connector's thread (the whole exchange runs here), queued from others.
    emit connector->askRequest(m_requestId, m_urlPath, m_postData, m_firstTime);

    timer.start(m_timeout);
    m_loop.exec();
    if (!timer.isActive())
        qDebug().noquote() << "[HttpRequest::exec] Request timeout (code:" << m_resultCode << ") :" << m_urlPath;
    return m_resultCode;
}

void HttpRequest::requestDone(const QString &requestID, int resultCode, const QString &httpContent, int httpResult)
{
    if (requestID != m_requestId)
        return;
    m_resultCode = resultCode;
    m_httpContent = httpContent;
    m_httpResult = httpResult;
    emit done();
}
