// Screenshots and recordings of the player against a devicesim process, through the window's
// keys: upright PNGs equal to the device's own picture in every rotation, a recording that the
// real tools accept, a disk that fills up during a recording, and a window closed during one.

#include "capturemanager.h"
#include "mediajudges.h"
#include "paneldevice.h"
#include "rotateevent.h"
#include "widgetscreencast.h"

#include <QScopeGuard>
#include <QToolButton>

#include <csignal>
#include <sys/resource.h>

namespace {

using MediaJudges::run;

Player *rotatedPlayer = nullptr;

// Mean difference per channel of two pictures brought to one small size.
double difference(const QImage &a, const QImage &b)
{
    const QImage x = a.scaled(90, 160).convertToFormat(QImage::Format_RGB32);
    const QImage y = b.scaled(90, 160).convertToFormat(QImage::Format_RGB32);
    double sum = 0;
    for (int row = 0; row < x.height(); ++row)
        for (int column = 0; column < x.width(); ++column) {
            const QRgb p = x.pixel(column, row), q = y.pixel(column, row);
            sum += qAbs(qRed(p) - qRed(q)) + qAbs(qGreen(p) - qGreen(q)) + qAbs(qBlue(p) - qBlue(q));
        }
    return sum / (x.width() * x.height() * 3.0);
}

} // namespace

class TestWidgetScreencast : public QObject
{
    Q_OBJECT

    PanelDevice device;
    WidgetScreencast *panel = nullptr;
    const QString folder = QDir::homePath() + QStringLiteral("/");
    QTemporaryDir scratch;

    QToolButton *record() const { return panel->findChild<QToolButton *>(QStringLiteral("video")); }
    bool shows(const QString &text) const { return PanelDevice::labelTexts(panel).contains(text + "<br />"); }
    void keys(Qt::Key key) { QTest::keyClick(device.player, key, Qt::ControlModifier | Qt::ShiftModifier); }

    QStringList files(const QString &pattern) const
    {
        return QDir(folder).entryList({pattern}, QDir::Files, QDir::Time);
    }

    // Turns the device as gravity does and waits until the window knows.
    bool turn(int angle)
    {
        const QString gravity[] = {"0|9.8|0", "9.8|0|0", "0|-9.8|0", "-9.8|0|0"};
        return device.ok("set Accelerometer " + gravity[angle / 90])
               && QTest::qWaitFor([&] { return int(device.player->rotation()) == angle; }, 5000);
    }

    // The device's own picture, upright.
    QImage devicePicture(int angle)
    {
        const QString path = scratch.filePath(QStringLiteral("device.png"));
        return device.ok("screenshot " + path) ? QImage(path).transformed(QTransform().rotate(-angle)) : QImage();
    }

    // The newest recording, after the recording keys were pressed twice around seconds of wait.
    QString recordFor(int milliseconds, double *seconds)
    {
        QElapsedTimer clock;
        keys(Qt::Key_V);
        clock.start();
        QTest::qWait(milliseconds);
        if (record()->isChecked())
            keys(Qt::Key_V);
        *seconds = clock.elapsed() / 1000.0;
        return folder + files(QStringLiteral("screencast-Calderwick-*.webm")).value(0);
    }

private slots:
    void initTestCase()
    {
        QVERIFY(device.start(3, QStringLiteral("screencast")));
        // What the player's application object does with the renderer's rotation reports.
        rotatedPlayer = device.player;
        Sylvane_setCallbackRotation([](float angle) {
            QMetaObject::invokeMethod(rotatedPlayer, [angle] { rotatedPlayer->rotate(RotateEvent(angle)); });
        });
        panel = qobject_cast<WidgetScreencast *>(device.open());
        QVERIFY(panel);
        const QStringList texts = PanelDevice::labelTexts(panel);
        QVERIFY2(texts.contains("SCREEN CAPTURE") && texts.contains("Screenshot") && texts.contains("Video")
                     && texts.contains("Browse") && !PanelDevice::showsRawKey(texts),
                 qPrintable(texts.join('|')));
        QVERIFY(record()->toolTip().startsWith("Start or stop a video recording        "));
    }

