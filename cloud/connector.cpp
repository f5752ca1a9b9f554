#include "connector.h"

#include "processsingleton.h"

#include "authenticator.h"
#include "clouduser.h"
#include "httprequest.h"
#include "playeroptions.h"
#include "replylimit.h"
#include "scriptjson.h"
#include "settings.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QEventLoop>
#include <QMutexLocker>
#include <QNetworkAccessManager>
#include <QNetworkCookie>
#include <QNetworkCookieJar>
#include <QNetworkProxy>
#include <QNetworkRequest>
#include <QSettings>
#include <QSslConfiguration>
#include <QTcpSocket>
#include <QTimer>

namespace {


const char DefaultCloudRoot[] = "https://cloud.brackenlea.com";
const int WaitSliceMs = 200;
// Set on a reply whose server certificate was refused.
const char CertificateRefused[] = "calderwickCertificateRefused";

} // namespace

Connector *Connector::instance()
{
    return ProcessSingleton<Connector>::instance();
}

void Connector::destroy()
{
    ProcessSingleton<Connector>::destroy();
}

Connector::Connector()
    : m_templatesCache(std::make_unique<QSettings>(templatesDirectory() + QStringLiteral(".cache"),
                                                   QSettings::IniFormat))
{
    m_networkAccessManager = new QNetworkAccessManager(this);
    connect(m_networkAccessManager, &QNetworkAccessManager::sslErrors, this, &Connector::sslErrorHandler);
    connect(this, &Connector::askRequest, this, &Connector::doRequest);

    m_userAgent = QStringLiteral("%1 - %2").arg(QStringLiteral("Brackenlea Calderwick ") + QLatin1String(PlayerVersion),
                                               QStringLiteral("Linux"));
    m_baseUrl = cloudRootUrl();
    applyProxySettings(m_networkAccessManager); // no session to share yet

    QSslConfiguration ssl = QSslConfiguration::defaultConfiguration();
    ssl.setProtocol(QSsl::AnyProtocol);
    addTrustedAuthorities(ssl);
    QSslConfiguration::setDefaultConfiguration(ssl);

    const QString root = brackenleaDirectory() + QStringLiteral("/Calderwick");
    for (const char *folder : {"", "/vdi/", "/ova/", "/deployed/", "/templates/"})
        QDir().mkpath(root + QLatin1String(folder));
}

Connector::~Connector()
{
    delete m_networkAccessManager;
    m_currentUser.reset();
    m_templatesCache.reset();
}

QUrl Connector::cloudRootUrl()
{
    QString root = settingsValue(QStringLiteral("cloud.root.url"), QLatin1String(DefaultCloudRoot)).toString();
    while (root.endsWith(QLatin1Char('/')))
        root.chop(1);
    return QUrl(root);
}

QString Connector::templatesDirectory()
{
    return brackenleaDirectory() + QStringLiteral("/Calderwick/templates/");
}

void Connector::configureProxy(QNetworkAccessManager *manager)
{
    applyProxySettings(manager);

    // Web views share the session that the login opened.
    ProcessSingleton<Connector>::withExisting([manager](const Connector *connector) {
        if (!connector || manager == connector->m_networkAccessManager)
            return;
        const QUrl root = connector->m_baseUrl;
        manager->cookieJar()->setCookiesFromUrl(connector->m_networkAccessManager->cookieJar()->cookiesForUrl(root), root);
    });
}

void Connector::applyProxySettings(QNetworkAccessManager *manager)
{
    QNetworkProxy proxy;
    if (!settingsValue(QStringLiteral("proxy.enabled"), false).toBool()) {
        proxy.setType(QNetworkProxy::NoProxy);
        qDebug() << "Proxy configuration: no proxy used";
    } else {
        const QString host = settingsValue(QStringLiteral("proxy.host")).toString();
        const QString port = settingsValue(QStringLiteral("proxy.port")).toString();
        proxy.setType(QNetworkProxy::HttpProxy);
        proxy.setHostName(host);
        proxy.setPort(port.toUShort());
        qDebug().noquote() << "Proxy configuration: IP:" << host << " - Port:" << port;
    }
    if (!settingsValue(QStringLiteral("proxy.authentication"), false).toBool()) {
        qDebug() << "Proxy Auth configuration: no authentification used";
    } else {
        proxy.setUser(settingsValue(QStringLiteral("proxy.authentication.username")).toString());
        proxy.setPassword(settingsValue(QStringLiteral("proxy.authentication.password")).toString());
        qDebug() << "Proxy Auth configuration: authentification used";
    }
    manager->setProxy(proxy);
}

