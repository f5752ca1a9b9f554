#include "engineloader.h"
#include "logreader.h"
#include "testenvironment.h"
#include "vmtoolsengine.h"
#include "vmtoolsmachine.h"

#include <QCoreApplication>
#include <QTemporaryDir>

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

private slots:
    void initTestCase();
    void init();

    void missingEntrySymbol();
    void missingLibrary();
    void defaultDirectoryIsBesideTheProgram();
    void entryReturningNull();
    void initFailingDeletesTheEngine();
    void goodPluginLogsItsVersion();
    void unknownMachineIsNull();
    void machineOperationsReachThePlugin();
    void engineOperationsReachThePlugin();

private:
    std::unique_ptr<LogReader> m_log;
};

void TestEngineLoader::initTestCase()
{
    m_log = std::make_unique<LogReader>();
}

void TestEngineLoader::init()
{
    m_log->clear();
}

void TestEngineLoader::missingEntrySymbol()
{
    const QString dir = pluginDir("noentry");
    QVERIFY(!loadEngine(dir));
    const QStringList messages = m_log->messages();
    QVERIFY2(messages.contains(QStringLiteral("[Debug] Loading \"vboxmanage\" plugin")), qPrintable(messages.join('\n')));
    QCOMPARE(m_log->matching(QStringLiteral("[Error]")),
             QStringList{QStringLiteral("[Error] Fail to load vboxmanage plugin from ") + dir});
    QVERIFY(m_log->matching(QStringLiteral("loaded")).isEmpty());
}

void TestEngineLoader::missingLibrary()
{
    QTemporaryDir empty;
    const QString dir = empty.path() + QLatin1Char('/');
    QVERIFY(!loadEngine(dir));
    QCOMPARE(m_log->matching(QStringLiteral("[Error]")),
             QStringList{QStringLiteral("[Error] Fail to load vboxmanage plugin from ") + dir});
}

void TestEngineLoader::defaultDirectoryIsBesideTheProgram()
{
    // No plugins folder lies beside the test program.
    QVERIFY(!loadEngine());
    QCOMPARE(m_log->matching(QStringLiteral("[Error]")),
             QStringList{QStringLiteral("[Error] Fail to load vboxmanage plugin from ")
                         + QCoreApplication::applicationDirPath() + QStringLiteral("/plugins/")});
}

void TestEngineLoader::entryReturningNull()
{
    QVERIFY(!loadEngine(pluginDir("nullentry")));
    QVERIFY(m_log->contains(QStringLiteral("[Debug] Plugin \"vboxmanage\" loaded")));
    QCOMPARE(m_log->matching(QStringLiteral("[Error]")),
             QStringList{QStringLiteral("[Error] Unable to execute getVMToolsEngine from \"vboxmanage\"")});
}

void TestEngineLoader::initFailingDeletesTheEngine()
{
    QVERIFY(!loadEngine(pluginDir("initfails")));
    QVERIFY(m_log->contains(QStringLiteral("[Debug] Plugin \"vboxmanage\" loaded")));
    QCOMPARE(m_log->matching(QStringLiteral("[TestEngine] engine destroyed")).size(), 1);
    QVERIFY2(m_log->matching(QStringLiteral("[Error]")).isEmpty(), qPrintable(m_log->messages().join('\n')));
    QVERIFY(m_log->matching(QStringLiteral("VM engine version")).isEmpty());
}

void TestEngineLoader::goodPluginLogsItsVersion()
{
    EnginePtr engine(loadEngine(pluginDir("good")));
    QVERIFY(engine);
    // The engine's own host check logs in between; it has tests of its own.
    const QStringList messages =
        m_log->messages().filter(QRegularExpression(QStringLiteral("^(?!\\[Debug\\] (Chipset|CPUID))")));
    QCOMPARE(messages, (QStringList{QStringLiteral("[Debug] Loading \"vboxmanage\" plugin"),
                                    QStringLiteral("[Debug] Plugin \"vboxmanage\" loaded"),
                                    QStringLiteral("[Debug] VM engine version: \"test-engine 1.2.3\"")}));

    engine.reset();
    QCOMPARE(m_log->matching(QStringLiteral("[TestEngine]")),
             (QStringList{QStringLiteral("[Debug] [TestEngine] shutdown"),
                          QStringLiteral("[Debug] [TestEngine] engine destroyed")}));
}

