#include "playerapp.h"

#include "rotateevent.h"
#include "statsrequest.h"

#include "aapt.h"
#include "adb.h"
#include "adbreconnectthread.h"
#include "connector.h"
#include "engineloader.h"
#include "helpers.h"
#include "logging.h"
#include "devicescreen.h"
#include "eventmanager.h"
#include "openglrender.h"
#include "player.h"
#include "playerprogress.h"
#include "settings.h"
#include "startreports.h"
#include "statsmanager.h"
#include "stylesheet.h"
#include "vmtoolsengine.h"
#include "vmtoolsmachine.h"

#include <QDateTime>
#include <QEventLoop>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFontDatabase>
#include <QIcon>
#include <QLibraryInfo>
#include <QLocale>
#include <QMessageBox>
#include <QPixmap>
#include <QProcess>
#include <QThread>
#include <QTimer>
#include <QtConcurrent>

namespace {

QString identity(const PlayerOptions &options)
{
    return QStringLiteral("Calderwick Player") + options.vmName;
}

void loadFonts()
{
    static const char *const fonts[] = {":/fonts/Lato-Bold", ":/fonts/Lato-Italic", ":/fonts/Lato-BoldItalic",
                                        ":/fonts/Lato-Regular"};
    for (const char *font : fonts) {
        if (QFontDatabase::addApplicationFont(QLatin1String(font)) >= 0)
            continue;
        QFile file{QString::fromLatin1(font)};
        if (file.open(QIODevice::ReadOnly) && QFontDatabase::addApplicationFontFromData(file.readAll()) >= 0)
            continue;
        qCritical() << "Can't load fonts";
        return;
    }
    QApplication::setFont(QFont(QStringLiteral("Lato"), 10));
}

} // namespace

PlayerApp::PlayerApp(int &argc, char **argv, const PlayerOptions &options)
    : QtSingleApplication(identity(options), argc, argv)
{
    startTime = QDateTime::currentMSecsSinceEpoch();
    gui = true;
    Global::apply(options);

    setOrganizationName(QStringLiteral("Brackenlea"));
    setOrganizationDomain(settingsValue(QStringLiteral("organization.domain"), QStringLiteral("brackenlea.com")).toString());
    setApplicationName(QStringLiteral("Calderwick Player"));
    setApplicationVersion(QLatin1String(PlayerVersion));

    // Plug-ins are looked up beside the program first; Qt's own (SQL drivers, image
    // formats) stay reachable in the system's Qt installation.
    setLibraryPaths({applicationDirPath(), QLibraryInfo::location(QLibraryInfo::PluginsPath)});
    setAttribute(Qt::AA_X11InitThreads);

    connect(this, &QCoreApplication::aboutToQuit, this, &PlayerApp::exitPlayer);
    connect(this, &PlayerApp::deviceConfigured, this, &PlayerApp::onDeviceConfigured);
    connect(this, &QtSingleApplication::messageReceived, this, &PlayerApp::handleMessage);

    if (Global::action != 0)
        return;

    const QString flag = crashFlagPath();
    if (QFile::exists(flag)) {
        qCritical().noquote() << "File: " + flag + " Already exists, player may have crashed before.";
        StatsManager::instance()->reportEvent(QStringLiteral("player_crash"),
                                              {{QStringLiteral("osname"), osName()},
                                               {QStringLiteral("word-size"), 64},
                                               {QStringLiteral("arch"), cpuArchitecture()}});
        QFile::remove(flag);
    }
    StatsManager::instance();

    // A name that no machine answers to must leave nothing behind under the deployed
    // devices: without a folder of its own the marker waits until the machine is found.
    if (QFileInfo(flag).absoluteDir().exists())
        createCrashFlag();

    setWindowIcon(QIcon(QPixmap(QStringLiteral(":/icon")).scaledToHeight(512, Qt::SmoothTransformation)));

    const QString translations = applicationDirPath() + QStringLiteral("/translations/");
    if (!translator.load(QStringLiteral("player_") + QLocale::system().name().toLower(), translations)) {
        qWarning() << "Unable to load translations. Falling back to english";
        translator.load(QStringLiteral("player_en"), translations);
    }
    installTranslator(&translator);

    loadFonts();
    setStyleSheet(applicationStyleSheet());

    // The cloud gateway exists before any step of the start can need it.
    Connector::instance();

    Sylvane_setCallbackRotation([](float angle) {
        // Runs on a render thread: only post, the window turns on the main thread.
        if (QCoreApplication *app = QCoreApplication::instance())
            QCoreApplication::postEvent(app, new RotateEvent(angle), Qt::NormalEventPriority);
    });

    QTimer::singleShot(2000, this, &PlayerApp::checkAndStartVboxInterface);
}

