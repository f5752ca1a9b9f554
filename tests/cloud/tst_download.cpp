#include "testenvironment.h"

#include "connector.h"
#include "download.h"
#include "fakecloudserver.h"
#include "nginxserver.h"
#include "replylimit.h"
#include "settings.h"
#include "systemversion.h"
#include "vmtemplate.h"

#include <QNetworkAccessManager>

using Answer = FakeCloudServer::Answer;

namespace {

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class TestDownload : public QObject
{
    Q_OBJECT

    NginxServer nginx;
    FakeCloudServer cloud;
    QNetworkAccessManager manager;
    QTemporaryDir work;

    QString destination() const { return work.filePath("out.bin"); }

    // The cloud's answer for a file of nginx, as a JSON file served by nginx itself.
    QUrl cloudAnswer(const QString &cdnPath, qint64 size)
    {
        static int counter = 0;
        const QString name = QStringLiteral("/api/%1.json").arg(++counter);
        QDir(nginx.root()).mkpath("api");
        QFile file(nginx.root() + name);
        file.open(QIODevice::WriteOnly);
        file.write(QStringLiteral("[{\"url\":\"%1\",\"size\":\"%2\"}]").arg(nginx.url(cdnPath)).arg(size).toUtf8());
        return QUrl(nginx.url(name));
    }

    struct Outcome
    {
        bool finished = false;
        bool stopped = false;
        int code = 0;
        QString desc;
        int progressCount = 0;
        qlonglong lastReceived = -1;
        qlonglong lastTotal = -1;
    };

    Outcome run(const QUrl &url, int timeoutMs = 30000, std::function<void(Download *, qlonglong)> onProgress = {})
    {
        Outcome outcome;
        Download *download = new Download(destination(), url, "test", &manager);
        download->setTimeout(timeoutMs);
        QEventLoop loop;
        connect(download, &Download::progress, download, [&](qlonglong received, qlonglong total) {
            ++outcome.progressCount;
            outcome.lastReceived = received;
            outcome.lastTotal = total;
            if (onProgress)
                onProgress(download, received);
        });
        connect(download, &Download::finished, &loop, [&] {
            outcome.finished = true;
            outcome.stopped = download->isStopped();
            loop.quit();
        });
        connect(download, &Download::error, &loop, [&](int code, const QString &desc) {
            outcome.code = code;
            outcome.desc = desc;
            loop.quit();
        });
        QTimer::singleShot(60000, &loop, &QEventLoop::quit); // the test's own limit
        download->start();
        loop.exec();
        delete download;
        return outcome;
    }

private slots:
    void initTestCase()
    {
        if (NginxServer::executable().isEmpty())
            QSKIP("nginx is not installed");
        QVERIFY(nginx.isValid() && work.isValid());
        QVERIFY(nginx.enableTls() && nginx.start());
        QVERIFY(!cloud.start().isEmpty());
        setSettingsValue(QStringLiteral("cloud.root.url"), QStringLiteral("http://cloud.example"));
        QVERIFY(NginxServer::writePattern(nginx.root() + "/files/small.bin", 3 * 1024 * 1024 + 5));
    }

    void init()
    {
        QFile::remove(destination());
        cloud.reset();
    }

    void whole_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<int>("partial");
        QTest::newRow("fresh") << "/files/small.bin" << 0;
        QTest::newRow("resumed") << "/files/small.bin" << 1000003;
        QTest::newRow("302") << "/moved/small.bin" << 0;
        QTest::newRow("301 resumed") << "/moved301/small.bin" << 77;
        QTest::newRow("no ranges, partial dropped") << "/noranges/small.bin" << 1000003;
    }

    void whole()
    {
        QFETCH(QString, path);
        QFETCH(int, partial);
        const QByteArray source = readAll(nginx.root() + "/files/small.bin");
        if (partial > 0) {
            QFile file(destination());
            QVERIFY(file.open(QIODevice::WriteOnly));
            // Resumable servers keep what is there; the others must drop it.
            file.write(path.startsWith("/noranges") ? QByteArray(partial, 'x') : source.left(partial));
        }
        const Outcome outcome = run(cloudAnswer(path, source.size()));
        QVERIFY(outcome.finished);
        QVERIFY(!outcome.stopped);
        QCOMPARE(outcome.lastReceived, qlonglong(source.size()));
        QCOMPARE(outcome.lastTotal, qlonglong(source.size()));
        QVERIFY(readAll(destination()) == source);
    }

