// Capability parsing and the reason masks that gate the toolbar buttons.
#include "capabilities.h"

#include <QtTest>

class TestCapabilities : public QObject
{
    Q_OBJECT

private slots:
    void rejects_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("array") << QStringLiteral("[\"battery\", \"gps\"]");
        QTest::newRow("syntax error") << QStringLiteral("{\"battery\": \"on\",");
        QTest::newRow("empty") << QString();
        QTest::newRow("statement") << QStringLiteral("1); x = (2");
        // The device writes this text: a script in it must neither run nor hang the player.
        QTest::newRow("computed value") << QStringLiteral("{\"battery\": String.fromCharCode(111, 110)}");
        QTest::newRow("endless loop") << QStringLiteral("{\"battery\": (function () { for (;;) {} })()}");
    }

    void rejects()
    {
        QFETCH(QString, text);
        QVariantMap map{{QStringLiteral("kept"), QStringLiteral("on")}};
        QTest::ignoreMessage(QtCriticalMsg, "Bad capabilities format");
        QVERIFY(!parseCapabilities(text, map));
        // A failed parse leaves what the caller had.
        QCOMPARE(map, (QVariantMap{{QStringLiteral("kept"), QStringLiteral("on")}}));
    }

    void enabled_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("expected");
        QTest::newRow("on") << QStringLiteral("{\"gps\": \"on\", \"battery\": \"off\"}") << true;
        QTest::newRow("padded upper") << QStringLiteral("{\"gps\": \" ON \"}") << true;
        QTest::newRow("off") << QStringLiteral("{\"gps\": \"off\"}") << false;
        QTest::newRow("missing") << QStringLiteral("{\"battery\": \"on\"}") << false;
        QTest::newRow("empty object") << QStringLiteral("{}") << false;
        QTest::newRow("onward") << QStringLiteral("{\"gps\": \"onward\"}") << false;
        QTest::newRow("other case key") << QStringLiteral("{\"GPS\": \"on\"}") << false;
    }

    void enabled()
    {
        QFETCH(QString, text);
        QFETCH(bool, expected);
        QVariantMap map;
        QVERIFY(parseCapabilities(text, map));
        QTest::ignoreMessage(QtDebugMsg, expected ? "\"gps\" : capability is: on"
                                                  : "\"gps\" : capability not found on system");
        QCOMPARE(capabilityEnabled(QStringLiteral("gps"), map), expected);
    }

    void reasons_data()
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

    void reasons()
    {
        QFETCH(quint32, mask);
        QFETCH(quint32, possible);
        QFETCH(quint32, reason);
        QFETCH(quint32, added);
        QFETCH(quint32, removed);
        QCOMPARE(withDisabledReason(mask, possible, reason), added);
        QCOMPARE(withoutDisabledReason(mask, reason), removed);
    }
};

QTEST_GUILESS_MAIN(TestCapabilities)
#include "tst_capabilities.moc"