void Connector::addTrustedAuthorities(QSslConfiguration &ssl)
{
    // A company's own authority (a proxy that re-signs traffic, a test server) is better
    // trusted by name than by ignoring every certificate error.
    ssl.setCaCertificates(QSslConfiguration::systemCaCertificates());
    const QString file = settingsValue(QStringLiteral("cloud.ssl.ca.file")).toString();
    if (file.isEmpty())
        return;
    const QList<QSslCertificate> authorities = QSslCertificate::fromPath(file, QSsl::Pem);
    if (authorities.isEmpty()) {
        qWarning().noquote() << "[Connector]" << "No certificate authority could be read from" << file;
        return;
    }
    ssl.setCaCertificates(ssl.caCertificates() + authorities);
    qDebug().noquote() << "[Connector]" << "Trusting" << authorities.size() << "more certificate authorities from" << file;
}

void Connector::sslErrorHandler(QNetworkReply *reply, const QList<QSslError> &errors)
{
    QStringList texts;
    for (const QSslError &error : errors)
        texts << error.errorString();
    const QString host = reply->url().host();
    const bool ignore = settingsValue(QStringLiteral("cloud.ssl.ignore.errors"), false).toBool();
    // Told once per host and kind of failure: a server that keeps failing must not flood the log.
    const QString key = host + QLatin1Char('|') + texts.join(QLatin1Char('|')) + QLatin1String(ignore ? "|i" : "");
    const bool firstTime = !m_reportedCertificateErrors.contains(key);
    if (firstTime && m_reportedCertificateErrors.size() < 64)
        m_reportedCertificateErrors.insert(key);
    if (ignore) {
        if (firstTime)
            qWarning().noquote() << "[Connector]" << "Certificate errors of" << host
                                 << "ignored (cloud.ssl.ignore.errors):" << texts.join(QStringLiteral("; "));
        reply->ignoreSslErrors(errors);
        return;
    }
    if (firstTime)
        qCritical().noquote() << "[Connector]" << "Certificate of" << host << "refused:" << texts.join(QStringLiteral("; "));
    reply->setProperty(CertificateRefused, true);
}

int Connector::request(const QString &urlPath, const QString &postData, QString &content, int &httpStatus,
                       bool firstTime)
{
    int number;
    {
        QMutexLocker lock(&m_counterMutex);
        number = m_requestCounter++;
    }
    HttpRequest httpRequest(number, urlPath, postData, firstTime, m_requestTimeout);
    const int code = httpRequest.exec();
    content = httpRequest.httpContent();
    httpStatus = httpRequest.httpResult();
    return code;
}

int Connector::request(const QString &urlPath, const QString &postData)
{
    QString content;
    int status = 0;
    return request(urlPath, postData, content, status, true);
}

int Connector::request(const QString &urlPath, const QString &postData, QString &content)
{
    int status = 0;
    return request(urlPath, postData, content, status, true);
}

int Connector::request(const QString &urlPath, const QString &postData, int &httpStatus)
{
    QString content;
    return request(urlPath, postData, content, httpStatus, true);
}