    void completeFileNotFetched()
    {
        QVERIFY(QFile::copy(nginx.root() + "/files/small.bin", destination()));
        const Outcome outcome = run(cloudAnswer("/files/small.bin", QFileInfo(destination()).size()));
        QVERIFY(outcome.finished);
        QCOMPARE(outcome.progressCount, 0);
    }

    // A CDN whose certificate nobody trusts is told as such, not as an error status.
    void refusedCertificate()
    {
        QDir(nginx.root()).mkpath("api");
        QFile answer(nginx.root() + "/api/tls.json");
        QVERIFY(answer.open(QIODevice::WriteOnly));
        answer.write(QStringLiteral("[{\"url\":\"%1\",\"size\":\"5\"}]").arg(nginx.tlsUrl("/files/small.bin")).toUtf8());
        answer.close();
        const Outcome outcome = run(QUrl(nginx.url("/api/tls.json")));
        QCOMPARE(outcome.code, 8);
        QVERIFY(!outcome.desc.isEmpty());
        QVERIFY(!QFile::exists(destination()));
    }

    // A redirect loop and a missing file end with the status the CDN gave.
    void cdnRefuses()
    {
        for (const auto &[path, status] : {std::pair<const char *, const char *>{"/loop/a", "302"}, {"/files/none.bin", "404"}}) {
            const Outcome outcome = run(cloudAnswer(path, 10));
            QCOMPARE(outcome.code, 3);
            QCOMPARE(outcome.desc, QString::fromLatin1(status));
        }
    }

    void cloudAnswers_data()
    {
        QTest::addColumn<Answer>("answer");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("desc");
        QTest::newRow("403") << Answer::json(403, "{}") << 3 << "403";
        QTest::newRow("not json") << Answer::json(200, "<html>") << 4 << "";
        QTest::newRow("number") << Answer::json(200, "12") << 4 << "";
        QTest::newRow("two elements") << Answer::json(200, "[{},{}]") << 5 << "";
        QTest::newRow("object") << Answer::json(200, "{\"url\":\"x\",\"size\":1}") << 5 << "";
        QTest::newRow("no size") << Answer::json(200, "[{\"url\":\"http://x/\"}]") << 6 << "";
        QTest::newRow("bad size") << Answer::json(200, "[{\"url\":\"http://x/\",\"size\":\"12a\"}]") << 6 << "";
        // Cut off while it arrives: nothing of it is read.
        QTest::newRow("past the cap") << Answer::stream(ReplyLimit::MaxBodyBytes + 1024 * 1024) << 4 << "";
    }

    void cloudAnswers()
    {
        QFETCH(Answer, answer);
        cloud.script("/vmtemplate/t/getova", {answer});
        if (answer.kind == Answer::Stream)
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^\\[Download\\] Reply body over 8388608 bytes, aborted"));
        const Outcome outcome = run(QUrl(cloud.start() + "/vmtemplate/t/getova"));
        QVERIFY(!outcome.finished);
        QTEST(outcome.code, "code");
        QTEST(outcome.desc, "desc");
    }

    // The fake server as the CDN, to see the requests themselves. The local file holds
    // "12345" before each transfer of "abcdef".
    void cdnTransfer_data()
    {
        QTest::addColumn<QByteArray>("acceptRanges");
        QTest::addColumn<Answer>("body");
        QTest::addColumn<QByteArray>("range");
        QTest::addColumn<int>("code"); // 0: finished
        QTest::addColumn<QByteArray>("file");
        QTest::newRow("resumed") << QByteArray(" bytes ") << Answer::json(206, "abcdef") << QByteArray("bytes=5-") << 0
                                 << QByteArray("12345abcdef");
        QTest::newRow("no Accept-Ranges") << QByteArray() << Answer::json(206, "abcdef") << QByteArray("bytes=0-") << 0
                                          << QByteArray("abcdef");
        // A server that ignores the range: its bytes land behind the partial file.
        QTest::newRow("range ignored") << QByteArray("bytes") << Answer::json(200, "abcdef") << QByteArray("bytes=5-")
                                       << 0 << QByteArray("12345abcdef");
        QTest::newRow("error status") << QByteArray() << Answer::json(416, "") << QByteArray("bytes=0-") << 1
                                      << QByteArray();
        QTest::newRow("silence") << QByteArray("bytes") << Answer::silence() << QByteArray("bytes=5-") << 2
                                 << QByteArray("12345");
    }

