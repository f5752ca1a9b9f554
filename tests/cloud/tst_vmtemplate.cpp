#include "testenvironment.h"

#include "connector.h"
#include "fakecloudserver.h"
#include "settings.h"
#include "vmtemplate.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>

using Answer = FakeCloudServer::Answer;

namespace {

const QByteArray TemplateJson =
    "{\"vmtemplate_uuid\":\"t-1\",\"name\":\"Phone\",\"description\":\"A phone\",\"resolution_height\":1920,"
    "\"resolution_width\":1080,\"density\":480,\"navbar\":true,\"memory_size\":2048,\"datadisk_size\":8192,"
    "\"proc_number\":2,\"sensor_gyro\":false,\"sensor_camera\":true,\"system_version\":{\"uuid\":\"s-1\","
    "\"name\":\"Android 6\",\"description\":\"M\",\"platform\":\"x86\",\"aosp_version\":\"6.0\","
    "\"version_number\":\"2.6.1\",\"date\":\"2016-05-04T03:02:01\",\"vdi_system_name\":\"sys.vdi\","
    "\"vdi_system_size\":123456789,\"vdi_system_hash\":\"ab\",\"ova_name\":\"phone.ova\",\"ova_size\":4000000000,"
    "\"ova_hash\":\"a9993e364706816aba3e25717850c26c9cd0d89d\"}}";

} // namespace

class TestVmTemplate : public QObject
{
    Q_OBJECT

    FakeCloudServer server;

    VmTemplate parsed()
    {
        return VmTemplate(QJsonDocument::fromJson(TemplateJson).object().toVariantMap());
    }

    void writeCache(qint64 stamp, const QVariantList &json)
    {
        QSettings cache(Connector::templatesDirectory() + ".cache", QSettings::IniFormat);
        cache.setValue("templates.timestamp", stamp);
        cache.setValue("templates.json", json);
        cache.sync();
    }

private slots:
    void initTestCase()
    {
        const QString root = server.start();
        QVERIFY(!root.isEmpty());
        setSettingsValue(QStringLiteral("cloud.root.url"), root);
        Connector::instance();
    }

    void init() { server.reset(); }

    void fromServerMap()
    {
        const VmTemplate t = parsed();
        QCOMPARE(t.uuid, QStringLiteral("t-1"));
        QCOMPARE(t.resolutionHeight, 1920);
        QCOMPARE(t.navbar, true);
        QCOMPARE(t.systemVersion.androidVersion, QStringLiteral("6.0"));
        QCOMPARE(t.systemVersion.calderwickVersion, QStringLiteral("2.6.1"));
        QCOMPARE(t.systemVersion.date, QDateTime(QDate(2016, 5, 4), QTime(3, 2, 1)));
        QCOMPARE(t.systemVersion.ovaSize, 4000000000u);
        const VmTemplate empty{QVariantMap()};
        QCOMPARE(empty.uuid, QString());
        QCOMPARE(empty.density, 0);
        QCOMPARE(empty.sensorCamera, false);
        // Every field is printed: comparing the texts of two templates compares the records.
        QCOMPARE(t.toString(1).split('\n').size(), 27);
    }

    void fileRoundTrip_data()
    {
        QTest::addColumn<bool>("nullDate");
        QTest::newRow("date") << false;
        QTest::newRow("null date") << true;
    }

    void fileRoundTrip()
    {
        QFETCH(bool, nullDate);
        VmTemplate written = parsed();
        if (nullDate)
            written.systemVersion.date = QDateTime();
        QTemporaryDir dir;
        QCOMPARE(written.writeToDirectory(dir.path()), 1);
        QFile file(dir.filePath("t-1.bin"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.read(4), QByteArray("\x00\x00\x00\x19", 4)); // 25 entries, big-endian
        file.close();
        VmTemplate read;
        QCOMPARE(read.readFromFile(&file), 1);
        QCOMPARE(read.toString(0), written.toString(0));
    }

    void fileFailures()
    {
        QTemporaryDir dir;
        VmTemplate t;
        QCOMPARE(t.writeToDirectory(dir.path()), 13);
        t.uuid = "x";
        QCOMPARE(t.writeToDirectory(dir.filePath("missing/folder")), 15);
        QFile missing(dir.filePath("none.bin"));
        QCOMPARE(t.readFromFile(&missing), 14);
    }

    // Files that are no template: each is refused with its reason.
    void unreadableFile_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("line");
        QTest::newRow("garbage") << QByteArray("\x7f\xff\xff\xff junk") << "Not a template file";
        QTest::newRow("cut") << QByteArray("\x00\x00\x00\x05", 4) << "Template file cut short";
        // A value of a kind no template holds (here a picture) is refused unread.
        QByteArray foreign;
        QDataStream out(&foreign, QIODevice::WriteOnly);
        out.setVersion(12);
        out << qint32(1) << QStringLiteral("uuid") << quint32(QMetaType::QPixmap) << qint8(0) << quint32(0);
        QTest::newRow("foreign") << foreign << "Not a template file, value of type 65";
    }

