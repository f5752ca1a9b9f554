// Prints how Download compares with curl on a 1 GiB file served by nginx on loopback (time
// ratio, peak resident memory of each process), and how isLocalOvaValid compares with
// sha1sum on the same file. Each contender runs as its own child process, so that peak
// memory is measured the same way (wait4's ru_maxrss) for all of them.
//
//   bench_download [size in MiB, default 1024] [runs, default 2]

#include "connector.h"
#include "download.h"
#include "nginxserver.h"
#include "systemversion.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QNetworkAccessManager>
#include <QTemporaryDir>
#include <QTextStream>
#include <QVector>

#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <cstdio>
#include <vector>

extern char **environ;

namespace {

struct Figures
{
    double seconds = 0;
    long peakKiB = 0;
    int status = -1;
};

// Runs a program to its end; wall time and peak resident set of the child.
Figures runChild(const QStringList &arguments)
{
    std::vector<QByteArray> storage;
    for (const QString &a : arguments)
        storage.push_back(a.toLocal8Bit());
    std::vector<char *> argv;
    for (QByteArray &a : storage)
        argv.push_back(a.data());
    argv.push_back(nullptr);

    Figures f;
    QElapsedTimer clock;
    clock.start();
    pid_t pid = 0;
    if (posix_spawnp(&pid, argv[0], nullptr, nullptr, argv.data(), environ) != 0)
        return f;
    int status = 0;
    rusage usage{};
    wait4(pid, &status, 0, &usage);
    f.seconds = clock.nsecsElapsed() / 1e9;
    f.peakKiB = usage.ru_maxrss;
    f.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return f;
}

// Child: one Download of the cloud answer at url into destination.
int downloadChild(const QString &url, const QString &destination)
{
    QNetworkAccessManager manager;
    Download *download = new Download(destination, QUrl(url), QStringLiteral("bench"), &manager);
    int result = 1;
    QObject::connect(download, &Download::finished, [&] {
        result = download->isStopped() ? 1 : 0;
        QCoreApplication::quit();
    });
    QObject::connect(download, &Download::error, [&] { QCoreApplication::quit(); });
    download->start();
    QCoreApplication::exec();
    return result;
}

// Child: the OVA check of a file placed at the local OVA path of this HOME.
int checkChild(const QString &ovaName, const QString &hash)
{
    SystemVersion version;
    version.ovaName = ovaName;
    version.ovaHash = hash;
    return version.isLocalOvaValid() ? 0 : 1;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &text) {
        if (type >= QtCriticalMsg)
            std::fprintf(stderr, "%s\n", qPrintable(text));
    });
    const QStringList args = app.arguments();
    if (args.value(1) == QLatin1String("--download-child"))
        return downloadChild(args.value(2), args.value(3));
    if (args.value(1) == QLatin1String("--check-child"))
        return checkChild(args.value(2), args.value(3));

    const qint64 mib = args.value(1, QStringLiteral("1024")).toLongLong();
    const int runs = qMax(1, args.value(2, QStringLiteral("2")).toInt());
    const qint64 size = mib * 1024 * 1024;
    if (NginxServer::executable().isEmpty()) {
        std::fprintf(stderr, "nginx not found\n");
        return 2;
    }

    NginxServer nginx;
    QTemporaryDir work;
    const QString source = nginx.root() + QStringLiteral("/files/big.bin");
    std::printf("Generating %lld MiB...\n", mib);
    if (!NginxServer::writePattern(source, size) || !nginx.start()) {
        std::fprintf(stderr, "set-up failed\n");
        return 2;
    }
    QDir(nginx.root()).mkpath(QStringLiteral("api"));
    QFile answer(nginx.root() + QStringLiteral("/api/big.json"));
    answer.open(QIODevice::WriteOnly);
    answer.write(QStringLiteral("[{\"url\":\"%1\",\"size\":\"%2\"}]").arg(nginx.url("/files/big.bin")).arg(size).toUtf8());
    answer.close();

    // The OVA check reads the file from <HOME>/.Brackenlea/Calderwick/ova/.
    qputenv("HOME", work.path().toLocal8Bit());
    QDir(work.path()).mkpath(QStringLiteral(".Brackenlea/Calderwick/ova"));
    const QString ova = work.filePath(QStringLiteral(".Brackenlea/Calderwick/ova/bench.ova"));
    QFile::link(source, ova);
    const QString expectedHash = fileSha1(source);

    const QString self = QCoreApplication::applicationFilePath();
    const QString outDownload = work.filePath(QStringLiteral("download.bin"));
    const QString outCurl = work.filePath(QStringLiteral("curl.bin"));
    double bestDownload = 1e9, bestCurl = 1e9;
    long peakDownload = 0, peakCurl = 0;
    for (int run = 0; run < runs; ++run) {
        QFile::remove(outDownload);
        const Figures d = runChild({self, "--download-child", nginx.url("/api/big.json"), outDownload});
        QFile::remove(outCurl);
        const Figures c = runChild({"curl", "-s", "-o", outCurl, nginx.url("/files/big.bin")});
        std::printf("run %d: Download %.3f s (%.0f MiB/s, peak %.1f MiB, exit %d); curl %.3f s (%.0f MiB/s, peak %.1f MiB, exit %d)\n",
                    run + 1, d.seconds, mib / d.seconds, d.peakKiB / 1024.0, d.status, c.seconds, mib / c.seconds,
                    c.peakKiB / 1024.0, c.status);
        if (d.status != 0 || QFileInfo(outDownload).size() != size)
            std::printf("  Download did not complete\n");
        bestDownload = qMin(bestDownload, d.seconds);
        bestCurl = qMin(bestCurl, c.seconds);
        peakDownload = qMax(peakDownload, d.peakKiB);
        peakCurl = qMax(peakCurl, c.peakKiB);
        QFile::remove(outCurl);
    }
    const bool intact = fileSha1(outDownload) == expectedHash;
    QFile::remove(outDownload);

    const Figures check = runChild({self, "--check-child", "bench.ova", expectedHash});
    const Figures sha1sum = runChild({"sha1sum", source});

    std::printf("\nDownload vs curl, %lld MiB, best of %d:\n", mib, runs);
    std::printf("  speed ratio (curl time / Download time): %.2f  (aim: >= 0.90)\n", bestCurl / bestDownload);
    std::printf("  peak RSS: Download %.1f MiB, curl %.1f MiB\n", peakDownload / 1024.0, peakCurl / 1024.0);
    std::printf("  downloaded file SHA-1 %s\n", intact ? "matches" : "DIFFERS");
    std::printf("isLocalOvaValid vs sha1sum: %.3f s (valid: %s, peak %.1f MiB) vs %.3f s, ratio %.2f\n", check.seconds,
                check.status == 0 ? "yes" : "no", check.peakKiB / 1024.0, sha1sum.seconds, sha1sum.seconds / check.seconds);
    QFile::remove(source);
    return 0;
}
