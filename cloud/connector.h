#pragma once

#include <QList>
#include <QMutex>
#include <QNetworkReply>
#include <QObject>
#include <QSet>
#include <QSslConfiguration>
#include <QSslError>
#include <QString>
#include <QUrl>
#include <QVariant>

#include <memory>

class CloudUser;
class QNetworkAccessManager;
class Download;
class QSettings;
class VmTemplate;

// The one door to the cloud service. Every REST call is blocking for its caller, on any
// thread, and ends in a result code: 1 success, 0 no answer in time, 2 HTTP 503, 3 network
// error, 4 access refused, 5 reply not understood, 6-11 proxy and connection failures, 16 the
// server's certificate refused (see resultMessage()); lastError() then holds the message.
// Certificates are verified; the setting "cloud.ssl.ca.file" adds trusted authorities and
// "cloud.ssl.ignore.errors" turns verification off, for a proxy that re-signs traffic. The exchange itself runs on the
// connector's thread, the application's main thread.
//
// Process-wide singleton made by the first instance(); destroy() is registered as a post
// routine of the application, so the network manager goes before QCoreApplication does.
template <typename> class ProcessSingleton;

class Connector : public QObject
{
    Q_OBJECT
public:
    static Connector *instance();
    static void destroy();

    // The cloud's root, from the setting "cloud.root.url", without trailing slash.
    static QUrl cloudRootUrl();
    // Applies the proxy settings to any network manager of the program, and shares the
    // cloud session's cookies with it.
    static void configureProxy(QNetworkAccessManager *manager);

    // The primitive: content and httpStatus are filled from the reply.
    int request(const QString &urlPath, const QString &postData, QString &content, int &httpStatus,
                bool firstTime);
    int request(const QString &urlPath, const QString &postData = QString());
    int request(const QString &urlPath, const QString &postData, QString &content);
    int request(const QString &urlPath, const QString &postData, int &httpStatus);

    // GET of a path whose reply must be an object or array; result holds it converted.
    int retrieveJson(const QString &urlPath, QVariant &result);
    int retrieveJsonList(const QString &urlPath, QVariantList &list);
    // The string value of key in a reply, or of key inside its "data" object; empty if none.
    static QString extractJsonValue(const QString &key, const QString &content);

    int getCalderwickLastVersion(QString &version, QString &url);
    bool isCloudReachable();

    int login(const QString &username, const QString &password);
    int logout(bool notifyServer);
    // The signed-in user's name, asked of the server or from the local state; empty if none.
    QString currentUser(bool fromServer);
    // The record of the last "/customer/me/", or null.
    const CloudUser *currentUserRecord() const { return m_currentUser.get(); }

    // The server's templates, from the one-day cache unless forced or empty; 1 or the
    // request's code (the cache is then left alone).
    int getVmTemplates(QList<VmTemplate> &list, bool forceRefresh);
    // One template, also written into templatesDirectory(); 1, 5 not one template, 13/15
    // from writing, or the request's code.
    int getVmTemplate(const QString &uuid, VmTemplate &vmTemplate);

    // New transfers on the connector's manager, not started; the caller owns the object.
    Download *downloadFile(const QString &destinationPath, const QUrl &url, const QString &downloadId);
    // The OVA of a template's system version, into SystemVersion::localOvaPath().
    Download *downloadOva(const VmTemplate &systemTemplate);

    // Posts a statistics batch; the result code of the request.
    int sendStats(const QString &events);

    bool setRequestTimeout(int milliseconds);
    int requestTimeout() const { return m_requestTimeout; }
    QString lastError() const { return m_lastErrorMessage; }
    bool isUserAuthenticated() const { return !m_authenticatedUser.isEmpty(); }
    QUrl baseUrl() const { return m_baseUrl; }
    QString userAgent() const { return m_userAgent; }
    QNetworkAccessManager *networkAccessManager() const { return m_networkAccessManager; }

    // The fixed message of a result code, as stored in lastError().
    static QString resultMessage(int code);
    // "<home>/.Brackenlea/Calderwick/templates/", where template files and the cache live.
    static QString templatesDirectory();

signals:
    void userAuthenticationChanged(const QString &authenticatedUser);
    void requestDone(const QString &requestID, int resultCode, const QString &httpContent, int httpResult);
    void askRequest(const QString &requestID, const QString &urlPath, const QString &postData, bool firstTime);

public slots:
    void sslErrorHandler(QNetworkReply *reply, const QList<QSslError> &errors);
    void doRequest(const QString &requestID, const QString &urlPath, const QString &postData, bool firstTime);

private:
    template <typename> friend class ProcessSingleton;
    Connector();
    ~Connector() override;

    static void applyProxySettings(QNetworkAccessManager *manager);
    static void addTrustedAuthorities(QSslConfiguration &ssl);
    // Steps after the reply has finished: one result code and message for every outcome.
    int classify(QNetworkReply *reply, int status, const QString &content);
    // A reply aborted because requestTimeout ran out: 8, or 11 through a proxy.
    int classifyTimeout(int status, const QString &content);

    QNetworkAccessManager *m_networkAccessManager; // child
    std::unique_ptr<CloudUser> m_currentUser;
    QString m_userAgent;
    QUrl m_baseUrl;
    QString m_authenticatedUser;
    int m_requestCounter = 0; // guarded by m_counterMutex
    QMutex m_counterMutex;
    int m_requestTimeout = 4000;
    QString m_lastErrorMessage;
    std::unique_ptr<QSettings> m_templatesCache;
    QSet<QString> m_reportedCertificateErrors; // host and errors already logged, bounded
};
