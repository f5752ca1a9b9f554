#include "sensormanager.h"
#include "testenvironment.h"

#include <QTcpServer>
#include <QTcpSocket>

class TestSensorManager : public QObject
{
    Q_OBJECT

private slots:
    void recordBytes()
    {
        // Golden bytes: little-endian type 1, then x, y, z as doubles.
        QCOMPARE(SensorManager::accelerometerRecord(9.776218750101208, 0.0, 0.8134168366646887).toHex(),
                 QByteArray("0100000000000000" "1074448b6c8d2340" "0000000000000000" "17b3efbe8207ea3f"));
        QCOMPARE(SensorManager::accelerometerRecord(-1.0, 2.5, 0.0).toHex(),
                 QByteArray("0100000000000000" "000000000000f0bf" "0000000000000440" "0000000000000000"));
    }

    void readingsReachTheDeviceBackToBack()
    {
        const QString address = TestEnvironment::loopback(1);
        SensorManager manager(address);
        manager.setReconnectDelay(10);
        // Before anyone listens the first attempt fails and a reading is dropped; a later
        // attempt gets through.
        manager.sendAccelerometerValues(7, 7, 7);
        QTcpServer device;
        QVERIFY(device.listen(QHostAddress(address), SensorManager::SensorPort));
        QTRY_VERIFY(device.hasPendingConnections() && manager.isConnected());
        QTcpSocket *peer = device.nextPendingConnection();
        manager.sendAccelerometerValues(1, 2, 3);
        manager.sendAccelerometerValues(4, 5, 6);
        QTRY_COMPARE(peer->bytesAvailable(), qint64(64));
        QCOMPARE(peer->readAll(), SensorManager::accelerometerRecord(1, 2, 3) + SensorManager::accelerometerRecord(4, 5, 6));
    }

    void deviceThatStreamsBackIsNotBuffered()
    {
        const QString address = TestEnvironment::loopback(2);
        QTcpServer device;
        QVERIFY(device.listen(QHostAddress(address), SensorManager::SensorPort));
        SensorManager manager(address);
        QVERIFY(device.waitForNewConnection(2000));
        QTcpSocket *peer = device.nextPendingConnection();
        QTRY_VERIFY(manager.isConnected());
        const QByteArray chunk(64 * 1024, 'x');
        qint64 peak = 0;
        for (int i = 0; i < 200; ++i) { // 12.5 MB offered
            if (peer->bytesToWrite() < 4 * chunk.size())
                peer->write(chunk);
            QTest::qWait(2);
            peak = qMax(peak, manager.bufferedBytes());
        }
        QVERIFY2(peak <= 64 * 1024, qPrintable(QString::number(peak)));
        // The channel still works the other way.
        manager.sendAccelerometerValues(1, 2, 3);
        QTRY_COMPARE(peer->bytesAvailable(), qint64(SensorManager::RecordSize));
    }
};

CALDERWICK_TEST_MAIN(TestSensorManager)
#include "tst_sensormanager.moc"