PlayerApp::~PlayerApp()
{
    // A local executor of "STARTADB" ends right after starting the reconnection.
    if (adbReconnect) {
        adbReconnect->quit();
        adbReconnect->wait();
        delete adbReconnect;
    }
    // Only the local executor gets here with the engine still loaded: release it
    // without touching the machine's state.
    delete machine;
    if (engine) {
        engine->shutdown();
        delete engine;
    }
}

PlayerApp *PlayerApp::instance()
{
    return qobject_cast<PlayerApp *>(QCoreApplication::instance());
}

void PlayerApp::createCrashFlag()
{
    const QString flag = crashFlagPath();
    QDir().mkpath(QFileInfo(flag).absolutePath());
    QFile flagFile(flag);
    if (flagFile.open(QIODevice::WriteOnly))
        flagFile.close();
    else
        qCritical().noquote() << "Could not create file: " + flag + ". Crashes won't be detected.";
}

QString PlayerApp::crashFlagPath()
{
    return QDir::toNativeSeparators(deviceDirectory(Global::vmName) + QStringLiteral("/.flag"));
}

void PlayerApp::start(bool withGui)
{
    gui = withGui;
    if (settingsValue(QStringLiteral("stats.installation.date"), QStringLiteral("0")).toString() == QLatin1String("0"))
        setSettingsValue(QStringLiteral("stats.installation.date"),
                         QString::number(QDateTime::currentDateTimeUtc().toSecsSinceEpoch()));

    if (!gui) {
        engine = loadEngine();
        if (!engine) {
            qCritical() << "Failed to load engine";
            return;
        }
        machine = retrieveDevice();
        if (!machine)
            qCritical() << "No such machine";
        return;
    }

    progress = new PlayerProgress(Global::vmName);
    setActivationWindow(progress, true);
    setProgressStep(0);
    progress->show();
    connect(&engineWatcher, &QFutureWatcherBase::finished, this, &PlayerApp::pluginLoaded);
    engineWatcher.setFuture(QtConcurrent::run([] {
        VMToolsEngine *loaded = loadEngine();
        if (!loaded)
            qCritical() << "Failed to load engine";
        return loaded;
    }));
}

VMToolsMachine *PlayerApp::retrieveDevice()
{
    VMToolsMachine *found = engine->machine(Global::vmName);
    if (found) {
        QMap<QString, QVariant> infos{{QStringLiteral("android-version"), found->androidVersion()},
                                      {QStringLiteral("vm-version"), found->systemVersion()},
                                      {QStringLiteral("platform"), found->platform()}};
        if (!Global::fromPlugin.isEmpty() && !Global::ide.isEmpty()) {
            infos.insert(QStringLiteral("plugin"), Global::fromPlugin);
            infos.insert(QStringLiteral("ide"), Global::ide);
        }
        StatsManager::instance()->reportEvent(QStringLiteral("player_start"), infos);
    }
    return found;
}

void PlayerApp::setProgressStep(int step)
{
    if (progress)
        progress->setStep(step);
}

void PlayerApp::pluginLoaded()
{
    engine = engineWatcher.result();
    if (!engine) {
        qCritical() << "Unable to find Virtual Box Engine";
        reportEngineMissing();
        fatalExit(13);
        return;
    }
    connect(&machineWatcher, &QFutureWatcherBase::finished, this, &PlayerApp::deviceRetrieved);
    machineWatcher.setFuture(QtConcurrent::run([this] { return retrieveDevice(); }));
}

void PlayerApp::deviceRetrieved()
{
    machine = machineWatcher.result();
    if (!machine) {
        qCritical() << "No such machine";
        reportNoSuchDevice();
        fatalExit(4);
        return;
    }
    installLogging(QStringLiteral("Calderwick Player"),
                   QDir(machine->logDirectory()).filePath(QStringLiteral("calderwick-player.log")));
    if (!QFile::exists(crashFlagPath()))
        createCrashFlag();

    if (!checkAdb())
        return;

    if (machine->isHardwareAccelerated()) {
        configureEngineAndNetwork();
        return;
    }
    stepWatcher.disconnect(this);
    connect(&stepWatcher, &QFutureWatcherBase::finished, this, &PlayerApp::checkDeviceIsHardwareAcceleratedDone);
    setProgressStep(1);
    stepWatcher.setFuture(QtConcurrent::run([this] {
        machine->setHardwareAccelerated(true);
        return machine->isHardwareAccelerated();
    }));
}

