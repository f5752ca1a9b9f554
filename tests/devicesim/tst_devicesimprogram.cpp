#include "commandline.h"
#include "machinestore.h"
#include "testenvironment.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QTcpSocket>

// The devicesim program as tests and demonstrations start it.
class TestDevicesimProgram : public QObject
{
    Q_OBJECT

private:
    const QString program = QStringLiteral(CALDERWICK_BIN_DIR "/devicesim");

    // What the program says on both channels for these arguments, with its exit code; with
    // home, its machines live there.
    QString run(const QStringList &arguments, int *exitCode = nullptr, const QString &home = QString())
    {
        QProcess process;
        if (!home.isEmpty()) {
            QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
            environment.insert(QStringLiteral("DEVICESIM_HOME"), home);
            process.setProcessEnvironment(environment);
        }
        process.start(program, arguments);
        const bool finished = process.waitForFinished(10000);
        if (exitCode)
            *exitCode = finished ? process.exitCode() : -1;
        return QString::fromUtf8(process.readAllStandardOutput() + process.readAllStandardError());
    }

private slots:
    void answersOnAllPortsWithinASecond()
    {
        const QString address = TestEnvironment::loopback(20);
        QProcess process;
        QElapsedTimer clock;
        clock.start();
        process.start(program, {QStringLiteral("--address"), address, QStringLiteral("--size"),
                                QStringLiteral("720x1280"), QStringLiteral("--dpi"), QStringLiteral("320")});
        QVERIFY(process.waitForStarted());
        QByteArray output;
        QTRY_VERIFY_WITH_TIMEOUT((output += process.readAllStandardOutput()).contains("devicesim ready on " + address.toLatin1()),
                                 1000);
        for (quint16 port : {22469, 22666, 22471}) {
            QTcpSocket socket;
            socket.connectToHost(address, port);
            QVERIFY2(socket.waitForConnected(1000), qPrintable(QString::number(port)));
        }
        QVERIFY(clock.elapsed() < 1000);

        process.write("ping\n");
        QVERIFY(process.waitForReadyRead(2000));
        QCOMPARE(process.readLine(), QByteArray("ok pong\n"));
        process.write("quit\n");
        QVERIFY(process.waitForFinished(2000));
        QCOMPARE(process.exitCode(), 0);
    }

    // The help texts list what the parsers accept: every option and sub-command of the
    // program, and every option of "create" in its help and its usage line.
    void helpListsEveryCommandAndOption()
    {
        const QString help = run({QStringLiteral("--help")});
        for (const QCommandLineOption &option : CommandLine::options())
            QVERIFY2(help.contains(QStringLiteral("--") + option.names().first()), qPrintable(help));
        for (const auto &command : CommandLine::commands())
            QVERIFY2(help.contains(QRegularExpression(QStringLiteral("\\n\\s+%1\\s").arg(command.first))), qPrintable(help));
        const QString createHelp = run({QStringLiteral("create"), QStringLiteral("--help")});
        const QString usage = run({QStringLiteral("create")});
        QVERIFY2(usage.contains(QLatin1String("usage: devicesim create NAME")), qPrintable(usage));
        for (const QCommandLineOption &option : MachineStore::createOptions()) {
            const QString name = QStringLiteral("--") + option.names().first();
            QVERIFY2(createHelp.contains(name), qPrintable(createHelp));
            QVERIFY2(usage.contains(name), qPrintable(usage));
        }
    }

    void createCommand_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("output");
        QTest::newRow("created") << QStringList{"Tab", "--size", "800x1280", "--dpi", "213", "--address",
                                                TestEnvironment::loopback(73)} << 0
                                 << "Machine \"Tab\" created: uuid ";
        QTest::newRow("bad size") << QStringList{"Tab", "--size", "800"} << 2 << "--size takes WIDTHxHEIGHT";
        QTest::newRow("tiny size") << QStringList{"Tab", "--size", "10x10"} << 2 << "--size takes WIDTHxHEIGHT";
        QTest::newRow("bad dpi") << QStringList{"Tab", "--dpi", "x"} << 2 << "--dpi takes a density";
        QTest::newRow("bad cpus") << QStringList{"Tab", "--cpus", "0"} << 2 << "--cpus takes 1 to 64";
        QTest::newRow("bad address") << QStringList{"Tab", "--address", "192.168.1.1"} << 1
                                     << "--address takes a loopback address";
    }

    void createCommand()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, exitCode);
        QFETCH(QString, output);
        QTemporaryDir home;
        int code = 0;
        const QString said = run(QStringList{"create"} + arguments, &code, home.path());
        QCOMPARE(code, exitCode);
        QVERIFY2(said.contains(output), qPrintable(said));
    }

    void createCommandKeepsProcessorsAndRefusesTwins()
    {
        QTemporaryDir home;
        int code = -1;
        run({"create", "Quad", "--cpus", "4", "--address", TestEnvironment::loopback(74)}, &code, home.path());
        QCOMPARE(code, 0);
        SimulatedMachine machine;
        QVERIFY(MachineStore(home.path()).load("Quad", &machine));
        QCOMPARE(machine.cpus, 4);
        QCOMPARE(machine.address, TestEnvironment::loopback(74));
        QVERIFY(run({"create", "Quad"}, &code, home.path()).contains("exists already"));
        QCOMPARE(code, 1);
    }

    void refusesBadArguments_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("not loopback") << QStringList{QStringLiteral("--address"), QStringLiteral("10.0.0.1")};
        QTest::newRow("size") << QStringList{QStringLiteral("--size"), QStringLiteral("720")};
        QTest::newRow("dpi") << QStringList{QStringLiteral("--dpi"), QStringLiteral("x")};
    }

    void refusesBadArguments()
    {
        QFETCH(QStringList, arguments);
        QProcess process;
        process.start(program, arguments);
        QVERIFY(process.waitForFinished(3000));
        QCOMPARE(process.exitCode(), 2);
        QVERIFY(process.readAllStandardError().contains("devicesim: --"));
    }
};

CALDERWICK_TEST_MAIN(TestDevicesimProgram)
#include "tst_devicesimprogram.moc"