    void unreadableFile()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, line);
        QTemporaryFile file;
        QVERIFY(file.open() && file.write(content) == content.size());
        file.close();
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^\\[VmTemplate\\] " + line));
        VmTemplate t;
        QCOMPARE(t.readFromFile(&file), 14);
    }

    void ovaCheck_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("hash");
        QTest::addColumn<bool>("valid");
        const QString abc = "a9993e364706816aba3e25717850c26c9cd0d89d";
        QTest::newRow("match") << QByteArray("abc") << abc << true;
        QTest::newRow("one byte off") << QByteArray("abd") << abc << false;
        QTest::newRow("upper case hash") << QByteArray("abc") << abc.toUpper() << false;
        QTest::newRow("empty hash") << QByteArray("abc") << QString() << false;
        QTest::newRow("missing file") << QByteArray() << abc << false;
        QByteArray big(3 * 8192 + 17, 'z'); // several blocks and a tail
        QTest::newRow("blocks") << big
                                << QString::fromLatin1(QCryptographicHash::hash(big, QCryptographicHash::Sha1).toHex())
                                << true;
    }

    void ovaCheck()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, hash);
        SystemVersion version;
        version.ovaName = "check.ova";
        version.ovaHash = hash;
        version.removeLocalOva();
        if (!content.isEmpty()) {
            QFile file(version.localOvaPath());
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(content);
        }
        QTEST(version.isLocalOvaValid(), "valid");
        version.removeLocalOva();
        QVERIFY(!QFile::exists(version.localOvaPath()));
    }

    void cacheUse_data()
    {
        QTest::addColumn<qint64>("age");
        QTest::addColumn<bool>("cached");
        QTest::addColumn<bool>("force");
        QTest::addColumn<bool>("fromServer");
        QTest::newRow("fresh") << qint64(1000) << true << false << false;
        QTest::newRow("almost a day") << qint64(86400000 - 300) << true << false << false;
        QTest::newRow("a day and a bit") << qint64(86400001) << true << false << true;
        QTest::newRow("forced") << qint64(1000) << true << true << true;
        QTest::newRow("empty cache") << qint64(1000) << false << false << true;
    }

    void cacheUse()
    {
        QFETCH(qint64, age);
        QFETCH(bool, cached);
        QFETCH(bool, force);
        QFETCH(bool, fromServer);
        const QVariantList old{QVariantMap{{"vmtemplate_uuid", "old"}}};
        writeCache(QDateTime::currentMSecsSinceEpoch() - age, cached ? old : QVariantList());
        server.script("/vmtemplate/getall", {Answer::json(200, "[{\"vmtemplate_uuid\":\"new1\"},{\"vmtemplate_uuid\":\"new2\"}]")});

        QList<VmTemplate> list{VmTemplate()};
        QCOMPARE(Connector::instance()->getVmTemplates(list, force), 1);
        QCOMPARE(server.received.size(), fromServer ? 1 : 0);
        QCOMPARE(list.size(), fromServer ? 2 : 1);
        QCOMPARE(list.first().uuid, fromServer ? QStringLiteral("new1") : QStringLiteral("old"));
        if (fromServer) {
            QSettings cache(Connector::templatesDirectory() + ".cache", QSettings::IniFormat);
            QCOMPARE(cache.value("templates.json").toList().size(), 2);
            QVERIFY(QDateTime::currentMSecsSinceEpoch() - cache.value("templates.timestamp").toLongLong() < 60000);
        }
    }

    void failedRefreshKeepsCache()
    {
        const QVariantList old{QVariantMap{{"vmtemplate_uuid", "old"}}};
        const qint64 stamp = QDateTime::currentMSecsSinceEpoch() - 2 * 86400000LL;
        writeCache(stamp, old);
        server.script("/vmtemplate/getall", {Answer::json(503, "")});
        QList<VmTemplate> list;
        QCOMPARE(Connector::instance()->getVmTemplates(list, false), 2);
        QVERIFY(list.isEmpty());
        QSettings cache(Connector::templatesDirectory() + ".cache", QSettings::IniFormat);
        QCOMPARE(cache.value("templates.timestamp").toLongLong(), stamp);
    }

    void singleTemplate()
    {
        server.script("/vmtemplate/t-1/getvm", {Answer::json(200, "[" + TemplateJson + "]")});
        VmTemplate t;
        QCOMPARE(Connector::instance()->getVmTemplate("t-1", t), 1);
        QFile file(Connector::templatesDirectory() + "t-1.bin");
        VmTemplate read;
        QCOMPARE(read.readFromFile(&file), 1);
        QCOMPARE(read.toString(0), parsed().toString(0));

        server.script("/vmtemplate/t-2/getvm", {Answer::json(200, "[" + TemplateJson + "," + TemplateJson + "]")});
        QCOMPARE(Connector::instance()->getVmTemplate("t-2", t), 5);
    }
};

CALDERWICK_TEST_MAIN(TestVmTemplate)
#include "tst_vmtemplate.moc"
