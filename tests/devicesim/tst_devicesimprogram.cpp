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

    // What the program says on both channels for these arguments.
    QString run(const QStringList &arguments)
    {
        QProcess process;
        process.start(program, arguments);
        process.waitForFinished(5000);
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
