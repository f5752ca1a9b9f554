#include "commandline.h"
#include "logging.h"
#include "openglrender.h"
#include "playerapp.h"
#include "settings.h"

#include <QDebug>
#include <QLocale>
#include <QProcess>
#include <QTranslator>

#include <X11/Xlib.h>

#include <memory>

int main(int argc, char *argv[])
{
    // The render library draws into our window from its own threads.
    XInitThreads();

    installLogging(QStringLiteral("Calderwick Player"), brackenleaDirectory() + QStringLiteral("/calderwick.log"));

    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);

    PlayerOptions options;
    if (!parseCommandLine(arguments, options)) {
        logUsage();
        return 1;
    }
    const QString message = orderForAction(options.action);

    // An order needs no window: let it run where there is no display at all.
    if (options.action != 0 && qEnvironmentVariableIsEmpty("DISPLAY")
        && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");

    auto app = std::make_unique<PlayerApp>(argc, argv, options);
    migrateAndroidSdkSetting();

    if (app->sendMessage(message, 5000))
        return 0;

    if (options.action != 0) {
        app->start(false);
        app->handleMessage(message);
        return 0;
    }

    auto qtTranslator = std::make_unique<QTranslator>();
    qtTranslator->load(QStringLiteral("qt_") + QLocale::system().name().toLower(),
                       QCoreApplication::applicationDirPath() + QStringLiteral("/translations/"));
    QCoreApplication::installTranslator(qtTranslator.get());

    qWarning() << "****  STARTING VIRTUAL DEVICE  ****";
    qWarning() << "Player version:" << PlayerVersion;

    app->start(true);
    const int status = QApplication::exec();

    if (Global::restartRequested)
        qWarning() << "****  RESTARTING VIRTUAL DEVICE  ****";
    else
        qWarning() << "****   STOPPING VIRTUAL DEVICE   ****";

    Sylvane_FrameBuffer_removeSubWindow();

    QString restartProgram;
    QStringList restartArguments;
    if (Global::restartRequested) {
        restartProgram = QCoreApplication::applicationFilePath();
        restartArguments = QCoreApplication::arguments();
        restartArguments.removeFirst();
        if (!Global::showChecks)
            restartArguments << QStringLiteral("--quiet");
    } else {
        qDebug() << "Exit status:" << status;
    }

    qtTranslator.reset();
    app.reset();
    // Only once this instance has let go of its identity: the new player would otherwise find
    // it still answering, hand it its order and end.
    if (!restartProgram.isEmpty())
        QProcess::startDetached(restartProgram, restartArguments);
    return status;
}
