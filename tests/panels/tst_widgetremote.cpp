// The remote control end to end: the player's panel drives a second devicesim in phone mode
// through Debian's adb on a private server; the phone's scripted lines reach the device.
#include "adbfixture.h"
#include "paneldevice.h"
#include "settings.h"

#include <QCheckBox>
#include <QComboBox>
#include <QPushButton>
#include <QStandardPaths>
#include <QTcpServer>

#include <webm/callback.h>
#include <webm/file_reader.h>
#include <webm/webm_parser.h>

#include <set>

// What libwebm's parser finds: a segment of unknown size (a live stream), its codecs, its blocks.
struct LiveWalker : webm::Callback
{
    bool live = false;
    int blocks = 0;
    std::set<std::string> codecs;
    webm::Status OnSegmentBegin(const webm::ElementMetadata &metadata, webm::Action *action) override
    {
        live = metadata.size == webm::kUnknownElementSize;
        return Callback::OnSegmentBegin(metadata, action);
    }
    webm::Status OnSimpleBlockBegin(const webm::ElementMetadata &metadata, const webm::SimpleBlock &block,
                                    webm::Action *action) override
    {
        return ++blocks, Callback::OnSimpleBlockBegin(metadata, block, action);
    }
    webm::Status OnTrackEntry(const webm::ElementMetadata &, const webm::TrackEntry &entry) override
    {
        return codecs.insert(entry.codec_id.value()), webm::Status(webm::Status::kOkCompleted);
    }
};

class TestWidgetRemote : public QObject
{
    Q_OBJECT

    PanelDevice device;
    QTemporaryDir dir;
    QProcess phone;
    PanelWidget *panel = nullptr;
    QString path(const char *name) const { return dir.path() + QLatin1Char('/') + QLatin1String(name); }
    template <typename T> T *child(const char *name) const { return panel->findChild<T *>(QLatin1String(name)); }
    QList<QJsonObject> phoneJournal(const QString &event) const
    {
        QList<QJsonObject> found;
        QFile file(path("phone.jsonl"));
        file.open(QIODevice::ReadOnly);
        for (const QByteArray &line : file.readAll().split('\n')) {
            const QJsonObject entry = QJsonDocument::fromJson(line).object();
            if (entry.value("channel") == "phone" && entry.value("event") == event)
                found << entry;
        }
        return found;
    }

private slots:
    void initTestCase()
    {
        for (const char *tool : {"adb", "aapt", "ffprobe", "ffmpeg"}) {
            if (QStandardPaths::findExecutable(QString::fromLatin1(tool)).isEmpty())
                QSKIP(qPrintable(QStringLiteral("%1 is not installed").arg(tool)));
        }
        QTcpServer probe;
        QVERIFY(probe.listen(QHostAddress::LocalHost, 0));
        qputenv("ANDROID_ADB_SERVER_PORT", QByteArray::number(probe.serverPort()));
        probe.close();
        QDir().mkpath(path("sdk/platform-tools"));
        QFile::link(QStandardPaths::findExecutable("adb"), path("sdk/platform-tools/adb"));
        setSettingsValue(QStringLiteral("android.sdk.use"), true);
        setSettingsValue(QStringLiteral("android.sdk.path"), path("sdk"));
        AdbFixture::write(path("script"), "sleep 300\nVIDEOREADY\nMULTI:0:1:0.5:0.25\nMULTI:1:1:0.5:0.25\n"
                                          "MULTI:0:1:7:0.5\nMULTI:0:3:0.5\nACCEL:nan:0:0\nGARBAGE\nACCEL:1.5:-2.25:9.75\nsleep 3000\n");
        const QString phoneAddress = TestEnvironment::loopback(2);
        phone.start(QStringLiteral(CALDERWICK_BIN_DIR "/devicesim"),
                    {"--address", phoneAddress, "--phone-script", path("script"), "--phone-record",
                     path("preview.webm"), "--journal", path("phone.jsonl")});
        QVERIFY(phone.waitForReadyRead(10000));
        QByteArray output;
        AdbFixture::run({"adb", "connect", phoneAddress + ":5555"}, &output);
        QVERIFY2(output.contains("connected to"), output);
        QVERIFY(device.start(1, QStringLiteral("remote")));
        panel = device.open();
        QVERIFY(panel);
    }

    void cleanupTestCase()
    {
        AdbFixture::run({"adb", "kill-server"});
        if (phone.state() != QProcess::NotRunning) {
            phone.kill();
            phone.waitForFinished(3000);
        }
    }

