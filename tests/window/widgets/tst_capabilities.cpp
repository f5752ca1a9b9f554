// Capability parsing and the reason masks that gate the toolbar buttons.
#include "capabilities.h"

#include <QtTest>

class TestCapabilities : public QObject
{
    Q_OBJECT

private slots:
    void parsesObject();
    void rejects_data();
    void rejects();
    void enabled_data();
    void enabled();
    void emptyObjectDisablesAll();
    void reasons_data();
    void reasons();
};

void TestCapabilities::parsesObject()
{
    QVariantMap map;
    QVERIFY(parseCapabilities(QStringLiteral("{\"battery\": \"on\", \"gps\": \"off\", \"camera\": \" ON \"}"), map));
    QCOMPARE(map.size(), 3);
    QCOMPARE(map.value(QStringLiteral("battery")).toString(), QStringLiteral("on"));
    QCOMPARE(map.value(QStringLiteral("camera")).toString(), QStringLiteral(" ON "));
}

void TestCapabilities::rejects_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("array") << QStringLiteral("[\"battery\", \"gps\"]");
    QTest::newRow("syntax error") << QStringLiteral("{\"battery\": \"on\",");
    QTest::newRow("number") << QStringLiteral("42");
    QTest::newRow("string") << QStringLiteral("\"on\"");
    QTest::newRow("empty") << QString();
    QTest::newRow("garbage") << QStringLiteral("}{");
    QTest::newRow("statement") << QStringLiteral("1); x = (2");
    // The device writes this text: a script in it must neither run nor hang the player.
    QTest::newRow("computed value") << QStringLiteral("{\"battery\": String.fromCharCode(111, 110)}");
    QTest::newRow("endless loop") << QStringLiteral("{\"battery\": (function () { for (;;) {} })()}");
}

void TestCapabilities::rejects()
{
    QFETCH(QString, text);
    QVariantMap map{{QStringLiteral("kept"), QStringLiteral("on")}};
    QTest::ignoreMessage(QtCriticalMsg, "Bad capabilities format");
    QVERIFY(!parseCapabilities(text, map));
    // A failed parse leaves what the caller had.
    QCOMPARE(map.size(), 1);
    QVERIFY(map.contains(QStringLiteral("kept")));
}

void TestCapabilities::enabled_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("expected");
    QTest::addColumn<QString>("log");
    QTest::newRow("on") << QStringLiteral("{\"gps\": \"on\"}") << true << QStringLiteral("\"gps\" : capability is: on");
    QTest::newRow("padded upper") << QStringLiteral("{\"gps\": \" ON \"}") << true
                                  << QStringLiteral("\"gps\" : capability is: on");
    QTest::newRow("off") << QStringLiteral("{\"gps\": \"off\"}") << false
                         << QStringLiteral("\"gps\" : capability not found on system");
    QTest::newRow("missing") << QStringLiteral("{\"battery\": \"on\"}") << false
                             << QStringLiteral("\"gps\" : capability not found on system");
    QTest::newRow("onward") << QStringLiteral("{\"gps\": \"onward\"}") << false
                            << QStringLiteral("\"gps\" : capability not found on system");
    QTest::newRow("other case key") << QStringLiteral("{\"GPS\": \"on\"}") << false
                                    << QStringLiteral("\"gps\" : capability not found on system");
}

void TestCapabilities::enabled()
{
    QFETCH(QString, text);
    QFETCH(bool, expected);
    QFETCH(QString, log);
    QVariantMap map;
    QVERIFY(parseCapabilities(text, map));
    QTest::ignoreMessage(QtDebugMsg, qPrintable(log));
    QCOMPARE(capabilityEnabled(QStringLiteral("gps"), map), expected);
}

void TestCapabilities::emptyObjectDisablesAll()
{
    QVariantMap map;
    QVERIFY(parseCapabilities(QStringLiteral("{}"), map));
    QVERIFY(map.isEmpty());
    for (const char *name : {"accelerometer", "battery", "gps", "screencast", "remotectl", "camera", "deviceid",
                             "baseband", "network"}) {
        QTest::ignoreMessage(QtDebugMsg,
                             qPrintable(QStringLiteral("\"%1\" : capability not found on system").arg(name)));
        QVERIFY(!capabilityEnabled(QString::fromLatin1(name), map));
    }
}

void TestCapabilities::reasons_data()
{
    QTest::addColumn<quint32>("mask");
    QTest::addColumn<quint32>("possible");
    QTest::addColumn<quint32>("reason");
    QTest::addColumn<quint32>("added");
    QTest::addColumn<quint32>("removed");
    const quint32 cap = DisabledReason::Capability;
    QTest::newRow("add allowed") << 0u << cap << cap << cap << 0u;
    QTest::newRow("add not allowed") << 0u << 0u << cap << 0u << 0u;
    QTest::newRow("add twice") << cap << cap << cap << cap << 0u;
    QTest::newRow("partly allowed") << 0u << 1u << 3u << 0u << 0u;
    QTest::newRow("remove keeps others") << 5u << 7u << 4u << 5u << 1u;
    QTest::newRow("remove absent") << 2u << 3u << 1u << 3u << 2u;
}

void TestCapabilities::reasons()
{
    QFETCH(quint32, mask);
    QFETCH(quint32, possible);
    QFETCH(quint32, reason);
    QFETCH(quint32, added);
    QFETCH(quint32, removed);
    QCOMPARE(withDisabledReason(mask, possible, reason), added);
    QCOMPARE(withoutDisabledReason(mask, reason), removed);
}

QTEST_GUILESS_MAIN(TestCapabilities)
#include "tst_capabilities.moc"
