#include "controlchannel.h"
#include "devicestate.h"
#include "devicetestsupport.h"
#include "logreader.h"
#include "playeroptions.h"
#include "requestserver.h"
#include "sensormanager.h"
#include "testenvironment.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QKeyEvent>

class TestEventManager : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<LogReader> log;
    std::unique_ptr<DeviceFixture> device;
    int nextAddress = 1;

    QString control(const QString &command)
    {
        ControlChannel channel(device->simulator.get());
        return channel.execute(command);
    }

private slots:
    void initTestCase()
    {
        log = std::make_unique<LogReader>();
        Global::noPopup = true;
    }

    void init()
    {
        log->clear();
        // A fresh address each time, so that no connection of one test reaches the next.
        device = std::make_unique<DeviceFixture>(TestEnvironment::loopback(nextAddress++));
        QVERIFY(device->started);
    }

    void cleanup() { device.reset(); }

    void pointerLinesAndCapabilities()
    {
        QSignalSpy started(device->manager.get(), &EventManager::started);
        QVERIFY(device->connect());
        QCOMPARE(device->eventLines().first(), QStringLiteral("CONFIG:360:640"));
        QCOMPARE(started.size(), 1);
        QVERIFY(device->manager->isEventChannelOpen());
        QVERIFY(device->manager->sensorManager());

        EventManager *manager = device->manager.get();
        device->host.rotation = 90.7f;
        manager->mouseMoveEvent(-3, 12);
        manager->mousePressEvent(10, 20);
        manager->mouseReleaseEvent(11, 21);
        manager->multitouchPressEvent(5, 6, 2);
        manager->multitouchReleaseEvent(5, 6);
        manager->wheelEvent(1, 2, 0);
        manager->wheelEvent(1, 2, 120);
        manager->wheelEvent(1, 2, -120);
        manager->sendEvent("MULTI:0:1:3:4\n");
        QCOMPARE(device->newLines(),
                 (QStringList{"MOUSE:-3:12", "MSBPR:10:20", "MSBRL:11:21", "MSMTPR:5:6:90:2", "MSMTRL:5:6",
                              "WHEEL:1:2:-1:0", "WHEEL:1:2:1:0", "WHEEL:1:2:-1:0", "MULTI:0:1:3:4"}));
        QVERIFY(log->contains(QStringLiteral("[Debug] Events Manager connecting to %1:22469")
                                  .arg(TestEnvironment::loopback(nextAddress - 1))));
        QVERIFY(log->contains(QStringLiteral("[Debug] Events Manager connected")));

        QSignalSpy capabilities(manager, &EventManager::capabilitiesChanged);
        manager->requestCapabilities();
        QCOMPARE(capabilities.size(), 1);
        QVERIFY(capabilities.first().at(0).toString().contains(QStringLiteral("\"battery\" : \"on\"")));
        QVERIFY(log->contains(QStringLiteral("[Debug] Got ok from capabilities request")));
    }

    void addressFailures()
    {
        QSignalSpy errors(device->manager.get(), &EventManager::error);
        device->manager->setDeviceAddress(QStringLiteral("not an address"));
        QCOMPARE(errors.takeFirst().at(0).toString(), QStringLiteral("Virtual device has no IP address"));

        device->manager->setAddressSink([](const QByteArray &) { return 1; });
        device->manager->setDeviceAddress(device->simulator->options().address.toString());
        QCOMPARE(errors.takeFirst().at(0).toString(), QStringLiteral("Unable to set IP address"));
        QVERIFY(log->contains(QStringLiteral("[Error] Unable to set IP address")));
        QVERIFY(!device->manager->isEventChannelOpen());
    }

    // A device that closes is reconnected; one that also refuses leaves the channel closed,
    // pointer events dropped and keys passed on.
    void reconnectsThenDropsWhileClosed()
    {
        QSignalSpy started(device->manager.get(), &EventManager::started);
        QVERIFY(device->connect());
        control(QStringLiteral("close event"));
        QTRY_COMPARE(started.size(), 2);
        QTRY_COMPARE(device->eventLines().count(QStringLiteral("CONFIG:360:640")), 2);
        device->manager->mousePressEvent(1, 1);
        QCOMPARE(device->newLines(), (QStringList{"CONFIG:360:640", "MSBPR:1:1"}));

        device->manager->setRetryDelay(60000);
        control(QStringLiteral("refuse event"));
        control(QStringLiteral("close event"));
        QTRY_VERIFY(!device->manager->isEventChannelOpen());
        const int before = device->eventLines().size();
        device->manager->mousePressEvent(2, 2);
        QKeyEvent key(QEvent::KeyPress, Qt::Key_Back, Qt::NoModifier);
        key.accept();
        device->manager->keyPressEvent(&key);
        QVERIFY(!key.isAccepted());
        QCOMPARE(device->eventLines().size(), before);
    }

    void capabilitiesFallBackAfterTenAttempts()
    {
        QVERIFY(device->connect());
        control(QStringLiteral("caps-fail 11"));
        QSignalSpy spy(device->manager.get(), &EventManager::capabilitiesChanged);
        device->manager->requestCapabilities();
        QCOMPARE(spy.size(), 1);
        QCOMPARE(spy.first().at(0).toString(), QStringLiteral("{}"));
        QCOMPARE(device->requests().count(QStringLiteral("GetParam Capabilities")), 10);
        QCOMPARE(log->matching(QStringLiteral("Timeout waiting for capabilities. Will retry.")).size(), 10);
        // The host clipboard goes to the device once at the end.
        QCOMPARE(device->requests().last(), QStringLiteral("SetParam Clipboard"));
    }

    void hostClipboardReachesDevice()
    {
        QVERIFY(device->connect());
        QGuiApplication::clipboard()->setText(QStringLiteral("from host \u00e9"));
        QTRY_COMPARE(device->simulator->state()->value(Calderwick::Parameter::Clipboard).toString(),
                     QStringLiteral("from host \u00e9"));
        QVERIFY(log->contains(QStringLiteral("[Debug] Signaling clipboard modification")));
    }

    void devicePushesReachClipboardAndSink()
    {
        qint64 calls = 0;
        device->manager->setApiCallsSink([&calls](qint64 count) { calls += count; });
        QVERIFY(device->connect());
        device->manager->deviceClient()->setPersistent(true);
        QVERIFY(device->manager->pingDevice());
        const int before = device->requests().size();
        QSignalSpy changed(QGuiApplication::clipboard(), &QClipboard::changed);
        QCOMPARE(control(QStringLiteral("push-clipboard from device")), QStringLiteral("ok"));
        QVERIFY(changed.wait(2000));
        QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("from device"));
        QVERIFY(log->contains(QStringLiteral("[Debug] Receive request from device")));
        // A round trip after the push: had the text gone back, it would be before this ping.
        QVERIFY(device->manager->pingDevice());
        QCOMPARE(device->requests().mid(before), QStringList{QStringLiteral("Ping ")});
        // One at a time: two bare messages in one read would merge into one.
        control(QStringLiteral("push-api 7"));
        QTRY_COMPARE(calls, qint64(7));
        control(QStringLiteral("push-api 5"));
        QTRY_COMPARE(calls, qint64(12));
    }

    // The exit paths come last: once the exit routine ran, no local event loop of this
    // process runs again.
    void stoppedMachineShowsItsState()
    {
        TestMachine machine;
        machine.machineState = MachineState::Paused;
        device->host.machine = &machine;
        QVERIFY(device->connect());
        control(QStringLiteral("close event"));
        QTRY_VERIFY(log->contains(QStringLiteral("****  EXIT WITH ERROR  ****")));
        QVERIFY(log->contains(
            QStringLiteral("[Error] Events Manager: virtual machine switched to state: vbox.state.paused")));
        QVERIFY(log->contains(QStringLiteral("[Error] vbox.state.error")));
        QVERIFY(!log->contains(QStringLiteral("network.error")));
    }

    void shutDownChannelIgnoresTheMachineGoing()
    {
        // At the player's stop the machine is stopped and deleted while the window lives on.
        TestMachine machine;
        machine.machineState = MachineState::Off;
        device->host.machine = &machine;
        QVERIFY(device->connect());
        device->manager->shutdown();
        QVERIFY(!device->manager->isEventChannelOpen());
        device->host.machine = nullptr;
        control(QStringLiteral("close event"));
        QTest::qWait(100);
        QVERIFY(!log->contains(QStringLiteral("****  EXIT WITH ERROR  ****")));
        QVERIFY(log->matching(QStringLiteral("Events Manager connecting to")).size() <= 1);
    }


    void retriesThenGivesUp()
    {
        control(QStringLiteral("refuse event"));
        device->manager->setDeviceAddress(device->simulator->options().address.toString());
        QTRY_VERIFY(log->contains(QStringLiteral("****  EXIT WITH ERROR  ****")));
        QTest::qWait(50); // a retry still scheduled would show by now
        // Each refusal is reported twice, by the socket and by the wait; the second report of
        // the tenth attempt finds the retries used up, so the tenth retry never runs.
        QCOMPARE(log->matching(QStringLiteral("Events Manager connecting to")).size(), 10);
        QCOMPARE(log->matching(QStringLiteral("Events Manager: will retry connection")).size(), 10);
        QVERIFY(log->contains(QStringLiteral(
            "[Error] Events Manager: Unable to connect player to virtual machine: %1")
                                  .arg(device->simulator->options().address.toString())));
        QVERIFY(log->contains(QStringLiteral("network.error<br><br>error.more.information<a href='https://")));
    }
};

CALDERWICK_TEST_GUI_MAIN(TestEventManager)
#include "tst_eventmanager.moc"
