#include "commandline.h"

#include "devicesimulator.h"

#include <QCommandLineParser>
#include <QRegularExpression>

QList<QCommandLineOption> CommandLine::options()
{
    return {
        {QStringLiteral("address"), QStringLiteral("Loopback address to serve on."), QStringLiteral("ip"),
         QStringLiteral("127.0.0.2")},
        {QStringLiteral("size"), QStringLiteral("Display size in pixels."), QStringLiteral("WxH"),
         QStringLiteral("720x1280")},
        {QStringLiteral("dpi"), QStringLiteral("Display density."), QStringLiteral("dpi"), QStringLiteral("320")},
        {QStringLiteral("journal"), QStringLiteral("JSON lines journal file."), QStringLiteral("file")},
        {QStringLiteral("control"), QStringLiteral("Also take control commands on this local socket."),
         QStringLiteral("name")},
        {QStringLiteral("screen-port"), QStringLiteral("Port of the screen stream, 0 for none."),
         QStringLiteral("port"), QStringLiteral("25000")},
        {QStringLiteral("storage"), QStringLiteral("Folder of the device's files, as adb sees them (default: a temporary one)."),
         QStringLiteral("dir")},
        {QStringLiteral("camera-app"),
         QStringLiteral("Open each camera a player serves, as a camera application would, 320x240 at 5 "
                        "frames a second.")},
        {QStringLiteral("phone"),
         QStringLiteral("Be a phone beside the device: phone properties, and the remote control companion "
                        "application on 10972 and 10978 once it is started.")},
        {QStringLiteral("phone-script"), QStringLiteral("Lines the companion sends after the first display line "
                                                        "(\"sleep MS\" pauses). Implies --phone."),
         QStringLiteral("file")},
        {QStringLiteral("phone-record"), QStringLiteral("File the companion records the preview stream to. "
                                                        "Implies --phone."),
         QStringLiteral("file")},
        {QStringLiteral("android-version"), QStringLiteral("Android version the device tells."), QStringLiteral("version"),
         QStringLiteral("9.0")},
        {QStringLiteral("system-version"), QStringLiteral("System version the device tells."), QStringLiteral("version"),
         QStringLiteral(CALDERWICK_VERSION)},
    };
}

QList<QPair<QString, QString>> CommandLine::commands()
{
    return {{QStringLiteral("create"),
             QStringLiteral("Registers a simulated machine for the VBoxManage stand-in (see create --help).")}};
}

bool CommandLine::parse(const QStringList &arguments, SimulatorOptions &options, QString &controlName,
                        QString &error)
{
    QCommandLineParser parser;
    QString description = QStringLiteral("Simulated Android device for the Calderwick player\n\nCommands:");
    for (const auto &command : commands())
        description += QStringLiteral("\n  %1  %2").arg(command.first, command.second);
    parser.setApplicationDescription(description);
    parser.addHelpOption();
    parser.addOptions(CommandLine::options());
    parser.process(arguments);

    options.address = QHostAddress(parser.value(QStringLiteral("address")));
    if (options.address.isNull() || !options.address.isLoopback()) {
        error = QStringLiteral("--address takes a loopback address such as 127.0.0.2");
        return false;
    }
    const QStringList dimensions = parser.value(QStringLiteral("size")).split(QLatin1Char('x'));
    bool widthOk = false;
    bool heightOk = false;
    options.size = QSize(dimensions.value(0).toInt(&widthOk), dimensions.value(1).toInt(&heightOk));
    if (dimensions.size() != 2 || !widthOk || !heightOk || options.size.width() < 64 || options.size.height() < 64
        || options.size.width() > 8192 || options.size.height() > 8192) {
        error = QStringLiteral("--size takes WIDTHxHEIGHT, each from 64 to 8192");
        return false;
    }
    bool dpiOk = false;
    options.dpi = parser.value(QStringLiteral("dpi")).toInt(&dpiOk);
    if (!dpiOk || options.dpi < 60 || options.dpi > 1000) {
        error = QStringLiteral("--dpi takes a density from 60 to 1000");
        return false;
    }
    bool portOk = false;
    const int port = parser.value(QStringLiteral("screen-port")).toInt(&portOk);
    if (!portOk || port < 0 || port > 65535) {
        error = QStringLiteral("--screen-port takes a port from 0 to 65535");
        return false;
    }
    options.screenPort = static_cast<quint16>(port);
    options.journalPath = parser.value(QStringLiteral("journal"));
    options.storagePath = parser.value(QStringLiteral("storage"));
    options.cameraApp = parser.isSet(QStringLiteral("camera-app"));
    options.phoneScript = parser.value(QStringLiteral("phone-script"));
    options.phoneRecord = parser.value(QStringLiteral("phone-record"));
    options.phone = parser.isSet(QStringLiteral("phone")) || !options.phoneScript.isEmpty()
                    || !options.phoneRecord.isEmpty();
    // Versions are dotted numbers; anything else would only be a test's typo.
    const QRegularExpression dotted(QStringLiteral("^\\d{1,5}(\\.\\d{1,5}){0,3}$"));
    options.androidVersion = parser.value(QStringLiteral("android-version"));
    options.systemVersion = parser.value(QStringLiteral("system-version"));
    if (!dotted.match(options.androidVersion).hasMatch() || !dotted.match(options.systemVersion).hasMatch()) {
        error = QStringLiteral("--android-version and --system-version take dotted numbers such as 2.6.0");
        return false;
    }
    controlName = parser.value(QStringLiteral("control"));
    return true;
}