bool PlayerApp::checkAdb()
{
    if (!Adb::adbPath().isEmpty())
        return true;
    if (Global::noPopup) {
        // No question can be asked: say in the log why the start ends.
        qCritical() << "[PlayerApp] No usable adb found, the virtual device cannot start without it";
        fatalExit(16);
        return false;
    }

    QMessageBox box(QMessageBox::Question, tr("cant.find.ADB"), QString(), QMessageBox::Yes | QMessageBox::No);
    box.setDefaultButton(QMessageBox::Yes);
    const bool sdkInUse = parseBool(settingsValue(QStringLiteral("android.sdk.use"), false).toString());
    box.setText(sdkInUse ? tr("cant.find.ADB.in.your.specify.SDK.path") : tr("cant.find.ADB.in.your.Calderwick.installation"));
    box.setInformativeText(tr("warning.virtual.device.will.be.restarted") + QStringLiteral("<br>")
                           + (sdkInUse ? tr("do.you.want.to.configure.it.now") : tr("do.you.want.to.configure.ADB.now")));
    if (box.exec() != QMessageBox::Yes)
        return true; // the user goes on without adb

    const QString settingsProgram = applicationDirPath() + QStringLiteral("/calderwick");
    if (!QProcess::startDetached(settingsProgram, {QStringLiteral("--open-settings")})) {
        qCritical().noquote() << "[PlayerApp] Unable to start" << settingsProgram;
        QMessageBox::critical(nullptr, tr("unable.to.launch.calderwick.settings.panel"),
                              tr("your.Calderwick.installation.might.be.broken") + QStringLiteral("<br>")
                                  + tr("unable.to.find.Calderwick.executable.to.make.you.set.the.Android.SDK.path"));
    }
    fatalExit(16);
    return false;
}

void PlayerApp::checkDeviceIsHardwareAcceleratedDone()
{
    if (!stepWatcher.result()) {
        reportHardwareAcceleration();
        qCritical() << "Can't set hardware acceleration";
        fatalExit(5);
        return;
    }
    qDebug() << "Hardware acceleration is set from Guest Property";
    configureEngineAndNetwork();
}

void PlayerApp::configureEngineAndNetwork()
{
    if (!engine->configure()) {
        qCritical() << "Can't configure virtualization engine";
        reportEngineMissing();
        fatalExit(6);
        return;
    }
    qDebug() << "Virtualization engine configured";

    if (machine->networkAdapterMode(1) == AdapterMode::HostOnly) {
        emit deviceConfigured();
        return;
    }
    stepWatcher.disconnect(this);
    connect(&stepWatcher, &QFutureWatcherBase::finished, this, &PlayerApp::checkNetworkAdapterDone);
    setProgressStep(2);
    stepWatcher.setFuture(QtConcurrent::run(
        [this] { return machine->setNetworkAdapter(1, AdapterMode::HostOnly, engine->hostOnlyInterface()) != 0; }));
}

void PlayerApp::checkNetworkAdapterDone()
{
    if (!stepWatcher.result()) {
        qCritical() << "Can't configure network adapter";
        reportNetworkAdapter();
        fatalExit(7);
        return;
    }
    qDebug() << "Network adapter configured";
    emit deviceConfigured();
}

void PlayerApp::onDeviceConfigured()
{
    qDebug() << "Virtual device configured";
    setProgressStep(4);
    startWatcher.disconnect(this);
    connect(&startWatcher, &QFutureWatcherBase::finished, this, &PlayerApp::onDeviceStarted);
    startWatcher.setFuture(QtConcurrent::run([this] { return startByState(); }));
}

