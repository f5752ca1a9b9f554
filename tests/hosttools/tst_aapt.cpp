// Aapt: where the tool is looked for in an SDK, what badging makes of its answers, and
// the real Debian aapt reading an APK that the test packages itself.

#include "aapt.h"
#include "faketool.h"
#include "logreader.h"
#include "settings.h"
#include "testenvironment.h"

#include <QProcess>
#include <QStandardPaths>
#include <memory>

namespace {

bool writeFile(const QString &path, const QByteArray &data)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(data) == data.size();
}

// Runs a tool to its end; false with the tool's words in the test log otherwise.
bool runTool(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    if (!process.waitForFinished(30000) || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        qWarning().noquote() << program << arguments.join(' ') << "failed:" << process.readAll();
        return false;
    }
    return true;
}

// The four framework attributes a minimal manifest uses, at their public ids, so that
// "aapt package" can resolve them without a platform's android.jar.
const QByteArray FrameworkAttributes = R"(<?xml version="1.0" encoding="utf-8"?>
<resources>
  <attr name="label" format="string|reference"/>
  <attr name="name" format="string"/>
  <attr name="versionCode" format="integer"/>
  <attr name="versionName" format="string"/>
  <public type="attr" name="label" id="0x01010001"/>
  <public type="attr" name="name" id="0x01010003"/>
  <public type="attr" name="versionCode" id="0x0101021b"/>
  <public type="attr" name="versionName" id="0x0101021c"/>
</resources>
)";

QByteArray manifest(bool launcher)
{
    QByteArray intent = launcher ? "      <intent-filter>\n"
                                   "        <action android:name=\"android.intent.action.MAIN\"/>\n"
                                   "        <category android:name=\"android.intent.category.LAUNCHER\"/>\n"
                                   "      </intent-filter>\n"
                                 : "";
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
           "<manifest xmlns:android=\"http://schemas.android.com/apk/res/android\" package=\"com.example.hello\"\n"
           "          android:versionCode=\"3\" android:versionName=\"1.2\">\n"
           "  <application android:label=\"Hello\">\n"
           "    <activity android:name=\".MainActivity\" android:label=\"Main\">\n"
           + intent
           + "    </activity>\n"
             "  </application>\n"
             "</manifest>\n";
}

} // namespace

class TestAapt : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<LogReader> m_logReader;
    LogReader &log() { return *m_logReader; }