void TestEngineLoader::unknownMachineIsNull()
{
    EnginePtr engine(loadEngine(pluginDir("good")));
    QVERIFY(engine);
    QVERIFY(!engine->machine(QStringLiteral("No Such Device")));
    QVERIFY(!engine->machine(QString()));
}

void TestEngineLoader::machineOperationsReachThePlugin()
{
    EnginePtr engine(loadEngine(pluginDir("good")));
    QVERIFY(engine);
    std::unique_ptr<VMToolsMachine> machine(engine->machine(QStringLiteral("Known Device")));
    QVERIFY(machine);

    QCOMPARE(machine->name(), QStringLiteral("Known Device"));
    QCOMPARE(machine->logDirectory(), QStringLiteral("/var/log/test-machines/Known Device"));
    QVERIFY(machine->prepareStart());
    QCOMPARE(machine->state(), int(MachineState::Paused));
    QCOMPARE(machine->androidVersion(), QStringLiteral("6.0.1"));
    QCOMPARE(machine->systemVersion(), QStringLiteral("2.6.3"));
    QCOMPARE(machine->platform(), QStringLiteral("phone"));
    QCOMPARE(machine->dpi(), QStringLiteral("420"));
    QCOMPARE(machine->size(), qMakePair(1080, 1920));
    QVERIFY(machine->startsFullScreen());
    QCOMPARE(machine->waitForIp(), QStringLiteral("192.168.56.101"));
    QCOMPARE(machine->ip(), QStringLiteral("192.168.56.102"));

    QCOMPARE(machine->processorCount(), 2);
    QVERIFY(machine->setProcessorCount(1));
    QCOMPARE(machine->processorCount(), 1);
    QVERIFY(!machine->setProcessorCount(0));

    QVERIFY(!machine->isHardwareAccelerated());
    machine->setHardwareAccelerated(true);
    QVERIFY(machine->isHardwareAccelerated());

    QVERIFY(!machine->navigationBarShown());
    QVERIFY(machine->navigationBarConfigured());
    machine->setNavigationBarShown(true);
    machine->setNavigationBarConfigured(false);
    QVERIFY(machine->navigationBarShown());
    QVERIFY(!machine->navigationBarConfigured());

    QCOMPARE(machine->networkAdapterMode(0), int(AdapterMode::None));
    QCOMPARE(machine->networkAdapterMode(1), int(AdapterMode::Unknown));
    QCOMPARE(machine->setNetworkAdapter(1, AdapterMode::HostOnly, QStringLiteral("vboxnet7")), 1);
    QCOMPARE(machine->networkAdapterMode(1), int(AdapterMode::HostOnly));
    QCOMPARE(machine->setNetworkAdapter(2, AdapterMode::HostOnly, QString()), 0);

    machine.reset();
    QVERIFY(m_log->contains(QStringLiteral("[TestEngine] machine destroyed \"Known Device\"")));
}

void TestEngineLoader::engineOperationsReachThePlugin()
{
    EnginePtr engine(loadEngine(pluginDir("good")));
    QVERIFY(engine);
    QCOMPARE(engine->version(), QStringLiteral("test-engine 1.2.3"));
    QVERIFY(engine->configure());
    QCOMPARE(engine->hostOnlyInterface(), QStringLiteral("vboxnet7"));

    std::unique_ptr<VMToolsMachine> known(engine->machine(QStringLiteral("Known Device")));
    std::unique_ptr<VMToolsMachine> oldCpu(engine->machine(QStringLiteral("Old CPU")));
    QVERIFY(known && oldCpu);
    QCOMPARE(engine->start(known.get(), 2), int(VMToolsEngine::Started));
    QCOMPARE(engine->start(oldCpu.get(), 2), int(VMToolsEngine::VmxUnsupported));
    QCOMPARE(engine->start(known.get(), 1), 0);
    QVERIFY(engine->stop(known.get()));
    QVERIFY(!engine->startAndStop(known.get()));

    m_log->clear();
    engine->checkInterface();
    QCOMPARE(m_log->messages(), QStringList{QStringLiteral("[Debug] [TestEngine] checkInterface")});
}

CALDERWICK_TEST_MAIN(TestEngineLoader)
#include "tst_engineloader.moc"