QString PlayerApp::startByState()
{
    const QString incompatible = QStringLiteral("VBOX_INCOMPATIBLE_STATE");
    switch (machine->state()) {
    case MachineState::Off:
        qDebug() << "Virtual Machine status: off";
        qDebug() << "Start the device...";
        return startMachine();
    case MachineState::On:
        qDebug() << "Virtual Machine status: on";
        qDebug() << "Trying to reconnect...";
        return machine->ip();
    case MachineState::Paused:
        qDebug() << "Virtual Machine status: paused";
        qDebug() << "Stopping the device...";
        if (!engine->stop(machine)) {
            qCritical() << "Failed to stop the device";
            return incompatible;
        }
        qDebug() << "Starting the device normally...";
        return startMachine();
    case MachineState::Process:
        qDebug() << "Virtual Machine status: process";
        qDebug() << "Start and stop the device...";
        if (!engine->startAndStop(machine)) {
            qCritical() << "Start/Stop device failed";
            return incompatible;
        }
        qDebug() << "Start the device normally...";
        return startMachine();
    case MachineState::Aborted:
        qDebug() << "Virtual Machine status: aborted";
        qDebug() << "Trying to reset virtual machine to start correctly...";
        return startMachine();
    case MachineState::Undefined:
        qDebug() << "Virtual Machine status: undefined";
        qDebug() << "Try to stop the device...";
        if (!engine->stop(machine))
            qDebug() << "Failed to stop the device, maybe it was already stopped";
        qDebug() << "Try to start the device...";
        return startMachine();
    default:
        return incompatible;
    }
}

QString PlayerApp::startMachine()
{
    if (!machine->prepareStart())
        return QStringLiteral("0.0.0.0");
    const int result = engine->start(machine, 2);
    if (result == VMToolsEngine::Started) {
        qDebug() << "Virtual Machine started.";
        qDebug() << "Waiting for an IP address...";
        return machine->waitForIp();
    }
    if (result == VMToolsEngine::VmxUnsupported)
        return QStringLiteral("VMXUNSUPORTED");
    return QStringLiteral("NOT STARTED");
}

QString PlayerApp::retryWithOneProcessor()
{
    if (!machine->setProcessorCount(1))
        return QStringLiteral("SETCPUNUMBER");
    qDebug() << "Proc number successfully set to 1";
    if (!machine->prepareStart())
        return QStringLiteral("0.0.0.0");
    if (engine->start(machine, 2) == VMToolsEngine::Started) {
        qDebug() << "Virtual Machine started.";
        qDebug() << "Waiting for an IP address...";
        return machine->waitForIp();
    }
    return QStringLiteral("NOT STARTED");
}

void PlayerApp::onDeviceStarted()
{
    const QString result = startWatcher.result();
    if (result == QLatin1String("NOT STARTED")) {
        qCritical() << "Unable to start virtual device";
        reportStartFailed();
        fatalExit(14);
    } else if (result == QLatin1String("VMXUNSUPORTED")) {
        if (machine->processorCount() == 1) {
            qCritical() << "Unable to start virtual device, CPU incompatible";
            reportCpuIncompatible();
            fatalExit(14);
            return;
        }
        qDebug() << "Unable to start because VMX flag not supported. Trying to reduce CPU number to 1";
        startWatcher.setFuture(QtConcurrent::run([this] { return retryWithOneProcessor(); }));
        reportVirtualizationMissing();
    } else if (result == QLatin1String("SETCPUNUMBER")) {
        qCritical() << "Can't reduce CPU number to 1";
        reportCannotReduceCpu();
        fatalExit(14);
    } else if (result == QLatin1String("VBOX_INCOMPATIBLE_STATE")) {
        qCritical().noquote() << "Calderwick system started but Virtual Box returned:" << result;
        reportIncompatibleState();
        fatalExit(3);
    } else if (result == QLatin1String("0.0.0.0")) {
        qCritical() << "Can't detect device IP address";
        reportNoAddress();
        fatalExit(8);
    } else {
        qDebug().noquote() << "Calderwick system started. Attributed IP address: " + result;
        createPlayer(result);
    }
}

void PlayerApp::createPlayer(QString ip)
{
    if (!player) {
        const QPair<int, int> size = machine->size();
        player = new Player(QSize(size.first, size.second), machine->dpi().toInt(), engine, machine);
        // A screen without its libraries has reported and ended the player already.
        if (player->deviceScreen()->status() != 0)
            return;
        player->eventManager()->setApiCallsSink([this](qint64 calls) { addApiCalls(calls); });
    }
    if (settingsValue(QStringLiteral("devices.updates.check.disabled"), false).toBool())
        versionChecked = true;
    else
        connect(player->eventManager(), &EventManager::capabilitiesChanged, this, &PlayerApp::checkVersion,
                Qt::UniqueConnection);
    connect(player, &Player::playing, this, &PlayerApp::showPlayer, Qt::UniqueConnection);
    connect(player, &Player::playerError, this, &PlayerApp::error, Qt::UniqueConnection);
    player->connectTo(ip);
}

