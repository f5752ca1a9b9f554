#include "settings.h"
#include "testenvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QTemporaryDir>

namespace {

// The application store as another process would see it on disk.
QString appSettingsFile()
{
    return QDir::homePath() + QStringLiteral("/.config/Brackenlea/Calderwick.conf");
}

// The raw "key=value" lines of an INI file, "section/key" outside [General]: read without
// QSettings, which would share the store's unsaved state within this process.
QMap<QString, QString> readIni(const QString &file)
{
    QMap<QString, QString> values;
    QFile in(file);
    if (!in.open(QIODevice::ReadOnly | QIODevice::Text))
        return values;
    QString section;
    for (const QString &raw : QString::fromUtf8(in.readAll()).split(QLatin1Char('\n'))) {
        const QString line = raw.trimmed();
        if (line.startsWith(QLatin1Char('[')) && line.endsWith(QLatin1Char(']'))) {
            section = line.mid(1, line.size() - 2);
            continue;
        }
        const int equals = line.indexOf(QLatin1Char('='));
        if (equals <= 0)
            continue;
        const QString key = line.left(equals).trimmed();
        values.insert(section == QLatin1String("General") ? key : section + QLatin1Char('/') + key,
                      line.mid(equals + 1).trimmed());
    }
    return values;
}

// Rewrites the file behind the store's back, as a second player process would.
bool writeRaw(const QString &file, const QByteArray &content)
{
    QDir().mkpath(QFileInfo(file).absolutePath());
    QFile out(file);
    return out.open(QIODevice::WriteOnly | QIODevice::Truncate) && out.write(content) == content.size();
}

} // namespace

class TestSettings : public QObject
{
    Q_OBJECT

private slots:
    void applicationStoreWritesAtOnceAndRereads()
    {
        QCOMPARE(settingsValue(QStringLiteral("stats.send.stats"), true).toBool(), true);
        QVERIFY(!settingsValue(QStringLiteral("proxy.host")).isValid());
        setSettingsValue(QStringLiteral("proxy.host"), QStringLiteral("proxy.example.org"));
        setSettingsValue(QStringLiteral("stats.last"), 1700000000);
        QCOMPARE(readIni(appSettingsFile()).value(QStringLiteral("proxy.host")), QStringLiteral("proxy.example.org"));
        QCOMPARE(readIni(appSettingsFile()).value(QStringLiteral("stats.last")), QStringLiteral("1700000000"));
        removeSettingsValue(QStringLiteral("proxy.host"));
        QVERIFY(!readIni(appSettingsFile()).contains(QStringLiteral("proxy.host")));
        QCOMPARE(settingsValue(QStringLiteral("proxy.host"), QStringLiteral("none")).toString(), QStringLiteral("none"));

        // Another player process rewrites the file: the next read sees it.
        QVERIFY(writeRaw(appSettingsFile(), "[General]\ncredentials.username=second\ncustomer.uuid=abc-123\n"));
        QCOMPARE(settingsValue(QStringLiteral("credentials.username")).toString(), QStringLiteral("second"));
        QCOMPARE(settingsValue(QStringLiteral("customer.uuid")).toString(), QStringLiteral("abc-123"));
    }

    void deviceStoresLiveInTheirDeviceDirectory()
    {
        QCOMPARE(deviceSettingsValue(QStringLiteral("fresh"), QStringLiteral("network/speed"), 3).toInt(), 3);
        setDeviceSettingsValue(QStringLiteral("Nexus 5"), QStringLiteral("network/type"), QStringLiteral("umts"));
        setDeviceSettingsValue(QStringLiteral("two"), QStringLiteral("network/type"), QStringLiteral("gprs"));
        const QString file = QDir::homePath() + QStringLiteral("/.Brackenlea/Calderwick/deployed/Nexus 5/calderwick-settings.cfg");
        QCOMPARE(readIni(file).value(QStringLiteral("network/type")), QStringLiteral("umts"));
        QCOMPARE(deviceSettingsValue(QStringLiteral("Nexus 5"), QStringLiteral("network/type")).toString(), QStringLiteral("umts"));
        // Device values stay out of the application store.
        QVERIFY(!readIni(appSettingsFile()).contains(QStringLiteral("network/type")));
        QVERIFY(writeRaw(file, "[gps]\nlatitude=48.85\n"));
        QCOMPARE(deviceSettingsValue(QStringLiteral("Nexus 5"), QStringLiteral("gps/latitude")).toDouble(), 48.85);

        // The devices' folder is a setting of its own.
        QTemporaryDir vms;
        setSettingsValue(QStringLiteral("vms.path"), vms.path());
        setDeviceSettingsValue(QStringLiteral("moved"), QStringLiteral("gps/altitude"), 120);
        removeSettingsValue(QStringLiteral("vms.path"));
        QCOMPARE(readIni(vms.filePath(QStringLiteral("moved/calderwick-settings.cfg"))).value(QStringLiteral("gps/altitude")),
                 QStringLiteral("120"));
    }

    void migrationMovesTheOldSdkPathOnce()
    {
        setSettingsValue(QStringLiteral("android.sdk.path"), QStringLiteral("/keep"));
        migrateAndroidSdkSetting();
        QCOMPARE(settingsValue(QStringLiteral("android.sdk.path")).toString(), QStringLiteral("/keep"));
        QVERIFY(!readIni(appSettingsFile()).contains(QStringLiteral("configuration_android_sdk_path")));

        setSettingsValue(QStringLiteral("configuration_android_sdk_path"), QStringLiteral("/opt/android-sdk"));
        migrateAndroidSdkSetting();
        QCOMPARE(readIni(appSettingsFile()).value(QStringLiteral("android.sdk.path")), QStringLiteral("/opt/android-sdk"));
        QCOMPARE(readIni(appSettingsFile()).value(QStringLiteral("android.sdk.use")), QStringLiteral("true"));
        QVERIFY(readIni(appSettingsFile()).contains(QStringLiteral("configuration_android_sdk_path")));
        QCOMPARE(readIni(appSettingsFile()).value(QStringLiteral("configuration_android_sdk_path")), QString());

        // The start runs it twice; the second run must not undo a path the user changed since.
        setSettingsValue(QStringLiteral("android.sdk.path"), QStringLiteral("/home/me/sdk"));
        migrateAndroidSdkSetting();
        QCOMPARE(settingsValue(QStringLiteral("android.sdk.path")).toString(), QStringLiteral("/home/me/sdk"));
    }
};

CALDERWICK_TEST_MAIN(TestSettings)
#include "tst_settings.moc"
