// The store of simulated machines, in the process ("devicesim create" is in tst_devicesimprogram).

#include "machinestore.h"
#include "processidentity.h"
#include "testenvironment.h"

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

#include <QFile>
#include <QtTest>

class TestMachineStore : public QObject
{
    Q_OBJECT

private slots:
    void createSaveAndLoad()
    {
        QTemporaryDir home;
        MachineStore store(home.path());
        SimulatedMachine created;
        QString error;
        QVERIFY2(store.create("Pixel", 1080, 1920, 420, QString(), &created, &error), qPrintable(error));
        QCOMPARE(created.address, QString("127.0.0.100"));
        QCOMPARE(created.vmState, QString("poweroff"));
        QCOMPARE(created.nics[0], QString("hostonly"));
        QCOMPARE(created.hostOnlyAdapters[0], QString("vboxnet0"));
        QCOMPARE(created.guestProperties.value("/Calderwick/Resolution"), QString("1080x1920"));
        QCOMPARE(created.guestProperties.value("/Calderwick/Dpi"), QString("420"));
        QVERIFY(QDir(created.logDirectory()).exists());

        SimulatedMachine loaded;
        QVERIFY(store.load("Pixel", &loaded));
        QCOMPARE(loaded.uuid, created.uuid);
        QCOMPARE(loaded.width, 1080);
        QCOMPARE(loaded.guestProperties, created.guestProperties);
        // By UUID too, in any case and with braces.
        SimulatedMachine byUuid;
        QVERIFY(store.load("{" + created.uuid.toUpper() + "}", &byUuid));
        QCOMPARE(byUuid.name, QString("Pixel"));

        loaded.vmState = "running";
        loaded.pid = 4242;
        loaded.guestProperties.insert("/Calderwick/Note", "with \"quotes\"\nand lines");
        QVERIFY(store.save(loaded));
        SimulatedMachine again;
        QVERIFY(store.load(created.uuid, &again));
        QCOMPARE(again.vmState, QString("running"));
        QCOMPARE(again.pid, qint64(4242));
        QCOMPARE(again.guestProperties.value("/Calderwick/Note"), QString("with \"quotes\"\nand lines"));
        QCOMPARE(store.machineNames(), QStringList{"Pixel"});
        QVERIFY(!store.load("Other", &again));
    }

    void addressesAreOnePerMachine()
    {
        QTemporaryDir home;
        MachineStore store(home.path());
        SimulatedMachine machine;
        QString error;
        QVERIFY(store.create("A", 720, 1280, 320, "127.0.0.101", &machine, &error));
        QVERIFY(store.create("B", 720, 1280, 320, QString(), &machine, &error));
        QCOMPARE(machine.address, QString("127.0.0.100"));
        QVERIFY(store.create("C", 720, 1280, 320, QString(), &machine, &error));
        QCOMPARE(machine.address, QString("127.0.0.102"));
        QVERIFY(!store.create("D", 720, 1280, 320, "127.0.0.102", &machine, &error));
        QVERIFY(error.contains("another machine has the address 127.0.0.102"));
        QVERIFY(!store.create("E", 720, 1280, 320, "10.0.0.1", &machine, &error));
        QVERIFY(!store.create("A", 720, 1280, 320, QString(), &machine, &error));
        QVERIFY(error.contains("exists already"));
    }

    void unusableNames_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("empty") << "";
        QTest::newRow("separator") << "a/b";
        QTest::newRow("parent") << "..";
        QTest::newRow("hidden") << ".x";
        QTest::newRow("control") << "a\nb";
    }

    void unusableNames()
    {
        QFETCH(QString, name);
        QTemporaryDir home;
        MachineStore store(home.path());
        QString error;
        QVERIFY(!store.create(name, 720, 1280, 320, QString(), nullptr, &error));
        QVERIFY(!error.isEmpty());
    }

    void faults()
    {
        QTemporaryDir home;
        MachineStore store(home.path());
        SimulatedMachine machine;
        QString error;
        QVERIFY(store.create("F", 720, 1280, 320, QString(), &machine, &error));
        QVERIFY(machine.faults().isEmpty());
        QFile file(machine.directory + "/faults");
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("# comment\n\n  no-ip  \nstate paused\nip-delay 1500\n");
        file.close();
        QCOMPARE(machine.faults(), (QStringList{"no-ip", "state paused", "ip-delay 1500"}));
        QVERIFY(machine.hasFault("no-ip"));
        QVERIFY(!machine.hasFault("no"));
        QCOMPARE(machine.faultArgument("state"), QString("paused"));
        QCOMPARE(machine.faultArgument("hang"), QString());
    }

    void corruptMachineFileIsNoMachine()
    {
        QTemporaryDir home;
        QDir().mkpath(home.filePath("machines/Broken"));
        QFile file(home.filePath("machines/Broken/machine.json"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("{ not json");
        file.close();
        SimulatedMachine machine;
        QVERIFY(!MachineStore(home.path()).load("Broken", &machine));
    }

    // A devicesim started a moment ago may not have replaced the forked stand-in by exec yet,
    // so its command line is still the parent's: it is recognised by its start instead.
    void processIdentityHoldsFromTheFork()
    {
        const pid_t child = ::fork();
        if (child == 0) {
            ::pause();
            ::_exit(0);
        }
        QVERIFY(child > 0);
        const ProcessIdentity process = ProcessIdentity::of(child);
        const bool running = process.isRunning();
        const bool successor = ProcessIdentity(child, process.startTicks() + 1).isRunning();
        ::kill(child, SIGKILL);
        QTRY_VERIFY(!process.isRunning()); // a zombie has ended
        ::waitpid(child, nullptr, 0);
        QVERIFY(running);
        QVERIFY(!successor);
        QVERIFY(!ProcessIdentity::of(child).isValid());

        char state = 0;
        quint64 ticks = 0;
        QVERIFY(ProcessIdentity::parseStat("42 (a) b (c) R 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 777 19 20\n",
                                           &state, &ticks));
        QCOMPARE(state, 'R');
        QCOMPARE(ticks, quint64(777));
        QVERIFY(!ProcessIdentity::parseStat("42 (short) S 1 2 3", &state, &ticks));
    }
};

CALDERWICK_TEST_MAIN(TestMachineStore)
#include "tst_machinestore.moc"
