// devicesim: the device side of the player's channels, for tests and demonstrations.
//   devicesim --address 127.0.0.x --size 720x1280 --dpi 320 --journal FILE [--control NAME] [--screen-port P]

#include "controlchannel.h"
#include "devicesimulator.h"
#include "machinestore.h"

#include <QCommandLineParser>
#include <QGuiApplication>

#include <cstdio>

namespace {

bool parseOptions(const QStringList &arguments, SimulatorOptions &options, QString &controlName, QString &error)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Simulated Android device for the Calderwick player"));
    parser.addHelpOption();
    const QCommandLineOption address(QStringLiteral("address"), QStringLiteral("Loopback address to serve on."),
                                     QStringLiteral("ip"), QStringLiteral("127.0.0.2"));
    const QCommandLineOption size(QStringLiteral("size"), QStringLiteral("Display size in pixels."),
                                  QStringLiteral("WxH"), QStringLiteral("720x1280"));
    const QCommandLineOption dpi(QStringLiteral("dpi"), QStringLiteral("Display density."), QStringLiteral("dpi"),
                                 QStringLiteral("320"));
    const QCommandLineOption journal(QStringLiteral("journal"), QStringLiteral("JSON lines journal file."),
                                     QStringLiteral("file"));
    const QCommandLineOption control(QStringLiteral("control"),
                                     QStringLiteral("Also take control commands on this local socket."),
                                     QStringLiteral("name"));
    const QCommandLineOption screenPort(QStringLiteral("screen-port"),
                                        QStringLiteral("Port of the screen stream, 0 for none."),
                                        QStringLiteral("port"), QStringLiteral("25000"));
    parser.addOptions({address, size, dpi, journal, control, screenPort});
    parser.process(arguments);

    options.address = QHostAddress(parser.value(address));
    if (options.address.isNull() || !options.address.isLoopback()) {
        error = QStringLiteral("--address takes a loopback address such as 127.0.0.2");
        return false;
    }
    const QStringList dimensions = parser.value(size).split(QLatin1Char('x'));
    bool widthOk = false;
    bool heightOk = false;
    options.size = QSize(dimensions.value(0).toInt(&widthOk), dimensions.value(1).toInt(&heightOk));
    if (dimensions.size() != 2 || !widthOk || !heightOk || options.size.width() < 64 || options.size.height() < 64
        || options.size.width() > 8192 || options.size.height() > 8192) {
        error = QStringLiteral("--size takes WIDTHxHEIGHT, each from 64 to 8192");
        return false;
    }
    bool dpiOk = false;
    options.dpi = parser.value(dpi).toInt(&dpiOk);
    if (!dpiOk || options.dpi < 60 || options.dpi > 1000) {
        error = QStringLiteral("--dpi takes a density from 60 to 1000");
        return false;
    }
    bool portOk = false;
    const int port = parser.value(screenPort).toInt(&portOk);
    if (!portOk || port < 0 || port > 65535) {
        error = QStringLiteral("--screen-port takes a port from 0 to 65535");
        return false;
    }
    options.screenPort = static_cast<quint16>(port);
    options.journalPath = parser.value(journal);
    controlName = parser.value(control);
    return true;
}

} // namespace

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
    if (!parseOptions(app.arguments(), options, controlName, error)) {
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
