#include "controlchannel.h"
#include "devicestate.h"
#include "devicetestsupport.h"
#include "logreader.h"
#include "testenvironment.h"

using Calderwick::Parameter;

class TestParameterOperations : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<LogReader> log;
    std::unique_ptr<DeviceFixture> device;
    EventManager *manager = nullptr;

    QString control(const QString &command)
    {
        ControlChannel channel(device->simulator.get());
        return channel.execute(command);
    }

    QVariant deviceValue(Parameter::Type parameter)
    {
        return device->simulator->state()->value(parameter);
    }

private slots:
    void initTestCase()
    {
        log = std::make_unique<LogReader>();
        device = std::make_unique<DeviceFixture>(TestEnvironment::loopback(1));
        QVERIFY(device->started);
        manager = device->manager.get();
        manager->deviceClient()->setAddress(device->simulator->options().address, EventManager::RequestPort);
    }

    void cleanupTestCase() { device.reset(); }
    void init() { log->clear(); }

    void batteryLevelRange_data()
    {
        QTest::addColumn<int>("level");
        QTest::addColumn<bool>("sent");
        QTest::newRow("-1") << -1 << false;
        QTest::newRow("0") << 0 << true;
        QTest::newRow("100") << 100 << true;
        QTest::newRow("101") << 101 << false;
    }

    void batteryLevelRange()
    {
        QFETCH(int, level);
        QFETCH(bool, sent);
        const int before = device->requests().size();
        QCOMPARE(manager->batterySetLevel(level), sent);
        QCOMPARE(device->requests().size() - before, sent ? 1 : 0);
        QCOMPARE(log->contains(QStringLiteral("[Debug] Battery level must be a number between 0 and 100")), !sent);
        if (sent) {
            QCOMPARE(deviceValue(Parameter::BatteryLevel).toInt(), level);
            QVERIFY(log->contains(QStringLiteral("[Debug] Battery level set to: %1%").arg(level)));
            QCOMPARE(manager->batteryGetLevel(), level);
        }
    }

    void batteryNoticeCountsAsSuccess()
    {
        control(QStringLiteral("reply-next OkWithInformation kept for manual mode"));
        QVERIFY(manager->batterySetLevel(40));
        QVERIFY(log->contains(QStringLiteral("[Debug] Battery set level to: 40%")));
        QVERIFY(log->contains(QStringLiteral("[Debug] Battery set level: kept for manual mode")));
        control(QStringLiteral("reply-next OkWithInformation not here"));
        QVERIFY(!manager->setNetworkUpRate(10));
        QVERIFY(log->contains(QStringLiteral("[Error] \"Unknown error. Result code: 7\"")));
    }

    void batteryModeAndStatus()
    {
        QVERIFY(manager->batterySetMode(true));
        QVERIFY(manager->batteryGetMode());
        QVERIFY(log->contains(QStringLiteral("[Debug] Battery get mode: manual")));
        QVERIFY(manager->batterySetStatus(QStringLiteral("Not charging")));
        QCOMPARE(manager->batteryGetStatus(), QStringLiteral("Notcharging"));
    }

    void deviceIdStandsForNone()
    {
        QVERIFY(manager->setDeviceId(QString()));
        QCOMPARE(deviceValue(Parameter::DeviceId).toString(), QStringLiteral("[none]"));
        QCOMPARE(manager->getDeviceId(), QString());
        QVERIFY(manager->setAndroidId(QStringLiteral("[none]")));
        QCOMPARE(manager->getAndroidId(), QStringLiteral("[none]"));
    }

    void gpsValues()
    {
        QVERIFY(manager->gpsSetStatus(true));
        QVERIFY(manager->gpsSetLatitude(-33.865143));
        QVERIFY(manager->gpsSetLongitude(151.2099));
        QVERIFY(manager->gpsSetAltitude(58));
        QVERIFY(manager->gpsSetAccuracy(3.5));
        QVERIFY(manager->gpsSetBearing(270));
        GpsInfo info;
        QVERIFY(manager->gpsGetAll(info));
        QVERIFY(info.reception);
        QCOMPARE(info.latitude, -33.865143);
        QCOMPARE(info.longitude, 151.2099);
        QCOMPARE(info.altitude, 58.0);
        QCOMPARE(info.accuracy, 3.5);
        QCOMPARE(info.bearing, 270.0);
        QVERIFY(log->contains(QStringLiteral("[Debug] Gps latitude set to: -33.865143")));
        const QStringList order = device->requests().mid(device->requests().size() - 6);
        QCOMPARE(order, (QStringList{"GetParam GpsStatus", "GetParam GpsLatitude", "GetParam GpsLongitude",
                                     "GetParam GpsAltitude", "GetParam GpsAccuracy", "GetParam GpsBearing"}));
    }

    void networkProfile()
    {
        QVERIFY(manager->setNetworkMode(7));
        QCOMPARE(manager->getNetworkMode(), 7);
        QCOMPARE(manager->getNetworkUpRate(), 5000);
        QCOMPARE(manager->getNetworkDownDelay(), 300);
        QCOMPARE(manager->getNetworkDownPktLoss(), 10.0f);
        QVERIFY(manager->setNetworkDnsDelay(1500));
        QCOMPARE(manager->getNetworkDnsDelay(), 1500);
        QVERIFY(manager->setNetworkDownRate(64));
        QCOMPARE(log->matching(QStringLiteral("Setting Network Up rate: 64")).size(), 1);
    }

    void baseband()
    {
        QVERIFY(manager->basebandCall(QStringLiteral("5551234")));
        QCOMPARE(device->simulator->state()->lastBasebandCommand(), QStringLiteral("gsm call 5551234"));
        QVERIFY(manager->basebandSendSms(QStringLiteral("555"), QStringLiteral("hi")));
        QCOMPARE(device->simulator->state()->lastBasebandCommand(), QStringLiteral("sms sendb64 555 aGk="));
    }

    void failureValues()
    {
        control(QStringLiteral("refuse request"));
        QCOMPARE(manager->batteryGetLevel(), -1);
        QCOMPARE(manager->getNetworkMode(), -1);
        QCOMPARE(manager->getNetworkUpPktLoss(), -1.0f);
        QCOMPARE(manager->getNetworkDownPktLoss(), -1.0f);
        QCOMPARE(manager->batteryGetStatus(), QString());
        QVERIFY(manager->batteryGetStatus().isNull());
        QVERIFY(!manager->batterySetMode(true));
        GpsInfo info;
        QVERIFY(!manager->gpsGetAll(info));
        QVERIFY(log->contains(QStringLiteral("[Error] \"Network error: device unreachable.\"")));
        control(QStringLiteral("accept request"));
    }
};

CALDERWICK_TEST_GUI_MAIN(TestParameterOperations)
#include "tst_parameteroperations.moc"