void PlayerApp::showPlayer()
{
    if (!player)
        return;
    // The event channel starts again after each reconnection: the window is placed once, but
    // the device may have restarted meanwhile with other capabilities, so they are asked again.
    if (player->isVisible()) {
        player->eventManager()->requestCapabilities();
        return;
    }
    qDebug() << "Player running. Try to show window...";
    QPoint centre = player->pos();
    if (progress) {
        centre = progress->frameGeometry().center();
        progress->hide();
    }
    player->deviceScreen()->setupSubWindow();
    player->placeCentered(centre);
    player->raise();
    player->activateWindow();
    if (machine->startsFullScreen())
        player->toggleFullScreen();
    setActivationWindow(player, true);
    startAdb();
    player->eventManager()->requestCapabilities();
    checkAapt();
}

void PlayerApp::stopAdbReconnect()
{
    if (!adbReconnect)
        return;
    adbReconnect->quit();
    adbReconnect->wait();
    delete adbReconnect;
    adbReconnect = nullptr;
}

void PlayerApp::error(QString message)
{
    qDebug() << "Error:" << message;
}

void PlayerApp::handleMessage(QString message)
{
    if (message == QLatin1String("PING"))
        return; // the activation window already came to the front
    if (message == QLatin1String("POWEROFF")) {
        qWarning() << "Poweroff order receive. Exiting.";
        if (gui)
            QCoreApplication::exit(0);
        else
            exitPlayer();
    } else if (message == QLatin1String("STARTADB")) {
        qWarning() << "Starting automatic ADB reconnection";
        startAdb();
    } else if (message == QLatin1String("STOPADB")) {
        qWarning() << "Stopping automatic ADB reconnection";
        stopAdbReconnect();
        disconnectAdb();
    } else {
        qFatal("unknown message %s", qPrintable(message));
    }
}

bool PlayerApp::startAdb()
{
    const QString path = Adb::adbPath();
    if (path.isEmpty())
        return false;
    if (!(QFileInfo(path).permissions() & QFileDevice::ExeOwner)) {
        qCritical().noquote() << "Configured Adb is not executable:" << path;
        showWarning(tr("configured.adb.util.is.not.executable") + QStringLiteral("<br>")
                    + tr("currently.configured.adb.is") + QStringLiteral(" ") + path + QStringLiteral("<br>")
                    + tr("you.must.modify.its.permissions.to.make.it.executable") + QStringLiteral("<br>")
                    + tr("some.functionalities.might.not.work.correctly.without.it"));
        return false;
    }
    disconnectAdb();
    if (!adbReconnect) {
        adbReconnect = new AdbReconnectThread(machine);
        QEventLoop loop;
        connect(adbReconnect, &QThread::started, &loop, &QEventLoop::quit);
        adbReconnect->start(QThread::InheritPriority);
        loop.exec();
    }
    return true;
}

void PlayerApp::checkAapt()
{
    const QString path = Aapt::aaptPath();
    if (path.isEmpty() || !QFileInfo::exists(path)) {
        qCritical().noquote() << "Can't find configured aapt binary:" << path;
        showWarning(tr("cant.find.configured.aapt.binary") + QStringLiteral("<br>") + tr("currently.configured.aapt.is")
                    + QStringLiteral(" ") + path + QStringLiteral("<br>")
                    + tr("installed.apk.wont.start.automatically.without.it"));
        return;
    }
    if (!(QFileInfo(path).permissions() & QFileDevice::ExeOwner)) {
        qCritical().noquote() << "Configured Aapt is not executable:" << path;
        showWarning(tr("configured.aapt.util.is.not.executable") + QStringLiteral("<br>")
                    + tr("currently.configured.aapt.is") + QStringLiteral(" ") + path + QStringLiteral("<br>")
                    + tr("you.must.modify.its.permissions.to.make.it.executable") + QStringLiteral("<br>")
                    + tr("installed.apk.wont.start.automatically.without.it"));
    }
}

