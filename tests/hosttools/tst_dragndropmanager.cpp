// Files dropped on the device screen, end to end: the drop event on the screen's container,
// the workers running Debian's adb and aapt against devicesim's adb daemon on a private adb
// server, and the device's store and journal looked at afterwards.

#include "adbfixture.h"
#include "devicescreencontainer.h"
#include "dragndropmanager.h"
#include "playeroptions.h"
#include "settings.h"
#include "testenvironment.h"

#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QStandardPaths>
#include <QTcpServer>

using namespace AdbFixture;

class TestDragNDropManager : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir dir;
    QProcess device;
    const QString address = TestEnvironment::loopback(7);
    const QString serial = address + QStringLiteral(":5555");
    QScopedPointer<DeviceScreenContainer> container;
    QStringList boxes; // texts of the questions and results the user was shown
    static QStringList logged; // workers log from their threads
    static QMutex logMutex;

    QString store(const QString &path = QString()) const { return dir.path() + QStringLiteral("/store") + path; }

    QList<QJsonObject> journal(const QString &event) const
    {
        return AdbFixture::journal(dir.path() + QStringLiteral("/journal.jsonl"), event);
    }

    // Drags the paths onto the screen's container, drops them and waits for the drop's end;
    // every box the user is shown meanwhile is answered OK.
    bool drop(const QStringList &paths, int timeout = 60000)
    {
        QMimeData data;
        QList<QUrl> urls;
        for (const QString &path : paths)
            urls << QUrl::fromLocalFile(path);
        data.setUrls(urls);
        QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(container.data(), &enter);
        if (!enter.isAccepted())
            return false;
        QDropEvent dropped(QPointF(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(container.data(), &dropped);
        QElapsedTimer clock;
        clock.start();
        while (container->dropManager()->isWorking() && clock.elapsed() < timeout)
            QTest::qWait(50);
        return !container->dropManager()->isWorking();
    }

    bool loggedWith(const QString &text) const
    {
        QMutexLocker lock(&logMutex);
        return std::any_of(logged.cbegin(), logged.cend(), [&](const QString &line) { return line.contains(text); });
    }

private slots:
    void initTestCase()
    {
        for (const char *tool : {"adb", "aapt", "openssl", "jarsigner", "zip"}) {
            if (QStandardPaths::findExecutable(QString::fromLatin1(tool)).isEmpty())
                QSKIP(qPrintable(QStringLiteral("%1 is not installed").arg(tool)));
        }
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &text) {
            QMutexLocker lock(&logMutex);
            logged << text;
        });
        Global::noPopup = true; // error and information boxes become log lines
        QTcpServer probe;
        QVERIFY(probe.listen(QHostAddress::LocalHost, 0));
        qputenv("ANDROID_ADB_SERVER_PORT", QByteArray::number(probe.serverPort()));
        probe.close();
        const QString tools = dir.path() + QStringLiteral("/sdk/platform-tools");
        QDir().mkpath(tools);
        for (const char *tool : {"adb", "aapt"})
            QFile::link(QStandardPaths::findExecutable(QString::fromLatin1(tool)), tools + QLatin1Char('/') + tool);
        setSettingsValue(QStringLiteral("android.sdk.use"), true);
        setSettingsValue(QStringLiteral("android.sdk.path"), dir.path() + QStringLiteral("/sdk"));

        device.start(QStringLiteral(CALDERWICK_BIN_DIR "/devicesim"),
                     {"--address", address, "--screen-port", "0", "--storage", store(), "--journal", dir.path() + "/journal.jsonl"});
        QVERIFY(device.waitForReadyRead(10000));
        QByteArray output;
        run({"adb", "connect", serial}, &output);
        QVERIFY2(output.contains("connected to"), output);
        container.reset(new DeviceScreenContainer(serial, nullptr));

        auto *answerer = new QTimer(this);
        connect(answerer, &QTimer::timeout, this, [this] {
            if (auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget())) {
                boxes << box->text();
                box->done(QMessageBox::Ok);
            }
        });
        answerer->start(50);
    }

    void cleanupTestCase()
    {
        container.reset();
        run({"adb", "kill-server"});
        device.write("quit\n");
        device.waitForFinished(5000);
    }

    void init()
    {
        boxes.clear();
        QMutexLocker lock(&logMutex);
        logged.clear();
    }

    void apkInstallsStartsAndTakesTheUninstallPathOnAnotherSignature()
    {
        const QString first = signedApk(dir.path(), QStringLiteral("first"));
        QVERIFY(!first.isEmpty());
        QVERIFY(drop({first}));
        QCOMPARE(journal("install").value(0).value("result").toString(), QStringLiteral("Success"));
        QCOMPARE(journal("start").value(0).value("component").toString(), QStringLiteral("com.example.dropped/com.example.dropped.Main"));
        QVERIFY(boxes.isEmpty());

        // Another key: the device refuses, the user agrees to remove the old one, and the new
        // one is installed.
        const QString second = signedApk(dir.path(), QStringLiteral("second"));
        QVERIFY(drop({second}));
        QCOMPARE(boxes, QStringList{"info.drop.uninstall"});
        QCOMPARE(journal("uninstall").size(), 1);
        QCOMPARE(journal("install").size(), 3);
        QCOMPARE(journal("install").last().value("result").toString(), QStringLiteral("Success"));
        QCOMPARE(journal("start").size(), 2);
    }

    void fileAndFolderTreeArriveByteExact()
    {
        const QString file = dir.path() + QStringLiteral("/one file é.txt");
        const QString folder = dir.path() + QStringLiteral("/tree ü");
        QVERIFY(write(file, "plain text\n"));
        QVERIFY(write(folder + QStringLiteral("/sub dir ß/bin.dat"), QByteArray(300001, '\xa5')));
        QVERIFY(write(folder + QStringLiteral("/.hidden"), QByteArray()));
        QVERIFY(drop({file, folder + QStringLiteral("/")}));
        QCOMPARE(tree(store("/sdcard/Download/tree ü")), tree(folder));
        QCOMPARE(tree(store("/sdcard/Download")).value("/one file é.txt"), tree(dir.path()).value("/one file é.txt"));
        // Quoted for the device's shell: no stray folders from the blank in the name.
        QCOMPARE(QDir(store("/sdcard/Download")).entryList(QDir::Dirs | QDir::NoDotAndDotDot), QStringList{"tree ü"});
        QVERIFY(loggedWith(QStringLiteral("copy.success.to/sdcard/Download/")));
    }

    void flashableZipFlashesAndAnyOtherZipIsOnlyCopied()
    {
        const QString source = dir.path() + QStringLiteral("/flash");
        QVERIFY(write(source + QStringLiteral("/META-INF/com/google/android/updater-script"), "ui_print(\"hello\");\n"));
        QVERIFY(write(source + QStringLiteral("/system/etc/dropped.conf"), "flashed=1\n"));
        QVERIFY(run({"sh", "-c", "cd '" + source + "' && zip -qr '../update kit.zip' ."}));
        QVERIFY(drop({dir.path() + QStringLiteral("/update kit.zip")}));
        QCOMPARE(boxes, (QStringList{"info.drop.flash", "info.drop.flash.success"}));
        QCOMPARE(tree(store("/system/etc")).value("/dropped.conf"), tree(source + "/system/etc").value("/dropped.conf"));
        QCOMPARE(journal("flash").value(0).value("result").toString(), QStringLiteral("ok"));

        // It checks out but cannot be written: a file over what the device extracts.
        boxes.clear();
        QVERIFY(write(source + QStringLiteral("/system/etc/huge.bin"), QByteArray(17 << 20, '\0')));
        QVERIFY(run({"sh", "-c", "cd '" + source + "' && zip -qr ../broken.zip ."}));
        QVERIFY(drop({dir.path() + QStringLiteral("/broken.zip")}));
        QCOMPARE(boxes, (QStringList{"info.drop.flash", "info.drop.flash.error"}));

        boxes.clear();
        QVERIFY(run({"zip", "-qj", dir.path() + "/photos.zip", source + "/system/etc/dropped.conf"}));
        QVERIFY(drop({dir.path() + QStringLiteral("/photos.zip")}));
        QVERIFY(boxes.isEmpty());
        QCOMPARE(journal("check-archive").last().value("flashable").toBool(), false);
        QCOMPARE(journal("flash").size(), 2);
        QVERIFY(loggedWith(QStringLiteral(" NOT flashable.")));
        QVERIFY(loggedWith(QStringLiteral("copy.success.to/sdcard/Download/")));
        QVERIFY(QFile::exists(store("/sdcard/Download/photos.zip")));
    }

    // A 4 GiB copy under way is stopped by the user's cancel button or by the device closing
    // adb: either way no partial file stays, a cancel shows nothing, a lost link the failure text.
    void interruptedCopyLeavesNothingHalfDone_data()
    {
        QTest::addColumn<bool>("connectionLost");
        QTest::newRow("cancel") << false;
        QTest::newRow("connection lost") << true;
    }

    void interruptedCopyLeavesNothingHalfDone()
    {
        QFETCH(bool, connectionLost);
        const QString large = dir.path() + QStringLiteral("/large.img");
        QFile file(large);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(qint64(4) << 30));
        file.close();
        QSignalSpy progress(container->dropManager(), &DragNDropManager::sigProgress);
        QTimer::singleShot(0, this, [&] {
            QTRY_VERIFY_WITH_TIMEOUT(std::any_of(progress.cbegin(), progress.cend(),
                                                 [](const QList<QVariant> &s) { return s.first().toInt() > 0; }),
                                     30000);
            QTRY_VERIFY(container->pushProgress().isVisible());
            if (connectionLost)
                device.write("refuse adb\nclose adb\n");
            else
                container->pushProgress().findChild<QPushButton *>()->click();
        });
        QVERIFY(drop({large}, 120000));
        QVERIFY(std::none_of(progress.cbegin(), progress.cend(), [](const QList<QVariant> &s) { return s.first().toInt() == 100; }));
        QTRY_VERIFY(!QFile::exists(store("/sdcard/Download/large.img")));
        QVERIFY(boxes.isEmpty());
        QCOMPARE(loggedWith(QStringLiteral("[DragNDropManager][slotError]")), connectionLost);
        QCOMPARE(loggedWith(QStringLiteral("error.drop.action<br>")), connectionLost);
        if (connectionLost)
            return; // the last case: the device no longer takes adb
        // The device takes the next drop as if nothing had happened.
        QVERIFY(write(dir.path() + QStringLiteral("/after.txt"), "after\n"));
        QVERIFY(drop({dir.path() + QStringLiteral("/after.txt")}));
        QVERIFY(QFile::exists(store("/sdcard/Download/after.txt")));
    }
};

QStringList TestDragNDropManager::logged;
QMutex TestDragNDropManager::logMutex;

CALDERWICK_TEST_GUI_MAIN(TestDragNDropManager)
#include "tst_dragndropmanager.moc"
