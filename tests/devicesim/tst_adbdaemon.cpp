#include "adbfixture.h"
#include "testenvironment.h"

#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtEndian>

// devicesim's adb daemon against Debian's real adb: a private adb server, devicesim as a
// program on this test's own loopback address, and the device's files compared byte for byte.
class TestAdbDaemon : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir dir;
    QProcess device;
    const QString address = TestEnvironment::loopback(5);
    const QString serial = address + QStringLiteral(":5555");
    QString adbPort;

    QString store(const QString &path = QString()) const { return dir.path() + QStringLiteral("/store") + path; }

    static quint16 freePort()
    {
        QTcpServer probe;
        return probe.listen(QHostAddress::LocalHost, 0) ? probe.serverPort() : 0;
    }

    QByteArray adb(const QStringList &arguments, bool withSerial = true)
    {
        QProcess process;
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(QStringLiteral("adb"), QStringList{"-P", adbPort} + (withSerial ? QStringList{"-s", serial} : QStringList()) + arguments);
        process.waitForFinished(120000);
        return process.readAll();
    }

    QList<QJsonObject> journal(const QString &event) const
    {
        return AdbFixture::journal(dir.path() + QStringLiteral("/journal.jsonl"), event);
    }

    static qint64 statusKiB(qint64 pid, const char *field)
    {
        QFile status(QStringLiteral("/proc/%1/status").arg(pid));
        status.open(QIODevice::ReadOnly);
        for (const QByteArray &line : status.readAll().split('\n')) {
            if (line.startsWith(field))
                return line.mid(qstrlen(field)).trimmed().split(' ').first().toLongLong();
        }
        return -1;
    }