    void cdnTransfer()
    {
        QFETCH(QByteArray, acceptRanges);
        QFETCH(Answer, body);
        QFETCH(int, code);
        const QString root = cloud.start();
        cloud.script("/getova", {Answer::json(200, "[{\"url\":\"" + root.toUtf8() + "/cdn\",\"size\":11}]")});
        Answer head = Answer::json(200, "");
        if (!acceptRanges.isEmpty())
            head.headers.append(qMakePair(QByteArray("Accept-Ranges"), acceptRanges));
        cloud.script("/cdn", {head, body});
        QFile file(destination());
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("12345");
        file.close();

        const Outcome outcome = run(QUrl(root + "/getova"), 300);
        QCOMPARE(outcome.finished, code == 0);
        QCOMPARE(outcome.code, code);
        QCOMPARE(cloud.received.size(), 3);
        QCOMPARE(cloud.received.at(1).method, QByteArray("HEAD"));
        QTEST(cloud.received.at(2).headers.value("range"), "range");
        QCOMPARE(cloud.received.at(2).headers.value("referer"), QByteArray("http://cloud.example/"));
        QTEST(readAll(destination()), "file");
    }

    void slowButDeliveringDoesNotTimeOut()
    {
        // About 4 s of transfer at 512 KB/s, with never more than 2 s of silence allowed: the
        // whole transfer outlasts the time-out. The margin keeps a loaded machine from
        // counting as silence.
        QVERIFY(NginxServer::writePattern(nginx.root() + "/files/slow.bin", 2048 * 1024));
        QElapsedTimer clock;
        clock.start();
        const Outcome outcome = run(cloudAnswer("/slow/slow.bin", 2048 * 1024), 2000);
        QVERIFY(outcome.finished);
        QVERIFY(clock.elapsed() > 2500);
        QCOMPARE(QFileInfo(destination()).size(), 2048 * 1024);
    }

    void stoppedServerThenResume()
    {
        const qint64 size = 300 * 1024 * 1024 + 12345;
        const QString source = nginx.root() + "/files/big.bin";
        QVERIFY(NginxServer::writePattern(source, size));
        const QUrl url = cloudAnswer("/files/big.bin", size);

        bool killed = false;
        const Outcome first = run(url, 30000, [&](Download *, qlonglong received) {
            if (!killed && received > size / 3) {
                killed = true;
                nginx.kill();
            }
        });
        QVERIFY(killed);
        QVERIFY2(first.code == 2 || (first.finished && first.stopped), qPrintable(QString::number(first.code)));
        const qint64 partial = QFileInfo(destination()).size();
        QVERIFY(partial > size / 3 && partial < size);

        QVERIFY(nginx.start());
        const Outcome second = run(url);
        QVERIFY(second.finished);
        QCOMPARE(QFileInfo(destination()).size(), size);
        QCOMPARE(fileSha1(destination()), fileSha1(source));
        QFile::remove(source);
        QFile::remove(destination());
    }

    void connectorMakesOvaDownload()
    {
        VmTemplate vmTemplate;
        vmTemplate.uuid = "t-9";
        vmTemplate.systemVersion.ovaName = "system.ova";
        setSettingsValue(QStringLiteral("cloud.root.url"), cloud.start());
        Connector::destroy();
        std::unique_ptr<Download> download(Connector::instance()->downloadOva(vmTemplate));
        QCOMPARE(download->downloadId(), QStringLiteral("ova_t-9"));
        cloud.script("/vmtemplate/t-9/getova", {Answer::json(200, "[]")});
        QSignalSpy error(download.get(), &Download::error);
        download->start();
        QVERIFY(error.wait(5000));
        QCOMPARE(error.first().at(0).toInt(), 5);
        QCOMPARE(cloud.received.first().path, QByteArray("/vmtemplate/t-9/getova"));
    }
};

CALDERWICK_TEST_MAIN(TestDownload)
#include "tst_download.moc"
