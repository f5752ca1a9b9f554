// The simulated modem takes a call or a text message only as a real one would: a number of
// 1 to 20 digits after an optional "+", a text that is strict Base64 of 1 to 2048 bytes of UTF-8.

#include "modemcommand.h"

#include <QtTest>

class TestModemCommand : public QObject
{
    Q_OBJECT

private slots:
    void parse_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<int>("kind"); // 0 refused, 1 call, 2 message
        QTest::addColumn<QString>("number");
        QTest::addColumn<QString>("text");
        const QString limit(1024, QChar(0xe9));
        const QString base64 = QString::fromLatin1(limit.toUtf8().toBase64());
        QTest::newRow("call") << "gsm call +33612345678" << 1 << "+33612345678" << "";
        QTest::newRow("call, 20 digits") << "gsm call 12345678901234567890" << 1 << "12345678901234567890" << "";
        QTest::newRow("sms with a line break") << "sms sendb64 555 aMOpCnk=" << 2 << "555" << QString::fromUtf8("h\u00e9\ny");
        QTest::newRow("sms at the limit") << "sms sendb64 555 " + base64 << 2 << "555" << limit;
        QTest::newRow("sms past the limit") << "sms sendb64 555 " + QString::fromLatin1((limit + "x").toUtf8().toBase64()) << 0 << "" << "";
        QTest::newRow("plus alone") << "gsm call +" << 0 << "" << "";
        QTest::newRow("21 digits") << "gsm call 123456789012345678901" << 0 << "" << "";
        QTest::newRow("letters") << "gsm call 555abc" << 0 << "" << "";
        QTest::newRow("no number") << "gsm call" << 0 << "" << "";
        QTest::newRow("two spaces") << "gsm call  555" << 0 << "" << "";
        QTest::newRow("empty sms") << "sms sendb64 555 " << 0 << "" << "";
        QTest::newRow("sms of nothing") << "sms sendb64 555 ====" << 0 << "" << "";
        QTest::newRow("not base64") << "sms sendb64 555 aGk*" << 0 << "" << "";
        QTest::newRow("padding inside") << "sms sendb64 555 aG=k" << 0 << "" << "";
        QTest::newRow("not utf-8") << "sms sendb64 555 /w==" << 0 << "" << "";
        QTest::newRow("unknown") << "gsm cancel 555" << 0 << "" << "";
        QTest::newRow("too long") << "gsm call " + QString(5000, QLatin1Char('1')) << 0 << "" << "";
    }

    void parse()
    {
        QFETCH(QString, line);
        QFETCH(int, kind);
        const ModemCommand command = ModemCommand::parse(line);
        QCOMPARE(int(command.kind()), kind);
        QCOMPARE(command.reason().isEmpty(), kind != 0);
        if (kind != 0) {
            QTEST(command.number(), "number");
            QTEST(command.text(), "text");
        }
    }
};

QTEST_GUILESS_MAIN(TestModemCommand)
#include "tst_modemcommand.moc"