    void screenshotIsUpright_data()
    {
        QTest::addColumn<int>("angle");
        for (int angle : {90, 180, 270, 0})
            QTest::addRow("%d", angle) << angle;
    }

    void screenshotIsUpright()
    {
        QFETCH(int, angle);
        QVERIFY(turn(angle));
        QTest::qWait(300); // the turned picture reaches the window
        const int before = files(QStringLiteral("screenshot-*.png")).size();
        QSignalSpy done(CaptureManager::instance(), &CaptureManager::screenshotDone);
        keys(Qt::Key_S);
        QVERIFY(done.wait(5000));
        QCOMPARE(done.first().first().toBool(), true);
        const QStringList shots = files(QStringLiteral("screenshot-*.png"));
        QCOMPARE(shots.size(), before + 1);
        QVERIFY(QRegularExpression("^screenshot-\\d{4}-\\d\\d-\\d\\d_\\d\\d\\.\\d\\d\\.\\d\\d\\.\\d{1,3}\\.png$")
                    .match(shots.first()).hasMatch());
        const QImage saved(folder + shots.first());
        const QImage expected = devicePicture(angle);
        QCOMPARE(saved.size(), expected.size());
        QVERIFY2(difference(saved, expected) < 1.0, qPrintable(QString::number(difference(saved, expected))));
        QVERIFY(shows("Screenshot saved"));
    }

    // Recorded turned, the video has the turned shape and shows the picture upright.
    void recordingIsAcceptedAndUpright()
    {
        QVERIFY(turn(90));
        QTest::qWait(300);
        double seconds = 0;
        const QString path = recordFor(3000, &seconds);
        QVERIFY(!record()->isChecked() && !panel->isRecording());
        MediaJudges::checkRecording(path, seconds);
        if (QTest::currentTestFailed())
            return;
        const QImage last = QImage::fromData(run("ffmpeg", {"-v", "error", "-sseof", "-0.5", "-i", path, "-frames:v", "1",
                                                            "-f", "image2pipe", "-vcodec", "png", "-"}));
        const QImage expected = devicePicture(90);
        QCOMPARE(last.size(), expected.size());
        QVERIFY2(difference(last, expected) < 6.0, qPrintable(QString::number(difference(last, expected))));
        QVERIFY(difference(last, expected.mirrored(true, true)) > difference(last, expected) + 4.0);
        QVERIFY(turn(0));
    }

    // A file that can grow no more (a full disk) ends the recording with the error shown, and
    // every byte written before stays in the file.
    void fullDiskKeepsWhatWasWritten()
    {
        const rlim_t limit = 60000;
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit old{};
        getrlimit(RLIMIT_FSIZE, &old);
        rlimit small = old;
        small.rlim_cur = limit;
        QVERIFY(setrlimit(RLIMIT_FSIZE, &small) == 0);
        const auto restore = qScopeGuard([&] { setrlimit(RLIMIT_FSIZE, &old); });
        QTest::ignoreMessage(QtCriticalMsg, QRegularExpression("Writing the video failed"));
        keys(Qt::Key_V);
        QVERIFY(record()->isChecked());
        QTRY_VERIFY_WITH_TIMEOUT(!record()->isChecked() && !panel->isRecording(), 30000);
        QVERIFY(shows("The video could not be saved"));
        QFile file(folder + files(QStringLiteral("screencast-Calderwick-*.webm")).value(0));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.size(), qint64(limit));
        QCOMPARE(file.read(4), QByteArray("\x1a\x45\xdf\xa3"));
    }

    // Closing the window during a recording leaves a whole file.
    void closingTheWindowFinalizes()
    {
        keys(Qt::Key_V);
        QTest::qWait(2000);
        device.player->close();
        QVERIFY(!panel->isRecording());
        MediaJudges::checkRecording(folder + files(QStringLiteral("screencast-Calderwick-*.webm")).value(0), 2.0);
    }
};

CALDERWICK_PANEL_TEST_MAIN(TestWidgetScreencast)
#include "tst_widgetscreencast.moc"