private slots:
    void initTestCase()
    {
        m_logReader = std::make_unique<LogReader>();
        setSettingsValue(QStringLiteral("android.sdk.use"), true);
    }

    void init() { log().clear(); }

    void searchOrder_data()
    {
        QTest::addColumn<QStringList>("present");
        QTest::addColumn<QString>("found");
        QTest::newRow("newest build-tools first")
            << QStringList{"build-tools/19.1.0", "build-tools/23.0.2", "build-tools/21.1.2", "platform-tools"}
            << "build-tools/23.0.2/aapt";
        QTest::newRow("platform-tools before platforms")
            << QStringList{"platform-tools", "platforms/android-19/tools", "tools", "."} << "platform-tools/aapt";
        QTest::newRow("platforms ascending")
            << QStringList{"platforms/android-23/tools", "platforms/android-19/tools", "tools"}
            << "platforms/android-19/tools/aapt";
        QTest::newRow("tools before root") << QStringList{"tools", "."} << "tools/aapt";
        QTest::newRow("root") << QStringList{"."} << "./aapt";
        QTest::newRow("build-tools without aapt") << QStringList{"build-tools/24.0.0/x", "."} << "./aapt";
        QTest::newRow("none") << QStringList{} << "";
    }

    void searchOrder()
    {
        QFETCH(QStringList, present);
        QFETCH(QString, found);
        QTemporaryDir sdk;
        for (const QString &dir : present) {
            if (dir.endsWith(QLatin1String("/x")))
                QVERIFY(QDir().mkpath(sdk.filePath(dir)));
            else
                QVERIFY(FakeTool().install(sdk.filePath(dir), QStringLiteral("aapt")));
        }
        const QString expected = found.isEmpty() ? QString() : QDir::cleanPath(sdk.filePath(found));
        QCOMPARE(QDir::cleanPath(Aapt::searchSdk(sdk.path())), QDir::cleanPath(expected));
        QVERIFY(log().contains(found.isEmpty() ? QStringLiteral("[Debug] [Aapt] aapt not found")
                                               : QStringLiteral("[Debug] [Aapt] aapt found at ") + expected));
    }

    void pathFollowsTheSetting()
    {
        QTemporaryDir first, second;
        FakeTool one(first.filePath(QStringLiteral("tools")), QStringLiteral("aapt"));
        FakeTool two(second.filePath(QStringLiteral("platform-tools")), QStringLiteral("aapt"));
        setSettingsValue(QStringLiteral("android.sdk.path"), first.path());
        QCOMPARE(Aapt::aaptPath(), one.path());
        // Found once: another setting does not matter while the tool is still there ...
        setSettingsValue(QStringLiteral("android.sdk.path"), second.path());
        QCOMPARE(Aapt::aaptPath(), one.path());
        // ... and a tool that disappeared is searched for again.
        QVERIFY(QFile::remove(one.path()));
        QCOMPARE(Aapt::aaptPath(), two.path());

        setSettingsValue(QStringLiteral("android.sdk.path"), QString());
        QVERIFY(QFile::remove(two.path()));
        QCOMPARE(Aapt::aaptPath(), QString());
        QVERIFY(log().contains(QStringLiteral("[Debug] [Aapt] Can't retrieve SDK: path not set")));
        // Without a tool the record is left as it was.
        Aapt tool;
        ApkBadging record{QStringLiteral("keep"), QStringLiteral("keep")};
        QVERIFY(!tool.badging(QStringLiteral("/tmp/a.apk"), record));
        QVERIFY(log().contains(QStringLiteral("[Debug] [Aapt] Can't run aapt command: \"")));
        QCOMPARE(record.packageName, QStringLiteral("keep"));
    }

    void badgingOfScriptedOutput()
    {
        QTemporaryDir sdk;
        FakeTool aapt(sdk.filePath(QStringLiteral("platform-tools")), QStringLiteral("aapt"));
        setSettingsValue(QStringLiteral("android.sdk.path"), sdk.path());
        aapt.answer(QStringLiteral("dump"),
                    "package: name='com.a.b' versionCode='7' versionName='2.0'\n"
                    "launchable-activity: name='com.a.b.Start'  label='' icon=''\n",
                    0, 0, "W/ResourceType: warning on standard error\n");
        Aapt tool;
        ApkBadging record;
        QVERIFY(tool.badging(QStringLiteral("/tmp/my app.apk"), record));
        QCOMPARE(aapt.calls(), (QList<QStringList>{{"dump", "badging", "/tmp/my app.apk"}}));
        QCOMPARE(record.packageName, QStringLiteral("com.a.b"));
        QCOMPARE(record.launchableActivity, QStringLiteral("com.a.b.Start"));
        QVERIFY(log().contains(QStringLiteral("[Debug] [Aapt] Package found")));
        QVERIFY(log().contains(QStringLiteral("[Debug] [Aapt] Launchable Activity found")));
        QVERIFY(QFile::remove(aapt.path()));
    }

    void realAaptReadsAPackagedApk_data()
    {
        QTest::addColumn<bool>("launcher");
        QTest::addColumn<QString>("activity");
        QTest::newRow("launcher") << true << "com.example.hello.MainActivity";
        QTest::newRow("no launcher") << false << "";
    }

    void realAaptReadsAPackagedApk()
    {
        QFETCH(bool, launcher);
        QFETCH(QString, activity);
        const QString real = QStandardPaths::findExecutable(QStringLiteral("aapt"));
        if (real.isEmpty())
            QSKIP("Debian's aapt is not installed");
        QTemporaryDir work;
        // A framework package of our own stands in for the platform's android.jar.
        QVERIFY(writeFile(work.filePath(QStringLiteral("framework/AndroidManifest.xml")),
                          "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<manifest package=\"android\"/>\n"));
        QVERIFY(writeFile(work.filePath(QStringLiteral("framework/res/values/public.xml")), FrameworkAttributes));
        const QString framework = work.filePath(QStringLiteral("framework.jar"));
        QVERIFY(runTool(real, {QStringLiteral("package"), QStringLiteral("-f"), QStringLiteral("-x"), QStringLiteral("-M"),
                               work.filePath(QStringLiteral("framework/AndroidManifest.xml")), QStringLiteral("-S"),
                               work.filePath(QStringLiteral("framework/res")), QStringLiteral("-F"), framework}));
        QVERIFY(writeFile(work.filePath(QStringLiteral("app/AndroidManifest.xml")), manifest(launcher)));
        const QString apk = work.filePath(QStringLiteral("hello.apk"));
        QVERIFY(runTool(real, {QStringLiteral("package"), QStringLiteral("-f"), QStringLiteral("-M"),
                               work.filePath(QStringLiteral("app/AndroidManifest.xml")), QStringLiteral("-I"), framework,
                               QStringLiteral("-F"), apk}));

        // The real tool, found in an SDK layout like any other.
        QVERIFY(QDir().mkpath(work.filePath(QStringLiteral("sdk/build-tools/29.0.3"))));
        QVERIFY(QFile::link(real, work.filePath(QStringLiteral("sdk/build-tools/29.0.3/aapt"))));
        setSettingsValue(QStringLiteral("android.sdk.path"), work.filePath(QStringLiteral("sdk")));
        QCOMPARE(Aapt::aaptPath(), work.filePath(QStringLiteral("sdk/build-tools/29.0.3/aapt")));

        Aapt tool;
        ApkBadging record;
        QVERIFY(tool.badging(apk, record));
        QCOMPARE(record.packageName, QStringLiteral("com.example.hello"));
        QCOMPARE(record.launchableActivity, activity);

        // A file that is no APK runs the tool all the same and leaves the record empty.
        const QString notApk = work.filePath(QStringLiteral("notes.apk"));
        QVERIFY(writeFile(notApk, "just text\n"));
        ApkBadging empty;
        QVERIFY(tool.badging(notApk, empty));
        QVERIFY(empty.packageName.isEmpty());
        QVERIFY(empty.launchableActivity.isEmpty());
    }
};

CALDERWICK_TEST_MAIN(TestAapt)
#include "tst_aapt.moc"