void Connector::doRequest(const QString &requestID, const QString &urlPath, const QString &postData, bool firstTime)
{
    const QUrl url(m_baseUrl.toString() + urlPath);
    QNetworkRequest request(url);
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/x-www-form-urlencoded"));
    qDebug().noquote() << "[doRequest]" << "Requesting: " + url.toString();
    request.setRawHeader("User-Agent", m_userAgent.toLatin1());

    QNetworkReply *reply = postData.isEmpty() ? m_networkAccessManager->get(request)
                                              : m_networkAccessManager->post(request, postData.toUtf8());
    if (!reply) {
        qCritical() << "[doRequest]" << "Null reply";
        m_lastErrorMessage = QStringLiteral("Invalid reply from server");
        emit requestDone(requestID, 0, QString(), 0);
        return;
    }
    // Past the cap the reply ends as canceled, which classify() reports as not understood.
    ReplyLimit::cap(reply, "[doRequest]");

    // Wait in slices and keep the rest of the program turning meanwhile.
    QEventLoop loop;
    QTimer slice;
    slice.setSingleShot(true);
    connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    connect(&slice, &QTimer::timeout, &loop, &QEventLoop::quit);
    const int slices = m_requestTimeout / WaitSliceMs + 1;
    for (int i = 0; i < slices && !reply->isFinished(); ++i) {
        slice.start(WaitSliceMs);
        loop.exec();
        if (reply->isFinished())
            break;
        QCoreApplication::processEvents();
    }
    // An abort finishes the reply as canceled: remember that it was the clock, not the server.
    const bool timedOut = !reply->isFinished();
    if (timedOut) {
        disconnect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
        reply->abort();
    }

    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const QString content = ScriptJson::replyText(reply->isOpen() ? reply->readAll() : QByteArray());

    if (!reply->isFinished()) {
        qCritical() << "[doRequest]" << "Can't finish HTTP request";
        m_lastErrorMessage = QStringLiteral("Network connection error");
        reply->deleteLater();
        emit requestDone(requestID, 0, content, status);
        return;
    }

    if (status == 302 && firstTime) {
        // The session has run out: log in again from the stored credentials, retry once.
        Authenticator authenticator;
        if (authenticator.authenticate(false, QString(), QString()) == 0) {
            reply->deleteLater();
            doRequest(requestID, urlPath, postData, false);
            return;
        }
    }

    const int code = timedOut ? classifyTimeout(status, content) : classify(reply, status, content);
    reply->deleteLater();
    emit requestDone(requestID, code, content, status);
}

int Connector::classify(QNetworkReply *reply, int status, const QString &content)
{
    const QNetworkReply::NetworkError error = reply->error();
    if ((status == 200 || status == 201) && error == QNetworkReply::NoError) {
        qDebug() << "[doRequest]" << "done";
        m_lastErrorMessage.clear();
        return 1;
    }
    if (status == 503) {
        m_lastErrorMessage = resultMessage(2);
        qWarning().noquote() << "[doRequest]" << m_lastErrorMessage;
        return 2;
    }
    if (status == 403) {
        const QString desc = extractJsonValue(QStringLiteral("desc"), content);
        m_lastErrorMessage = desc.isEmpty() ? resultMessage(4) : desc;
        qWarning().noquote() << "[doRequest]" << m_lastErrorMessage;
        return 4;
    }

    int code;
    const QString errorString = reply->errorString();
    if (reply->property(CertificateRefused).toBool() || error == QNetworkReply::SslHandshakeFailedError)
        code = 16;
    else if (error == QNetworkReply::UnknownNetworkError && errorString.toLower().contains(QLatin1String("proxy")))
        code = 7;
    else if (error == QNetworkReply::ProxyAuthenticationRequiredError)
        code = 6;
    else if (error == QNetworkReply::TimeoutError)
        code = 8;
    else if (error == QNetworkReply::ProxyTimeoutError)
        code = 11;
    else if (error == QNetworkReply::UnknownProxyError)
        code = 10;
    else if (error == QNetworkReply::ConnectionRefusedError)
        code = 9;
    else if (error == QNetworkReply::UnknownNetworkError || error == QNetworkReply::HostNotFoundError)
        code = 3;
    else if (status == 302 && QUrl::fromEncoded(reply->rawHeader("Location")).path().contains(
                                  QLatin1String("/launchpad/login/"))) // relative or absolute
        code = 4;
    else
        code = 5;

    if (code == 5) {
        const QString desc = extractJsonValue(QStringLiteral("desc"), content);
        m_lastErrorMessage = desc.isEmpty() ? resultMessage(5) : desc;
    } else {
        m_lastErrorMessage = resultMessage(code);
    }
    qDebug() << "[doRequest]" << "HTTP Status:" << status;
    qDebug() << "[doRequest]" << "HTTP Content:" << content;
    qDebug() << "[doRequest]" << "Reply error:" << errorString << "(" << int(error) << ")";
    qDebug() << "[doRequest]" << "last error msg:" << m_lastErrorMessage;
    return code;
}

