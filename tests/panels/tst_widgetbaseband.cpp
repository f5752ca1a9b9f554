// The calls and SMS panel in the player against a devicesim process: opened from its toolbar
// button, a call rings on the device with the exact number, texts arrive exact (non-ASCII, at
// the length limit), and a refusal or a vanished device is logged with the texts kept.

#include "paneldevice.h"
#include "qtexteditlimit.h"
#include "widgetbaseband.h"

#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>

#include <X11/Xlib.h>

class TestWidgetBaseband : public QObject
{
    Q_OBJECT

private:
    PanelDevice device;
    WidgetBaseband *panel = nullptr;

    QLineEdit *number() const { return panel->findChild<QLineEdit *>(QStringLiteral("number")); }
    QTextEditLimit *message() const { return panel->findChild<QTextEditLimit *>(QStringLiteral("message")); }
    QPushButton *button(const char *name) const { return panel->findChild<QPushButton *>(QLatin1String(name)); }

    void typeNumber(const QString &text)
    {
        number()->clear();
        QTest::keyClicks(number(), text);
    }

    // The modem commands the device received since the last look, and what it made of them.
    QStringList commands(QList<QJsonObject> *modem = nullptr)
    {
        const QList<QJsonObject> entries = device.requestEntries();
        QStringList lines;
        for (const QJsonObject &value : PanelDevice::values(entries, QStringLiteral("SendCommand"), QStringLiteral("CaldBasebandCmd")))
            lines << value.value(QStringLiteral("stringValue")).toString();
        for (const QJsonObject &entry : entries)
            if (modem && entry.contains(QStringLiteral("modem")))
                *modem << entry;
        return lines;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(device.start(1, QStringLiteral("baseband")));
        QTest::mouseClick(device.button, Qt::LeftButton);
        panel = qobject_cast<WidgetBaseband *>(device.button->panel());
        QVERIFY(panel && QTest::qWaitForWindowExposed(panel));
    }

    // The field takes only what a number can be; "+" alone is not yet one but enables the
    // call button, and the modem refuses it.
    void numberField()
    {
        QVERIFY(!button("call")->isEnabled() && !button("send")->isEnabled());
        typeNumber(QStringLiteral("12a3b-4 5"));
        QCOMPARE(number()->text(), QStringLiteral("12345"));
        typeNumber(QStringLiteral("12345678901234567"));
        QCOMPARE(number()->text(), QStringLiteral("1234567890123456"));
        typeNumber(QStringLiteral("+123456789012345"));
        QCOMPARE(number()->text(), QStringLiteral("+12345678901234"));
        typeNumber(QStringLiteral("+"));
        QVERIFY(!number()->hasAcceptableInput() && button("call")->isEnabled());
        commands();
        QTest::ignoreMessage(QtCriticalMsg, "\"Invalid request: bad argument or bad format\"");
        QTest::mouseClick(button("call"), Qt::LeftButton);
        QList<QJsonObject> modem;
        QCOMPARE(commands(&modem), QStringList{QStringLiteral("gsm call +\n")});
        QVERIFY(modem.isEmpty());
    }

    void callRingsWithTheNumber()
    {
        typeNumber(QStringLiteral("+33612345678"));
        QTest::mouseClick(button("call"), Qt::LeftButton);
        QList<QJsonObject> modem;
        QCOMPARE(commands(&modem), QStringList{QStringLiteral("gsm call +33612345678\n")});
        QCOMPARE(modem.size(), 1);
        QCOMPARE(modem.first().value(QStringLiteral("modem")).toString(), QStringLiteral("call"));
        QCOMPARE(modem.first().value(QStringLiteral("number")).toString(), QStringLiteral("+33612345678"));
    }

