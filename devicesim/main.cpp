// devicesim: the device side of the player's channels, for tests and demonstrations.
//   devicesim --address 127.0.0.x --size 720x1280 --dpi 320 --journal FILE [--control NAME] [--screen-port P]
//             [--camera-app]
//   devicesim create NAME --size WxH --dpi N [--address 127.0.0.x] [--cpus N]

#include "commandline.h"
#include "controlchannel.h"
#include "devicesimulator.h"
#include "machinestore.h"

#include <QGuiApplication>

#include <cstdio>

int main(int argc, char *argv[])
{
    // "devicesim create NAME ..." registers a machine for the VBoxManage stand-in.
    if (argc > 1 && qstrcmp(argv[1], "create") == 0) {
        QCoreApplication app(argc, argv);
        return MachineStore::runCreateCommand(app.arguments());
    }
    // The phone screen is drawn off-screen; no display is needed.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    app.setApplicationName(QStringLiteral("devicesim"));

    SimulatorOptions options;
    QString controlName;
    QString error;
    if (!CommandLine::parse(app.arguments(), options, controlName, error)) {
        std::fprintf(stderr, "devicesim: %s\n", qPrintable(error));
        return 2;
    }

    DeviceSimulator simulator(options);
    if (!simulator.start(&error)) {
        std::fprintf(stderr, "devicesim: %s\n", qPrintable(error));
        return 1;
    }

    ControlChannel control(&simulator);
    QObject::connect(&control, &ControlChannel::quitRequested, &app, &QCoreApplication::quit,
                     Qt::QueuedConnection);
    control.attachStandardInput();
    if (!controlName.isEmpty() && !control.listen(controlName)) {
        std::fprintf(stderr, "devicesim: cannot listen for control on \"%s\"\n", qPrintable(controlName));
        return 1;
    }

    std::printf("devicesim ready on %s\n", qPrintable(options.address.toString()));
    std::fflush(stdout);
    return app.exec();
}