    // Touches scaled to the device's display (the phone's bad lines dropped), the accelerometer
    // on the sensor channel, and a live VP8 stream of the device's picture recorded on the phone.
    void phoneDrivesDevice()
    {
        panel->activationSwitch()->setChecked(true);
        auto *phones = child<QComboBox>("phones");
        QCOMPARE(phones->count(), 1);
        QCOMPARE(phones->currentText(), QStringLiteral("Brackenlea-pocketphone"));
        for (QCheckBox *box : panel->findChildren<QCheckBox *>())
            box->setChecked(true);
        child<QPushButton>("connect")->setChecked(true);
        QTRY_VERIFY_WITH_TIMEOUT(!phoneJournal("script").isEmpty(), 60000);
        QCOMPARE(phoneJournal("received").value(0).value("line").toString(), QStringLiteral("DISPLAY:360:640:0"));
        // The accelerometer line comes last: once it is in, every line before it was handled.
        QTRY_VERIFY_WITH_TIMEOUT(device.journal(QStringLiteral("sensor")).size() > 1, 5000); // past "listening"
        QTest::qWait(200);
        QList<QJsonObject> sensor;
        for (const QJsonObject &entry : device.journal(QStringLiteral("sensor")))
            if (entry.contains("type"))
                sensor << entry;
        QCOMPARE(sensor.size(), 1);
        QCOMPARE(sensor.first().value("x").toDouble(), 1.5);
        QCOMPARE(sensor.first().value("z").toDouble(), 9.75);
        QStringList touches;
        for (const QJsonObject &entry : device.journal(QStringLiteral("event")))
            if (entry.value("line").toString().startsWith("MULTI"))
                touches << entry.value("line").toString();
        QCOMPARE(touches, QStringList({"MULTI:0:1:180:160", "MULTI:1:1:180:160"}));

        QTest::qWait(2000); // forty frames of preview
        child<QCheckBox>("preview")->setChecked(false);
        QTRY_VERIFY_WITH_TIMEOUT(!phoneJournal("preview").isEmpty() && phoneJournal("preview").last().value("state") == "closed", 10000);
        QByteArray probe;
        QVERIFY(AdbFixture::run({"ffprobe", "-v", "error", "-show_streams", path("preview.webm")}, &probe));
        QVERIFY2(probe.contains("codec_name=vp8") && probe.contains("width=360") && probe.contains("height=640"), probe);
        // The stream shows the device's screen: its last frame against the simulator's picture.
        QVERIFY(AdbFixture::run({"ffmpeg", "-v", "error", "-y", "-sseof", "-0.5", "-i", path("preview.webm"), "-update",
                                 "1", path("last.png")}));
        QVERIFY(device.ok("screenshot " + path("device.png")));
        const QImage shown = QImage(path("last.png")).convertToFormat(QImage::Format_RGB32).scaled(36, 64);
        const QImage screen = QImage(path("device.png")).convertToFormat(QImage::Format_RGB32).scaled(36, 64);
        double distance = 0;
        for (int y = 0; y < 64; ++y)
            for (int x = 0; x < 36; ++x)
                distance += qAbs(qGray(shown.pixel(x, y)) - qGray(screen.pixel(x, y)));
        QVERIFY2(distance / (36 * 64) < 12, qPrintable(QString::number(distance / (36 * 64))));
        LiveWalker walker;
        webm::FileReader reader(std::fopen(QFile::encodeName(path("preview.webm")).constData(), "rb"));
        webm::WebmParser parser;
        QVERIFY(parser.Feed(&walker, &reader).completed_ok());
        QVERIFY(walker.live);
        QCOMPARE(walker.codecs, std::set<std::string>{"V_VP8"});
        QVERIFY2(walker.blocks >= 20, qPrintable(QString::number(walker.blocks))); // 20 frames a second
    }

    // Showing the panel again keeps the connected phone, which the disconnect then stops; a
    // phone that goes away ends the remote control, and the player keeps running.
    void unpluggedPhone()
    {
        panel->hide();
        panel->show();
        child<QPushButton>("connect")->setChecked(false);
        QTRY_VERIFY_WITH_TIMEOUT(!phoneJournal("stop").isEmpty(), 10000);
        QTRY_VERIFY(child<QPushButton>("connect")->isEnabled());
        child<QPushButton>("connect")->setChecked(true);
        QTRY_COMPARE_WITH_TIMEOUT(phoneJournal("sensor").size(), 2, 30000);
        phone.kill();
        QVERIFY(phone.waitForFinished(3000));
        QTRY_VERIFY_WITH_TIMEOUT(!child<QPushButton>("connect")->isChecked(), 15000);
        QVERIFY(!child<QCheckBox>("touch")->isEnabled());
        QVERIFY(device.player->isVisible());
        QVERIFY(device.player->eventManager()->isEventChannelOpen());
        AdbFixture::run({"adb", "disconnect", TestEnvironment::loopback(2) + ":5555"});
    }

    // A phone whose adb daemon takes the connection and never speaks: adb gives up on it within
    // its own time (and still says "connected"), the phone's version reads "unknown", and the
    // panel refuses it with the version error, ready for another try.
    void silentPhone()
    {
        QTcpServer silent; // the kernel completes the handshakes; nothing is ever read or written
        QVERIFY(silent.listen(QHostAddress(TestEnvironment::loopback(3)), 5555));
        AdbFixture::run({"adb", "connect", TestEnvironment::loopback(3) + ":5555"});
        panel->activationSwitch()->setChecked(false);
        panel->activationSwitch()->setChecked(true);
        QCOMPARE(child<QComboBox>("phones")->count(), 1);
        QElapsedTimer clock;
        clock.start();
        child<QPushButton>("connect")->setChecked(true);
        QTRY_COMPARE_WITH_TIMEOUT(child<QLabel>("error")->text(), QStringLiteral("Android 2.2 or later is required"), 60000);
        QVERIFY(child<QLabel>("error")->toolTip().contains(QLatin1String("unknown")));
        QVERIFY(clock.elapsed() < 35000);
        QTRY_VERIFY(child<QPushButton>("connect")->isEnabled());
        QVERIFY(!child<QPushButton>("connect")->isChecked());
    }
};

CALDERWICK_PANEL_TEST_MAIN(TestWidgetRemote)
#include "tst_widgetremote.moc"