    void textsArriveExact_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("received");
        const QString greeting = QString::fromUtf8("Grüße aus Köln 👋\nzweite Zeile");
        QTest::newRow("non-ascii, two lines") << QStringLiteral("  ") + greeting + QStringLiteral("\n") << greeting;
        // A paste past the limit is cut to 2048 bytes of UTF-8, a whole character each.
        QTest::newRow("at the limit") << QString(1025, QChar(0xe9)) << QString(1024, QChar(0xe9));
    }

    void textsArriveExact()
    {
        QFETCH(QString, typed);
        QFETCH(QString, received);
        typeNumber(QStringLiteral("5551234"));
        message()->clear();
        QVERIFY(!button("send")->isEnabled());
        QApplication::clipboard()->setText(typed);
        message()->setFocus();
        QTest::keySequence(message(), QKeySequence::Paste);
        QVERIFY(button("send")->isEnabled());
        QTest::mouseClick(button("send"), Qt::LeftButton);
        QList<QJsonObject> modem;
        const QByteArray base64 = received.toUtf8().toBase64();
        QCOMPARE(commands(&modem), QStringList{QStringLiteral("sms sendb64 5551234 %1\n").arg(QLatin1String(base64))});
        QCOMPARE(modem.value(0).value(QStringLiteral("number")).toString(), QStringLiteral("5551234"));
        QCOMPARE(modem.value(0).value(QStringLiteral("text")).toString(), received);
    }

    // Refused, or no device at all: one log line per attempt, the texts stay, the panel works.
    void refusalAndLostDevice()
    {
        message()->setPlainText(QStringLiteral(" \n\t "));
        QVERIFY(button("call")->isEnabled() && !button("send")->isEnabled());
        message()->setPlainText(QStringLiteral("hello"));
        QVERIFY(device.ok(QStringLiteral("reply-next GenericError busy")));
        QTest::ignoreMessage(QtCriticalMsg, "\"Generic error: see logs from Android system.\"");
        QTest::mouseClick(button("send"), Qt::LeftButton);
        QList<QJsonObject> modem;
        QCOMPARE(commands(&modem).size(), 1);
        QVERIFY(modem.isEmpty());

        QVERIFY(device.ok(QStringLiteral("refuse request")) && device.ok(QStringLiteral("close request")));
        QTest::ignoreMessage(QtCriticalMsg, "\"Network error: device unreachable.\"");
        QTest::mouseClick(button("call"), Qt::LeftButton);
        QCOMPARE(number()->text(), QStringLiteral("5551234"));
        QCOMPARE(message()->toPlainText(), QStringLiteral("hello"));
        QVERIFY(device.ok(QStringLiteral("accept request")));
        QTest::mouseClick(button("call"), Qt::LeftButton);
        QCOMPARE(commands().last(), QStringLiteral("gsm call 5551234\n"));
    }

    void screenshotShowsEnglish()
    {
        QTest::qWait(200);
        const QImage shot = QGuiApplication::primaryScreen()->grabWindow(panel->winId()).toImage();
        QVERIFY(!shot.isNull());
        shot.save(QStringLiteral(CALDERWICK_TEST_BIN_DIR "/baseband-panel.png"));
        QStringList texts{number()->placeholderText(), button("call")->text(), button("send")->text()};
        for (QLabel *label : panel->findChildren<QLabel *>())
            if (label->isVisible())
                texts << label->text();
        for (const char *english : {"PHONE", "Phone number", "Message", "Call", "Send SMS", "Please enter the number"})
            QVERIFY2(texts.contains(QLatin1String(english)), qPrintable(texts.join(QLatin1Char('|'))));
        QVERIFY(texts.filter(QRegularExpression(QStringLiteral("^[a-z]+\\.[a-z.-]+$"))).isEmpty());
    }
};

int main(int argc, char *argv[])
{
    // The render library draws into the player's window from its own threads.
    XInitThreads();
    TestEnvironment::isolateHome();
    QApplication app(argc, argv);
    TestWidgetBaseband tc;
    return QTest::qExec(&tc, argc, argv);
}

#include "tst_widgetbaseband.moc"