int Connector::classifyTimeout(int status, const QString &content)
{
    // A silent server or an unreachable network, through a proxy or not.
    const int code = m_networkAccessManager->proxy().type() == QNetworkProxy::NoProxy ? 8 : 11;
    m_lastErrorMessage = resultMessage(code);
    qWarning().noquote() << "[doRequest]" << "No answer within" << m_requestTimeout << "ms:" << m_lastErrorMessage;
    qDebug() << "[doRequest]" << "HTTP Status:" << status;
    qDebug() << "[doRequest]" << "HTTP Content:" << content;
    return code;
}

QString Connector::resultMessage(int code)
{
    switch (code) {
    case 0: return QStringLiteral("Network connection error");
    case 1: return QString();
    case 2: return QStringLiteral("Server temporarily unavailable");
    case 3: return QStringLiteral("Network error");
    case 4: return QStringLiteral("Access to server forbidden");
    case 5: return QStringLiteral("Invalid reply from server");
    case 6: return QStringLiteral("Proxy authentication error");
    case 7: return QStringLiteral("Unknown proxy error");
    case 8: return QStringLiteral("Network timeout error");
    case 9: return QStringLiteral("Connection refused");
    case 10: return QStringLiteral("Proxy error");
    case 11: return QStringLiteral("Proxy timeout error");
    case 16: return QStringLiteral("Server certificate refused");
    default: return QStringLiteral("Invalid reply from server");
    }
}

int Connector::retrieveJson(const QString &urlPath, QVariant &result)
{
    QString content;
    int status = 0;
    const int code = request(urlPath, QString(), content, status, true);
    if (code != 1) {
        qCritical().noquote() << "Network error while retrieving JSON content: " + urlPath;
        return code;
    }
    if (!ScriptJson::evaluate(content, result)) {
        qCritical() << "Retrieved content is not JSON";
        m_lastErrorMessage = resultMessage(5);
        return 5;
    }
    return 1;
}

int Connector::retrieveJsonList(const QString &urlPath, QVariantList &list)
{
    QVariant value;
    const int code = retrieveJson(urlPath, value);
    if (code == 1)
        list = value.toList();
    return code;
}

QString Connector::extractJsonValue(const QString &key, const QString &content)
{
    QVariant value;
    if (!ScriptJson::evaluate(content, value))
        return QString();
    const QVariantMap map = value.toMap();
    QString result = map.value(key).toString();
    if (result.isEmpty() && map.contains(QStringLiteral("data")))
        result = map.value(QStringLiteral("data")).toMap().value(key).toString();
    return result;
}

int Connector::getCalderwickLastVersion(QString &version, QString &url)
{
    const QString path = QStringLiteral("/launchpad/last_version/%1/%2/").arg(QStringLiteral("linux"), QStringLiteral("x64"));
    QVariant value;
    const int code = retrieveJson(path, value);
    if (code != 1) {
        // The request's own message stays: a time-out must not read as a reply not understood.
        qCritical().noquote() << "[getCalderwickLastVersion]" << "Bad request:" << path;
        return code;
    }
    const QVariantMap map = value.toMap();
    const QString lastVersion = map.value(QStringLiteral("version")).toString();
    const QString lastUrl = map.value(QStringLiteral("url")).toString();
    if (lastVersion.isEmpty() || lastUrl.isEmpty()) {
        qCritical() << "[getCalderwickLastVersion]" << "Invalid reply";
        m_lastErrorMessage = resultMessage(5);
        return 5;
    }
    qDebug().noquote() << "New version (" + lastVersion + ") available here:" << lastUrl;
    version = lastVersion;
    url = lastUrl;
    return 1;
}

bool Connector::isCloudReachable()
{
    QTcpSocket socket;
    socket.connectToHost(m_baseUrl.host(), 443);
    if (socket.waitForConnected(m_requestTimeout)) {
        qDebug() << "Calderwick Cloud is reachable";
        return true;
    }
    qCritical().noquote() << "Calderwick Cloud is unreachable: " + socket.errorString();
    return false;
}

int Connector::sendStats(const QString &events)
{
    const QString body = QStringLiteral("events=") + QString::fromLatin1(QUrl::toPercentEncoding(events));
    QString content;
    int status = 0;
    const int code = request(QStringLiteral("/stats/report/calderwick/"), body, content, status, true);
    qDebug() << (code == 1 ? "Stats sent" : "Stats already sent");
    return code;
}

bool Connector::setRequestTimeout(int milliseconds)
{
    if (milliseconds < 0)
        return false;
    m_requestTimeout = milliseconds;
    return true;
}
