#pragma once

#include <QByteArray>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QWidget>

// Logs the user in to the cloud from the given or the stored credentials and, when allowed,
// with the login dialog; keeps the name in the settings and the password in the desktop's
// keyring, or scrambled in the settings where no keyring answers.
class Authenticator : public QObject
{
    Q_OBJECT
public:
    // parentWidget: the parent of the login dialog; may be null.
    explicit Authenticator(QWidget *parentWidget = nullptr, QObject *parent = nullptr);

    static bool isAuthenticated();

    // 0 logged in; 1 no credentials to try; 2 refused (code 4); 3 any other failure or a
    // cancelled dialog. Starts a statistics delivery after a good login when statistics are on.
    int authenticate(bool interactive, const QString &username = QString(), const QString &password = QString());
    // The same, with statistics delivery kept off for this login.
    int authenticateWithoutStats(bool interactive, const QString &username = QString(),
                                 const QString &password = QString());

    static QString storedUsername();
    static void storeUsername(const QString &name);
    static QString storedPassword();
    static void storePassword(const QString &password);
    // The scrambling of the stored password, its own inverse.
    static QByteArray scramble(const QByteArray &bytes);

    // The translated message for any result code of the cloud calls.
    static QString errorText(int code);

private:
    // Logs which store holds the password, once per change.
    static void noteStore(bool keyring);

    QPointer<QWidget> m_parentWidget;
};