private slots:
    void initTestCase()
    {
        for (const char *tool : {"adb", "aapt", "openssl", "jarsigner"}) {
            if (QStandardPaths::findExecutable(QString::fromLatin1(tool)).isEmpty())
                QSKIP(qPrintable(QStringLiteral("%1 is not installed").arg(tool)));
        }
        adbPort = QString::number(freePort());
        device.start(QStringLiteral(CALDERWICK_BIN_DIR "/devicesim"),
                     {"--address", address, "--screen-port", "0", "--storage", store(), "--journal", dir.path() + "/journal.jsonl"});
        QVERIFY(device.waitForReadyRead(10000));
        QVERIFY(device.readAllStandardOutput().contains("devicesim ready"));
        QVERIFY(adb({"connect", serial}, false).contains("connected to " + serial.toLatin1()));
    }

    void cleanupTestCase()
    {
        adb({"kill-server"}, false);
        device.write("quit\n");
        device.waitForFinished(5000);
    }

    void shellAndProperties()
    {
        QCOMPARE(adb({"get-state"}), QByteArray("device\n"));
        QCOMPARE(adb({"shell", "echo", "hello", "world"}), QByteArray("hello world\n"));
        QCOMPARE(adb({"shell", "getprop", "ro.build.version.release"}), QByteArray("9.0\n"));
        QVERIFY(adb({"shell", "getprop"}).contains("[caldd.version]: [2.6.0]"));
        QVERIFY(adb({"logcat", "-d", "-v", "time"}).contains("I/devicesim(    1): device ready"));
        QVERIFY(adb({"shell", "cat", "/../../../../../etc/passwd"}).contains("No such file")); // never outside the store
        QCOMPARE(adb({"shell", "mkdir -p '/sdcard/Download/a b' && ls /sdcard/Download; rm -r /nowhere"}),
                 QByteArray("a b\nrm: /nowhere: No such file or directory\n"));
    }

    void pushAndPullFilesAndTreesByteExact()
    {
        const QString source = dir.path() + QStringLiteral("/tree é");
        QVERIFY(QDir().mkpath(source + QStringLiteral("/sub dir ü")));
        const QMap<QString, int> sizes{{"/one file.txt", 5}, {"/sub dir ü/bin ß.dat", 300001}, {"/sub dir ü/.hidden", 0}};
        for (auto it = sizes.cbegin(); it != sizes.cend(); ++it) {
            QFile file(source + it.key());
            QVERIFY(file.open(QIODevice::WriteOnly));
            for (int i = 0; i < it.value(); ++i)
                file.putChar(char(QRandomGenerator::global()->generate()));
        }
        QVERIFY(adb({"push", source + "/one file.txt", "/sdcard/Download/"}).contains("1 file pushed"));
        QVERIFY(adb({"push", source, "/sdcard/Download/"}).contains("3 files pushed"));
        QCOMPARE(AdbFixture::tree(store("/sdcard/Download/tree é")), AdbFixture::tree(source));
        QCOMPARE(AdbFixture::tree(store("/sdcard/Download")).value("/one file.txt"), AdbFixture::tree(source).value("/one file.txt"));
        const QString back = dir.path() + QStringLiteral("/pulled");
        QVERIFY(adb({"pull", "/sdcard/Download/tree é", back}).contains("3 files pulled"));
        QCOMPARE(AdbFixture::tree(back), AdbFixture::tree(source));
        QVERIFY(adb({"pull", "/sdcard/Download/missing", back}).contains("No such file or directory"));
    }

    void largePushStreamsWithFlatMemory()
    {
        const QString path = dir.path() + QStringLiteral("/large.bin");
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QByteArray block(1024 * 1024, Qt::Uninitialized);
        for (int i = 0; i < 64; ++i) {
            QRandomGenerator::global()->fillRange(reinterpret_cast<quint32 *>(block.data()), block.size() / 4);
            file.write(block);
        }
        file.close();
        const qint64 before = statusKiB(device.processId(), "VmRSS:");
        QVERIFY(adb({"push", path, "/data/local/tmp/large.bin"}).contains("1 file pushed"));
        QVERIFY2(statusKiB(device.processId(), "VmHWM:") - before < 16 * 1024, "devicesim's memory grew with the file");
        QCOMPARE(AdbFixture::tree(store("/data/local/tmp")).value("/large.bin"), AdbFixture::tree(dir.path()).value("/large.bin"));
    }

    void installsChecksSignaturesAndJournalsStarts()
    {
        const QString first = AdbFixture::signedApk(dir.path(), QStringLiteral("first"));
        const QString second = AdbFixture::signedApk(dir.path(), QStringLiteral("second"));
        QVERIFY(!first.isEmpty() && !second.isEmpty());
        QVERIFY(adb({"install", first}).contains("Success"));
        QVERIFY(adb({"install", first}).contains("Failure [INSTALL_FAILED_ALREADY_EXISTS]"));
        QVERIFY(adb({"install", "-r", second}).contains("Failure [INSTALL_PARSE_FAILED_INCONSISTENT_CERTIFICATES]"));
        QVERIFY(adb({"uninstall", "com.example.dropped"}).contains("Success"));
        QVERIFY(adb({"install", "-r", second}).contains("Success"));
        QCOMPARE(adb({"shell", "pm", "list", "packages"}), QByteArray("package:com.example.dropped\n"));
        QVERIFY(!QFileInfo::exists(store("/data/local/tmp/second.apk")));
        QStringList results;
        for (const QJsonObject &entry : journal(QStringLiteral("install")))
            results << entry.value("result").toString();
        QCOMPARE(results, QStringList({"Success", "INSTALL_FAILED_ALREADY_EXISTS", "INSTALL_PARSE_FAILED_INCONSISTENT_CERTIFICATES", "Success"}));

        QVERIFY(adb({"shell", "am", "start", "-W", "-n", "com.example.dropped/.Main"}).contains("Complete"));
        QVERIFY(adb({"shell", "am", "start", "-n", "com.example.other/.Main"}).contains("Error: Activity not started"));
        QVERIFY(adb({"shell", "am", "broadcast", "-a", "com.example.PING"}).contains("result=0"));
        const QList<QJsonObject> starts = journal(QStringLiteral("start"));
        QCOMPARE(starts.size(), 2);
        QCOMPARE(starts.first().value("component").toString(), QStringLiteral("com.example.dropped/.Main"));
        QVERIFY(starts.first().value("started").toBool() && !starts.last().value("started").toBool());
        QCOMPARE(journal(QStringLiteral("broadcast")).value(0).value("action").toString(), QStringLiteral("com.example.PING"));
    }

    void forwardReachesTheDeviceAddress()
    {
        QTcpServer service;
        QVERIFY(service.listen(QHostAddress(address), 0));
        const QString hostPort = QString::number(freePort());
        const QString rule = QStringLiteral("tcp:%1 tcp:%2").arg(hostPort).arg(service.serverPort());
        adb(QStringList{"forward"} + rule.split(' '));
        QVERIFY(adb({"forward", "--list"}).contains(rule.toLatin1()));
        QTcpSocket client;
        client.connectToHost(QHostAddress::LocalHost, hostPort.toUShort());
        QVERIFY(client.waitForConnected(5000));
        client.write("ping");
        QTRY_VERIFY(service.hasPendingConnections());
        QTcpSocket *peer = service.nextPendingConnection();
        QByteArray atDevice, atHost;
        QTRY_COMPARE(atDevice += peer->readAll(), QByteArray("ping"));
        peer->write("pong");
        QTRY_COMPARE(atHost += client.readAll(), QByteArray("pong"));
        peer->disconnectFromHost();
        QTRY_COMPARE(client.state(), QAbstractSocket::UnconnectedState);
    }

    static QByteArray packet(const char *command, quint32 arg0, quint32 arg1, const QByteArray &data,
                             quint32 length = 0)
    {
        QByteArray bytes(24, '\0');
        const quint32 code = qFromLittleEndian<quint32>(command);
        const quint32 words[6] = {code, arg0, arg1, length ? length : quint32(data.size()), 0, ~code};
        for (int i = 0; i < 6; ++i)
            qToLittleEndian<quint32>(words[i], bytes.data() + 4 * i);
        return bytes + data;
    }

    void droppedPushLeavesNoFile()
    {
        QTcpSocket host;
        host.connectToHost(address, 5555);
        QVERIFY(host.waitForConnected(5000));
        host.write(packet("CNXN", 0x01000001, 256 * 1024, "host::\0") + packet("OPEN", 7, 0, "sync:\0"));
        QByteArray answer;
        QTRY_VERIFY((answer += host.readAll()).contains("OKAY"));
        const quint32 stream = qFromLittleEndian<quint32>(answer.constData() + answer.indexOf("OKAY") + 4);
        auto request = [](const char *id, const QByteArray &data) {
            QByteArray bytes(id, 4);
            bytes.resize(8);
            qToLittleEndian<quint32>(data.size(), bytes.data() + 4);
            return bytes + data;
        };
        host.write(packet("WRTE", 7, stream, request("SEND", "/sdcard/Download/cut.bin,33188") + request("DATA", QByteArray(1000, 'x'))));
        QTRY_VERIFY(QFileInfo(store("/sdcard/Download/cut.bin")).size() == 1000);
        host.abort();
        QTRY_VERIFY(!QFileInfo::exists(store("/sdcard/Download/cut.bin")));
    }

    void garbageClosesOnlyThatConnection()
    {
        const QByteArray hugeConnect = packet("CNXN", 0x01000001, 0, QByteArray(), 0x40000000);
        // Twelve garbage connections in a row: all journaled, the log keeps to its first lines.
        QList<QByteArray> attempts{hugeConnect, QByteArray("CNXN\1\0")};
        for (int i = 0; i < 12; ++i)
            attempts << QByteArray(200, 'G');
        for (const QByteArray &bytes : attempts) {
            QTcpSocket socket;
            socket.connectToHost(address, 5555);
            QVERIFY(socket.waitForConnected(5000));
            socket.write(bytes);
            socket.flush();
            if (bytes.size() < 24)
                socket.abort(); // dropped in the middle of a header
            else
                QTRY_COMPARE(socket.state(), QAbstractSocket::UnconnectedState);
        }
        QCOMPARE(journal(QStringLiteral("garbage")).size(), 13);
        QCOMPARE(device.readAllStandardError().count("sent a bad packet"), 9);
        QCOMPARE(adb({"shell", "echo", "alive"}), QByteArray("alive\n"));
        QCOMPARE(device.state(), QProcess::Running);
    }
};

CALDERWICK_TEST_MAIN(TestAdbDaemon)
#include "tst_adbdaemon.moc"
