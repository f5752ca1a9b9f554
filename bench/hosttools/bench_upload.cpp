// Prints how FileUploader compares with plain "adb push" when both copy the same file (1 GiB
// of random bytes by default) to devicesim's adb daemon through one private adb server:
// seconds of each, their ratio, the progress reports the uploader gave, and how far this
// process's peak resident memory grew while the uploader ran (it runs in this process).
//
//   bench_upload [size in MiB, default 1024] [runs, default 2]

#include "fileuploader.h"
#include "settings.h"
#include "testenvironment.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTemporaryDir>

#include <cstdio>

namespace {

qint64 peakKiB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    status.open(QIODevice::ReadOnly);
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').first().toLongLong();
    }
    return -1;
}

bool adb(const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QStringLiteral("adb"), arguments);
    return process.waitForFinished(-1) && process.exitCode() == 0;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &text) {
        if (type != QtDebugMsg) // the figures stay readable; failures still show
            std::fprintf(stderr, "%s\n", qPrintable(text));
    });
    const qint64 mib = argc > 1 ? QByteArray(argv[1]).toLongLong() : 1024;
    const int runs = argc > 2 ? QByteArray(argv[2]).toInt() : 2;
    QTemporaryDir dir;
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    qputenv("ANDROID_ADB_SERVER_PORT", QByteArray::number(probe.serverPort()));
    probe.close();
    qputenv("HOME", dir.path().toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", dir.path().toLocal8Bit());
    QDir().mkpath(dir.path() + QStringLiteral("/sdk/platform-tools"));
    QFile::link(QStandardPaths::findExecutable(QStringLiteral("adb")), dir.path() + QStringLiteral("/sdk/platform-tools/adb"));
    setSettingsValue(QStringLiteral("android.sdk.use"), true);
    setSettingsValue(QStringLiteral("android.sdk.path"), dir.path() + QStringLiteral("/sdk"));

    const QString source = dir.path() + QStringLiteral("/payload.bin");
    QFile file(source);
    file.open(QIODevice::WriteOnly);
    QByteArray block(1024 * 1024, Qt::Uninitialized);
    for (qint64 i = 0; i < mib; ++i) {
        QRandomGenerator::global()->fillRange(reinterpret_cast<quint32 *>(block.data()), block.size() / 4);
        file.write(block);
    }
    file.close();

    const QString address = TestEnvironment::loopback(1), serial = address + QStringLiteral(":5555");
    QProcess device;
    device.start(QStringLiteral(CALDERWICK_BIN_DIR "/devicesim"),
                 {"--address", address, "--screen-port", "0", "--storage", dir.path() + "/store", "--journal", "/dev/null"});
    if (!device.waitForReadyRead(10000) || !adb({"connect", serial})) {
        std::fprintf(stderr, "bench_upload: devicesim or adb did not come up\n");
        return 1;
    }
    const QString landed = dir.path() + QStringLiteral("/store/sdcard/Download/payload.bin");
    double plainTotal = 0, uploaderTotal = 0;
    int reports = 0;
    qint64 growth = 0;
    for (int run = 0; run < runs; ++run) {
        QElapsedTimer clock;
        clock.start();
        adb({"-s", serial, "push", source, "/sdcard/Download/"});
        plainTotal += clock.nsecsElapsed() / 1e9;
        QFile::remove(landed);

        FileUploader uploader(serial, source);
        QEventLoop loop;
        bool done = false;
        QObject::connect(&uploader, &FileUploader::sigUploadDone, [&] { done = true; });
        QObject::connect(&uploader, &FileUploader::sigProgress, [&] { ++reports; });
        QObject::connect(&uploader, &QThread::finished, &loop, &QEventLoop::quit);
        const qint64 before = peakKiB();
        clock.restart();
        uploader.start();
        loop.exec();
        uploaderTotal += clock.nsecsElapsed() / 1e9;
        growth = qMax(growth, peakKiB() - before);
        if (!done || QFileInfo(landed).size() != mib * 1024 * 1024) {
            std::fprintf(stderr, "bench_upload: the uploader's copy failed\n");
            return 1;
        }
        QFile::remove(landed);
    }
    std::printf("upload of %lld MiB, %d runs each, devicesim on %s\n", mib, runs, qPrintable(address));
    std::printf("adb push:      %.2f s  (%.0f MiB/s)\n", plainTotal / runs, mib * runs / plainTotal);
    std::printf("FileUploader:  %.2f s  (%.0f MiB/s), %d progress reports\n", uploaderTotal / runs,
                mib * runs / uploaderTotal, reports / runs);
    std::printf("speed ratio (uploader / adb push): %.3f\n", plainTotal / uploaderTotal);
    std::printf("player peak memory growth during the uploads: %lld KiB\n", growth);
    adb({"kill-server"});
    device.write("quit\n");
    device.waitForFinished(5000);
    return 0;
}
