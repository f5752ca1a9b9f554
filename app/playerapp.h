#pragma once

#include "messageboxes.h"
#include "playeroptions.h"
#include "qtsingleapplication.h"

#include <QFutureWatcher>
#include <QPointer>
#include <QTranslator>

class PlayerProgress;
class QPushButton;
class VersionDialog;
class Player;
class QThread;
class VMToolsEngine;
class VMToolsMachine;

// The application object: owns the engine, the machine, the start dialog and the
// window, walks the start chain and ends every way of stopping in exitPlayer().
// A process is a messenger (order handed over), a local executor (order carried out
// without a window) or the player (event loop), see main.cpp.
class PlayerApp : public QtSingleApplication, public StopRecorder
{
    Q_OBJECT

public:
    PlayerApp(int &argc, char **argv, const PlayerOptions &options);
    ~PlayerApp() override;

    static PlayerApp *instance();

    // gui false: load the engine and find the machine on this thread, for an order.
    void start(bool gui);
    void recordStop(int exitCode) override;
    void addApiCalls(qint64 count);
    bool event(QEvent *e) override;

    // "<vms.path>/<vmName>/.flag": exists exactly while a player runs the device.
    static QString crashFlagPath();
    static void createCrashFlag();

    VMToolsEngine *vmEngine() const { return engine; }
    VMToolsMachine *vmMachine() const { return machine; }

signals:
    void deviceConfigured();

public slots:
    void handleMessage(QString message);
    void exitPlayer();
    void pluginLoaded();
    void deviceRetrieved();
    void checkDeviceIsHardwareAcceleratedDone();
    void checkNetworkAdapterDone();
    void onDeviceStarted();
    void onDeviceConfigured();
    void showPlayer();
    void createPlayer(QString ip);
    void error(QString message);
    void checkVersion(QString caps);
    void downloadButtonClicked();
    void updateButtonClicked();
    void checkAndStartVboxInterface();

private:
    VMToolsMachine *retrieveDevice();
    QString startByState();
    QString startMachine();
    QString retryWithOneProcessor();
    bool checkAdb();
    void configureEngineAndNetwork();
    bool startAdb();
    void checkAapt();
    void disconnectAdb();
    void setProgressStep(int step);
    void versionGate();
    // The gate dialog's action button, let go of its slot while the dialog waits with text.
    QPushButton *takeDialogAction(const QString &waitText);
    // Hands the device over to the updater: the device stops, the window goes.
    void openDeviceUpdater();
    void stopAdbReconnect();

    void reportEngineMissing();
    void reportIncompatibleState();
    void reportNoAddress();
    void reportNoSuchDevice();
    void reportHardwareAcceleration();
    void reportNetworkAdapter();
    void reportStartFailed();
    void reportCpuIncompatible();
    void reportCannotReduceCpu();
    void reportVirtualizationMissing();

    QTranslator translator;
    QFutureWatcher<VMToolsEngine *> engineWatcher;
    VMToolsEngine *engine = nullptr;
    VMToolsMachine *machine = nullptr;
    PlayerProgress *progress = nullptr;
    QFutureWatcher<QString> startWatcher;
    QFutureWatcher<VMToolsMachine *> machineWatcher;
    QFutureWatcher<bool> stepWatcher;
    Player *player = nullptr;
    bool versionChecked = false;
    QPointer<VersionDialog> versionDialog; // the gate's dialog while it is open
    QThread *adbReconnect = nullptr;
    qint64 startTime = 0;
    qint64 apiCalls = 0;
    bool gui = true;
};
