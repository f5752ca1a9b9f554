#include "sensormanager.h"
#include "testenvironment.h"

#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>

class TestSensorManager : public QObject
{
    Q_OBJECT

private slots:
    void recordBytes_data()
    {
        QTest::addColumn<double>("x");
        QTest::addColumn<double>("y");
        QTest::addColumn<double>("z");
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("turned") << 9.776218750101208 << 0.0 << 0.8134168366646887
                                << QByteArray::fromHex("0100000000000000" "1074448b6c8d2340"
                                                       "0000000000000000" "17b3efbe8207ea3f");
        QTest::newRow("negative") << -1.0 << 2.5 << 0.0
                                  << QByteArray::fromHex("0100000000000000" "000000000000f0bf"
                                                         "0000000000000440" "0000000000000000");
    }

    void recordBytes()
    {
        QFETCH(double, x);
        QFETCH(double, y);
        QFETCH(double, z);
        QFETCH(QByteArray, bytes);
        QCOMPARE(SensorManager::accelerometerRecord(x, y, z).toHex(), bytes.toHex());
    }

    void readingsReachTheDeviceBackToBack()
    {
        QTcpServer device;
        QVERIFY(device.listen(QHostAddress(QStringLiteral("127.0.7.1")), SensorManager::SensorPort));
        SensorManager manager(QStringLiteral("127.0.7.1"));
        // Before the connection is up, a reading is dropped.
        manager.sendAccelerometerValues(7, 7, 7);
        QVERIFY(device.waitForNewConnection(2000));
        QTcpSocket *peer = device.nextPendingConnection();
        QTRY_VERIFY(manager.isConnected());
        manager.sendAccelerometerValues(1, 2, 3);
        manager.sendAccelerometerValues(4, 5, 6);
        QTRY_COMPARE(peer->bytesAvailable(), qint64(64));
        QCOMPARE(peer->readAll(), SensorManager::accelerometerRecord(1, 2, 3) + SensorManager::accelerometerRecord(4, 5, 6));
    }

    void reconnectsAfterAnError()
    {
        SensorManager manager(QStringLiteral("127.0.7.2"));
        manager.setReconnectDelay(10);
        QTcpServer device;
        // The first attempt, made before anyone listens, fails; a later one gets through.
        QVERIFY(device.listen(QHostAddress(QStringLiteral("127.0.7.2")), SensorManager::SensorPort));
        QTRY_VERIFY(manager.isConnected());
        QVERIFY(device.hasPendingConnections());
    }
};

CALDERWICK_TEST_MAIN(TestSensorManager)
#include "tst_sensormanager.moc"
