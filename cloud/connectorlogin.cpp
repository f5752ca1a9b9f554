// Connector: the login, logout and current-user calls of the cloud session.
#include "connector.h"

#include "clouduser.h"
#include "settings.h"

#include <QDebug>

int Connector::login(const QString &username, const QString &password)
{
    qDebug().noquote() << "[login] Trying to authenticate " + username;
    logout(false);

    const QString body = QStringLiteral("username=") + QString::fromLatin1(QUrl::toPercentEncoding(username))
                         + QStringLiteral("&password=") + QString::fromLatin1(QUrl::toPercentEncoding(password));
    QString content;
    int status = 0;
    // Not a first time: a failing login must never start the silent re-login.
    const int code = request(QStringLiteral("/launchpad/login/"), body, content, status, false);
    if (code != 1) {
        qCritical() << "[login] Login process result:" << code;
        m_lastErrorMessage = QStringLiteral("Failed to authenticate user");
        return code;
    }
    m_authenticatedUser = username;
    qDebug() << "[login] Login process result:" << code;
    qDebug().noquote() << "[login] User authenticated:" << username;

    setSettingsValue(QStringLiteral("customer.email"), extractJsonValue(QStringLiteral("email"), content));
    setSettingsValue(QStringLiteral("customer.signature"), extractJsonValue(QStringLiteral("signature"), content));
    setSettingsValue(QStringLiteral("customer.uuid"), extractJsonValue(QStringLiteral("customer_uuid"), content));
    emit userAuthenticationChanged(username);
    return 1;
}

int Connector::logout(bool notifyServer)
{
    qDebug() << "Trying to logout user";
    m_authenticatedUser.clear();
    emit userAuthenticationChanged(QString());
    if (!notifyServer)
        return 1;
    QString content;
    int status = 0;
    return request(QStringLiteral("/customer/signout/"), QString(), content, status, false);
}

QString Connector::currentUser(bool fromServer)
{
    qDebug().noquote() << "Getting currently authenticated user from " + QString(fromServer ? "Hub" : "local cache");
    if (!fromServer)
        return m_authenticatedUser;

    QVariant value;
    if (retrieveJson(QStringLiteral("/customer/me/"), value) != 1) {
        qDebug() << "User is not authenticated by server";
        logout(false);
        return QString();
    }
    const QVariantMap map = value.toMap();
    if (map.isEmpty()) {
        qDebug() << "No user logged in";
        logout(false);
        setSettingsValue(QStringLiteral("customer.uuid"), QString());
        return QString();
    }
    m_currentUser = std::make_unique<CloudUser>(map);
    if (!m_currentUser->validated) {
        qDebug() << "Authenticated user has not yet validated its email address";
        logout(false);
    } else {
        m_authenticatedUser = m_currentUser->account.username;
    }
    setSettingsValue(QStringLiteral("customer.uuid"), m_currentUser->customerUuid);
    emit userAuthenticationChanged(m_authenticatedUser);
    return m_authenticatedUser;
}