void PlayerApp::disconnectAdb()
{
    const QString address = machine ? machine->ip() : QString();
    if (address.isEmpty()) {
        qCritical() << "Invalid IP address. Could not disconnect ADB.";
        return;
    }
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(Adb::adbPath(), {QStringLiteral("disconnect"), address}, QIODevice::ReadOnly);
    if (!process.waitForFinished(30000)) {
        qCritical() << "Unable to disconnect virtual device with ADB";
        process.kill();
        process.waitForFinished(1000);
    }
}

void PlayerApp::checkAndStartVboxInterface()
{
    if (player && engine && !player->eventManager()->isEventChannelOpen())
        engine->checkInterface();
    QTimer::singleShot(2000, this, &PlayerApp::checkAndStartVboxInterface);
}

void PlayerApp::addApiCalls(qint64 count)
{
    apiCalls += count;
}

bool PlayerApp::event(QEvent *e)
{
    if (e->type() == RotateEvent::Type) {
        if (player)
            player->rotate(*static_cast<RotateEvent *>(e));
        return true;
    }
    return QtSingleApplication::event(e);
}

void PlayerApp::recordStop(int exitCode)
{
    const qint64 runtime = (QDateTime::currentMSecsSinceEpoch() - startTime) / 1000;
    const QString flag = crashFlagPath();
    if (QFile::exists(flag)) {
        if (QFile::remove(flag))
            qDebug() << "[PlayerApp]" << "Instance cleaned";
        else
            qWarning() << "[PlayerApp]" << "Instance cannot be cleaned";
    }
    // Queued only: a failure can stop the player from deep inside any slot, where neither a
    // frozen window nor other slots running in a local event loop are acceptable. exitPlayer
    // waits for the store once, when nothing is on screen any more.
    StatsManager::instance()->reportEvent(QStringLiteral("player_stop"),
                                          {{QStringLiteral("runtime"), runtime},
                                           {QStringLiteral("exit-code"), exitCode}});
}

void PlayerApp::exitPlayer()
{
    recordStop(0);
    if (player && gui) {
        player->hide();
        setActivationWindow(nullptr);
        // The machine is stopped and deleted below; the window lives on until deleteLater.
        player->eventManager()->shutdown();
    }

    for (QFutureWatcherBase *watcher :
         std::initializer_list<QFutureWatcherBase *>{&startWatcher, &machineWatcher, &stepWatcher}) {
        if (watcher->isRunning()) {
            watcher->disconnect();
            watcher->waitForFinished();
        }
    }
    stopAdbReconnect();
    if (apiCalls != 0)
        StatsManager::instance()->reportEvent(QStringLiteral("api_calls"), {{QStringLiteral("calls_count"), apiCalls}});
    if (progress)
        progress->hide();
    // The stop records are written before the process ends; the store gets one bounded wait.
    StatsManager::instance()->waitUntilIdle(StatsRequest::WaitLimitMs);
    if (gui) {
        if (progress)
            progress->deleteLater();
        if (player)
            player->deleteLater();
        progress = nullptr;
        player = nullptr;
    }
    if (machine) {
        disconnectAdb();
        const int state = machine->state();
        if (engine && (state == MachineState::On || state == MachineState::Paused)) {
            engine->stop(machine);
            Sylvane_shutdown();
        }
        delete machine;
        machine = nullptr;
    }
    if (engine) {
        engine->shutdown();
        delete engine;
        engine = nullptr;
    }
    QCoreApplication::processEvents();
}

void PlayerApp::reportEngineMissing() { showError(StartReports::engineMissing()); }
void PlayerApp::reportIncompatibleState() { showError(StartReports::incompatibleState()); }
void PlayerApp::reportNoAddress() { showError(StartReports::noAddress()); }
void PlayerApp::reportNoSuchDevice() { showError(StartReports::noSuchDevice()); }
void PlayerApp::reportHardwareAcceleration() { showError(StartReports::hardwareAcceleration()); }
void PlayerApp::reportNetworkAdapter() { showError(StartReports::networkAdapter()); }
void PlayerApp::reportStartFailed() { showError(StartReports::startFailed()); }
void PlayerApp::reportCpuIncompatible() { showError(StartReports::cpuIncompatible()); }
void PlayerApp::reportCannotReduceCpu() { showError(StartReports::cannotReduceCpu()); }

void PlayerApp::reportVirtualizationMissing()
{
    showWarning(StartReports::virtualizationMissing(engine && engine->virtualizationSupported()));
}
