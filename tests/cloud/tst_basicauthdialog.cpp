// The login dialog against a scripted cloud: the sign-in gate, a refused login that keeps the
// dialog open with its reason, and the interactive path of Authenticator, where a good login
// closes the dialog and keeps the credentials.

#include "testenvironment.h"

#include "authenticator.h"
#include "basicauthdialog.h"
#include "connector.h"
#include "fakecloudserver.h"
#include "settings.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>

using Answer = FakeCloudServer::Answer;

namespace {

QLineEdit *field(QWidget *dialog, int index)
{
    const QList<QLineEdit *> edits = dialog->findChildren<QLineEdit *>();
    return edits.value(index);
}

QPushButton *button(QWidget *dialog, const QString &text)
{
    for (QPushButton *candidate : dialog->findChildren<QPushButton *>()) {
        if (candidate->text() == text)
            return candidate;
    }
    return nullptr;
}

// The label that shows the outcome of a login: the one with the error text.
bool showsText(QWidget *dialog, const QString &text)
{
    for (QLabel *label : dialog->findChildren<QLabel *>()) {
        if (label->text() == text && !text.isEmpty())
            return true;
    }
    return false;
}

} // namespace

class TestBasicAuthDialog : public QObject
{
    Q_OBJECT

    FakeCloudServer server;

private slots:
    void initTestCase()
    {
        const QString root = server.start();
        QVERIFY(!root.isEmpty());
        setSettingsValue(QStringLiteral("cloud.root.url"), root);
        setSettingsValue(QStringLiteral("stats.send.stats"), false);
    }

    void init()
    {
        server.reset();
        Authenticator::storeUsername(QString());
        Authenticator::storePassword(QString());
        Connector::instance()->logout(false);
        Connector::instance()->setRequestTimeout(4000);
    }

    void signInNeedsBothFields()
    {
        BasicAuthDialog dialog;
        QPushButton *signIn = button(&dialog, QStringLiteral("signin"));
        QVERIFY(signIn && signIn->isDefault());
        QCOMPARE(field(&dialog, 1)->echoMode(), QLineEdit::Password);
        QVERIFY(!signIn->isEnabled());
        field(&dialog, 0)->setText(QStringLiteral("ann"));
        QVERIFY(!signIn->isEnabled());
        field(&dialog, 1)->setText(QStringLiteral("pw"));
        QVERIFY(signIn->isEnabled());
        field(&dialog, 0)->clear();
        QVERIFY(!signIn->isEnabled());
        // An incomplete form sends nothing.
        dialog.launchAuthentication();
        QVERIFY(server.received.isEmpty());
    }

    void refusedLoginStaysOpen_data()
    {
        QTest::addColumn<Answer>("answer");
        QTest::addColumn<int>("code");
        QTest::newRow("refused") << Answer::json(403, "{\"desc\":\"no\"}") << 4;
        // A silent cloud is told as a time-out, not as a reply that was not understood.
        QTest::newRow("silent") << Answer::silence() << 8;
    }

    void refusedLoginStaysOpen()
    {
        QFETCH(Answer, answer);
        QFETCH(int, code);
        server.script("/launchpad/login/", {answer});
        Connector::instance()->setRequestTimeout(300);
        BasicAuthDialog dialog;
        dialog.setCredentials(QStringLiteral("bob"), QStringLiteral("x&y"));
        dialog.show();
        dialog.launchAuthentication();
        QCOMPARE(server.received.last().body, QByteArray("username=bob&password=x%26y"));
        QVERIFY(dialog.isVisible());
        QCOMPARE(dialog.result(), int(QDialog::Rejected));
        QVERIFY(showsText(&dialog, Authenticator::errorText(code)));
        QVERIFY(field(&dialog, 0)->isEnabled() && field(&dialog, 1)->isEnabled());
        QVERIFY(button(&dialog, QStringLiteral("signin"))->isEnabled());
        QCOMPARE(Authenticator::storedUsername(), QString());
    }

    void interactiveAuthenticationRunsTheDialog_data()
    {
        QTest::addColumn<bool>("cancel");
        QTest::addColumn<int>("result");
        QTest::newRow("signed in") << false << 0;
        QTest::newRow("cancelled") << true << 3;
    }

    void interactiveAuthenticationRunsTheDialog()
    {
        QFETCH(bool, cancel);
        QFETCH(int, result);
        server.script("/launchpad/login/", {Answer::json(200, "{}")});
        bool seen = false;
        // The dialog is modal: act on it from the event loop it runs, once it is there (the
        // keyring is asked, in event loops of its own, before).
        QTimer poll;
        connect(&poll, &QTimer::timeout, this, [&] {
            auto *dialog = qobject_cast<BasicAuthDialog *>(QApplication::activeModalWidget());
            if (!dialog)
                return;
            poll.stop();
            seen = true;
            if (cancel) {
                button(dialog, QStringLiteral("cancel"))->click();
                return;
            }
            field(dialog, 0)->setText(QStringLiteral("dee"));
            field(dialog, 1)->setText(QStringLiteral("p&q"));
            button(dialog, QStringLiteral("signin"))->click();
        });
        poll.start(10);
        Authenticator authenticator;
        QCOMPARE(authenticator.authenticate(true), result);
        QVERIFY(seen);
        QCOMPARE(Authenticator::isAuthenticated(), !cancel);
        // A sign-in through the dialog keeps the credentials.
        QCOMPARE(Authenticator::storedUsername(), cancel ? QString() : QStringLiteral("dee"));
        QCOMPARE(Authenticator::storedPassword(), cancel ? QString() : QStringLiteral("p&q"));
    }
};

CALDERWICK_TEST_GUI_MAIN(TestBasicAuthDialog)
#include "tst_basicauthdialog.moc"
