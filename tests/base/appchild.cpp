// A child process for the appcore tests that need a process of their own: what goes to
// standard output, and how the event loop ends after fatalExit.
//
//   appchild log <application> <file> <message>...   one debug line per message
//   appchild fatal <status> <file>                    fatalExit(status) from a running loop,
//                                                     on an application that records stops
//   appchild fatal-plain <status> <file>              the same on a plain QCoreApplication
//   appchild fatal-early <status> <file>              fatalExit(status) before the loop runs

#include "logging.h"
#include "messageboxes.h"

#include <QCoreApplication>
#include <QDebug>
#include <QTimer>

#include <cstring>

namespace {

class RecordingApplication : public QCoreApplication, public StopRecorder
{
public:
    using QCoreApplication::QCoreApplication;
    void recordStop(int exitCode) override { qDebug() << "recordStop" << exitCode; }
};

int runFatal(QCoreApplication &app, int status, const QString &file, bool early = false)
{
    installLogging(QStringLiteral("Child"), file);
    auto fail = [status] {
        fatalExit(status);
        qDebug() << "after fatalExit";
    };
    if (early)
        fail();
    else
        QTimer::singleShot(0, &app, fail);
    const int result = app.exec();
    qDebug() << "exec returned" << result;
    return result;
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc >= 4 && std::strcmp(argv[1], "log") == 0) {
        QCoreApplication app(argc, argv);
        installLogging(QString::fromLocal8Bit(argv[2]), QString::fromLocal8Bit(argv[3]));
        for (int i = 4; i < argc; ++i)
            qDebug().noquote() << QString::fromLocal8Bit(argv[i]);
        return 0;
    }
    if (argc == 4 && std::strcmp(argv[1], "fatal") == 0) {
        RecordingApplication app(argc, argv);
        return runFatal(app, std::atoi(argv[2]), QString::fromLocal8Bit(argv[3]));
    }
    if (argc == 4 && std::strcmp(argv[1], "fatal-early") == 0) {
        RecordingApplication app(argc, argv);
        return runFatal(app, std::atoi(argv[2]), QString::fromLocal8Bit(argv[3]), true);
    }
    if (argc == 4 && std::strcmp(argv[1], "fatal-plain") == 0) {
        QCoreApplication app(argc, argv);
        return runFatal(app, std::atoi(argv[2]), QString::fromLocal8Bit(argv[3]));
    }
    return 100;
}
