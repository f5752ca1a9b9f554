#include "authenticator.h"

#include "basicauthdialog.h"
#include "connector.h"
#include "passwordkeyring.h"
#include "settings.h"
#include "statssender.h"

#include <QDebug>

#include <cstring>

namespace {

// After a good login the stored statistics go out, when the user allows it.
void startStatsDelivery()
{
    if (settingsValue(QStringLiteral("stats.send.stats"), true).toBool())
        (new StatsSender)->retrieveSomeStats(); // deletes itself
}

// The scrambling key: two constants laid out one after the other. This keeps the password
// out of plain sight in the settings file; it is no encryption.
QByteArray scramblingKey()
{
    const quint64 halves[2] = {0x5a17c3e98b20f46dULL, 0xd13e7a0c52b9e816ULL};
    QByteArray key(16, '\0');
    std::memcpy(key.data(), halves, sizeof halves);
    return key;
}

} // namespace

Authenticator::Authenticator(QWidget *parentWidget, QObject *parent) : QObject(parent), m_parentWidget(parentWidget)
{
}

bool Authenticator::isAuthenticated()
{
    return Connector::instance()->isUserAuthenticated();
}

int Authenticator::authenticate(bool interactive, const QString &username, const QString &password)
{
    QString name = username;
    QString secret = password;
    if (!name.isEmpty() && !secret.isEmpty()) {
        setSettingsValue(QStringLiteral("customer.uuid"), QString()); // a new user is starting
    } else {
        name = storedUsername();
        secret = storedPassword();
    }

    int result = 1;
    if (!name.isEmpty() && !secret.isEmpty()) {
        const int code = Connector::instance()->login(name, secret);
        if (code == 1) {
            storeUsername(name);
            storePassword(secret);
            startStatsDelivery();
            return 0;
        }
        result = code == 4 ? 2 : 3;
    }
    if (!interactive)
        return result;

    BasicAuthDialog dialog(m_parentWidget);
    dialog.setCredentials(storedUsername(), storedPassword());
    if (dialog.exec() == QDialog::Rejected || !isAuthenticated())
        return 3;
    startStatsDelivery();
    return 0;
}

int Authenticator::authenticateWithoutStats(bool interactive, const QString &username, const QString &password)
{
    const QVariant former = settingsValue(QStringLiteral("stats.send.stats"), true);
    setSettingsValue(QStringLiteral("stats.send.stats"), false);
    const int result = authenticate(interactive, username, password);
    setSettingsValue(QStringLiteral("stats.send.stats"), former);
    return result;
}

QString Authenticator::storedUsername()
{
    return settingsValue(QStringLiteral("credentials.username")).toString();
}

void Authenticator::storeUsername(const QString &name)
{
    setSettingsValue(QStringLiteral("credentials.username"), name);
    if (name.isEmpty())
        setSettingsValue(QStringLiteral("customer.uuid"), QString());
}

QString Authenticator::storedPassword()
{
    QString password;
    const PasswordKeyring::Result result = PasswordKeyring::read(password);
    if (result == PasswordKeyring::Done) {
        noteStore(true);
        return password;
    }
    const QByteArray plain = scramble(settingsValue(QStringLiteral("credentials.password")).toByteArray());
    const int nul = plain.indexOf('\0');
    password = QString::fromUtf8(nul < 0 ? plain : plain.left(nul));
    if (result == PasswordKeyring::Unavailable)
        noteStore(false);
    else if (!password.isEmpty())
        storePassword(password); // kept scrambled before a keyring answered: move it there
    return password;
}

void Authenticator::storePassword(const QString &password)
{
    const bool inKeyring = password.isEmpty() ? PasswordKeyring::remove() != PasswordKeyring::Unavailable
                                              : PasswordKeyring::write(password) == PasswordKeyring::Done;
    noteStore(inKeyring);
    // Only where no keyring answers does the password stay in the settings file.
    setSettingsValue(QStringLiteral("credentials.password"), inKeyring ? QByteArray() : scramble(password.toUtf8()));
}

void Authenticator::noteStore(bool keyring)
{
    // Told once, and again only when the store changes (a keyring that went away or came).
    static QAtomicInt told(0); // 0 nothing yet, 1 keyring, 2 settings
    const int now = keyring ? 1 : 2;
    if (told.fetchAndStoreRelaxed(now) == now)
        return;
    if (keyring)
        qDebug() << "[Authenticator]" << "Cloud password kept in the desktop keyring";
    else
        qWarning().noquote() << "[Authenticator]" << "No desktop keyring answers (" + PasswordKeyring::errorText()
                                    + "): cloud password kept scrambled in the settings";
}

QByteArray Authenticator::scramble(const QByteArray &bytes)
{
    const QByteArray key = scramblingKey();
    QByteArray result = bytes;
    for (int i = 0; i < result.size(); ++i)
        result[i] = char(result.at(i) ^ key.at(i % key.size()));
    return result;
}

QString Authenticator::errorText(int code)
{
    switch (code) {
    case 0: return tr("timeout.error"); // the caller's own limit ran out before any answer
    case 1: return QString();
    case 2: return tr("server.in.maintenance");
    case 3: return tr("network.error");
    case 4: return tr("access.forbidden.from.server");
    case 5: {
        const QString help = settingsValue(QStringLiteral("cloud.proxy.help.url"),
                                           Connector::cloudRootUrl().toString() + QStringLiteral("/page/proxy/"))
                                 .toString();
        return tr("invalid.reply.from.server") + QLatin1Char(' ')
               + QStringLiteral("<a href=\"%1\">%2</a>.").arg(help, tr("here"));
    }
    case 6: return tr("proxy.authentication.error");
    case 7: return tr("proxy.unreachable");
    case 8: return tr("timeout.error");
    case 9: return tr("service.temporarily.unavailable");
    case 10: return tr("invalid.reply.from.proxy");
    case 11: return tr("proxy.timeout.error");
    case 12: return tr("login.timeout.on.cloud");
    case 13: return tr("invalid.Calderwick.application.identification.number");
    case 14: return tr("unable.to.read.a.file");
    case 15: return tr("unable.to.create.a.new.file");
    case 16: return tr("server.certificate.refused");
    default: return tr("unknown.generic.error");
    }
}
