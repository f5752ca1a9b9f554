#include "engineloader.h"
#include "logreader.h"
#include "testenvironment.h"
#include "vmtoolsengine.h"
#include "vmtoolsmachine.h"

#include <QCoreApplication>
#include <QDir>
#include <QRegularExpression>

#include <memory>

namespace {

QString pluginDir(const char *variant)
{
    return QStringLiteral(TEST_PLUGIN_DIR "/%1/").arg(QLatin1String(variant));
}

// Deletes the engine as the player does at its end: shutdown() first.
struct EngineDeleter
{
    void operator()(VMToolsEngine *engine) const
    {
        engine->shutdown();
        delete engine;
    }
};
using EnginePtr = std::unique_ptr<VMToolsEngine, EngineDeleter>;

} // namespace

class TestEngineLoader : public QObject
{
    Q_OBJECT

    std::unique_ptr<LogReader> m_log;

private slots:
    void initTestCase() { m_log = std::make_unique<LogReader>(); }
    void init() { m_log->clear(); }

    // Each way a plug-in can fail gives a null engine with one line naming why.
    void brokenPlugins_data()
    {
        QTest::addColumn<QString>("dir");
        QTest::addColumn<QString>("error");
        const QString fail = QStringLiteral("[Error] Fail to load vboxmanage plugin from ");
        QTest::newRow("no entry symbol") << pluginDir("noentry") << fail + pluginDir("noentry");
        QTest::newRow("no library") << QDir::tempPath() + QStringLiteral("/none/") << fail + QDir::tempPath() + QStringLiteral("/none/");
        // No plugins folder lies beside the test program.
        QTest::newRow("default folder") << QString() << fail + QCoreApplication::applicationDirPath() + QStringLiteral("/plugins/");
        QTest::newRow("entry returns null") << pluginDir("nullentry")
                                            << QStringLiteral("[Error] Unable to execute getVMToolsEngine from \"vboxmanage\"");
        // init() false deletes the engine without an error line.
        QTest::newRow("init fails") << pluginDir("initfails") << QString();
    }

    void brokenPlugins()
    {
        QFETCH(QString, dir);
        QFETCH(QString, error);
        QVERIFY(!(dir.isEmpty() ? loadEngine() : loadEngine(dir)));
        QVERIFY(m_log->contains(QStringLiteral("[Debug] Loading \"vboxmanage\" plugin")));
        QCOMPARE(m_log->matching(QStringLiteral("[Error]")), error.isEmpty() ? QStringList() : QStringList{error});
        QCOMPARE(m_log->contains(QStringLiteral("[Debug] Plugin \"vboxmanage\" loaded")), error.isEmpty() || error.contains("getVMToolsEngine"));
        QCOMPARE(m_log->matching(QStringLiteral("[TestEngine] engine destroyed")).size(), error.isEmpty() ? 1 : 0);
        QVERIFY(m_log->matching(QStringLiteral("VM engine version")).isEmpty());
    }

    // The good plug-in end to end: its load, every operation through it, its deletion.
    void goodPluginReachedThroughTheLoader()
    {
        EnginePtr engine(loadEngine(pluginDir("good")));
        QVERIFY(engine);
        // The engine's own host check logs in between; it has tests of its own.
        const QStringList messages =
            m_log->messages().filter(QRegularExpression(QStringLiteral("^(?!\\[Debug\\] (Chipset|CPUID))")));
        QCOMPARE(messages, (QStringList{QStringLiteral("[Debug] Loading \"vboxmanage\" plugin"),
                                        QStringLiteral("[Debug] Plugin \"vboxmanage\" loaded"),
                                        QStringLiteral("[Debug] VM engine version: \"test-engine 1.2.3\"")}));
        QVERIFY(!engine->machine(QStringLiteral("No Such Device")));
        QVERIFY(!engine->machine(QString()));
        std::unique_ptr<VMToolsMachine> machine(engine->machine(QStringLiteral("Known Device")));
        QVERIFY(machine);

        // Every value differs, so a call that lands on the wrong virtual shows.
        QCOMPARE((QStringList{machine->name(), machine->logDirectory(), machine->androidVersion(), machine->systemVersion(),
                              machine->platform(), machine->dpi(), machine->waitForIp(), machine->ip()}),
                 (QStringList{"Known Device", "/var/log/test-machines/Known Device", "6.0.1", "2.6.3", "phone", "420",
                              "192.168.56.101", "192.168.56.102"}));
        QVERIFY(machine->prepareStart());
        QCOMPARE(machine->state(), int(MachineState::Paused));
        QCOMPARE(machine->size(), qMakePair(1080, 1920));
        QVERIFY(machine->startsFullScreen());
        QCOMPARE(machine->processorCount(), 2);
        QVERIFY(machine->setProcessorCount(1) && !machine->setProcessorCount(0));
        QVERIFY(!machine->isHardwareAccelerated());
        QVERIFY(!machine->navigationBarShown() && machine->navigationBarConfigured());
        QCOMPARE((QList<int>{machine->networkAdapterMode(0), machine->networkAdapterMode(1)}),
                 (QList<int>{AdapterMode::None, AdapterMode::Unknown}));
        QCOMPARE(machine->setNetworkAdapter(1, AdapterMode::HostOnly, QStringLiteral("vboxnet7")), 1);
        QCOMPARE(machine->setNetworkAdapter(2, AdapterMode::HostOnly, QString()), 0);

        QCOMPARE(engine->version(), QStringLiteral("test-engine 1.2.3"));
        QVERIFY(engine->configure());
        QCOMPARE(engine->hostOnlyInterface(), QStringLiteral("vboxnet7"));
        std::unique_ptr<VMToolsMachine> oldCpu(engine->machine(QStringLiteral("Old CPU")));
        QVERIFY(oldCpu);
        QCOMPARE(engine->start(machine.get(), 2), int(VMToolsEngine::Started));
        QCOMPARE(engine->start(oldCpu.get(), 2), int(VMToolsEngine::VmxUnsupported));
        QCOMPARE(engine->start(machine.get(), 1), 0);
        QVERIFY(engine->stop(machine.get()));
        QVERIFY(!engine->startAndStop(machine.get()));

        m_log->clear();
        engine->checkInterface();
        machine.reset();
        oldCpu.reset();
        engine.reset();
        QCOMPARE(m_log->matching(QStringLiteral("[TestEngine]")),
                 (QStringList{"[Debug] [TestEngine] checkInterface", "[Debug] [TestEngine] machine destroyed \"Known Device\"",
                              "[Debug] [TestEngine] machine destroyed \"Old CPU\"", "[Debug] [TestEngine] shutdown",
                              "[Debug] [TestEngine] engine destroyed"}));
    }
};

CALDERWICK_TEST_MAIN(TestEngineLoader)
#include "tst_engineloader.moc"
