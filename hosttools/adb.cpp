#include "adb.h"

#include "terminalprocess.h"
#include "tooloutput.h"
#include "toolprocess.h"

#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMutex>
#include <QMutexLocker>

namespace {

constexpr int StartTimeout = 30000;
constexpr int FinishTimeout = 30000;
const QString RemoteControlPackage = QStringLiteral("com.calderwick.remotecontrol");

QMutex pathMutex;
QString &storedPath()
{
    static QString path;
    return path;
}

QString text(const QByteArray &output)
{
    return QString::fromLocal8Bit(output);
}

// A terminal's output without adb's progress lines and erase codes, line by line, so that
// lastError() finds the failure's own words.
QString withoutProgress(const QByteArray &output)
{
    QByteArrayList kept;
    for (const QByteArray &line : QByteArray(output).replace("\x1b[K", "").replace('\r', '\n').split('\n')) {
        if (!line.trimmed().isEmpty() && ToolOutput::pushPercent(line) < 0)
            kept << line;
    }
    return text(kept.join('\n'));
}

// A copy's summary ("... bytes in 0.3s") is printed even when adb gave up halfway; only the
// exit code tells a whole copy from a cut one.
bool copied(const QByteArray &output, int exitCode)
{
    return exitCode == 0 && output.contains("bytes in");
}

} // namespace

Adb::Adb(const QString &serial, QObject *parent) : QObject(parent), m_serial(serial)
{
    adbPath();
}

QString Adb::adbPath()
{
    {
        QMutexLocker lock(&pathMutex);
        if (!storedPath().isEmpty() && QFileInfo::exists(storedPath()))
            return storedPath();
    }
    QString found;
    if (ToolProcess::sdkInUse()) {
        const QString sdk = ToolProcess::sdkPath();
        if (sdk.isEmpty()) {
            qDebug() << "[Adb]" << "Can't retrieve SDK: path not set";
            return QString();
        }
        found = ToolProcess::firstExisting(
            {sdk + QStringLiteral("/platform-tools"), sdk + QStringLiteral("/tools"), sdk}, QStringLiteral("adb"));
        if (found.isEmpty())
            qDebug() << "[Adb]" << "adb not found";
        else
            qDebug().noquote() << "[Adb]" << "adb found at" << found;
    } else {
        found = ToolProcess::bundledPath(QStringLiteral("adb"));
        if (!QFileInfo(found).isFile()) {
            qDebug() << "[Adb]" << "Can't retrieve SDK: file doesn't exist";
            found.clear();
        }
    }
    QMutexLocker lock(&pathMutex);
    storedPath() = found;
    return found;
}

Adb::Run Adb::run(const char *tag, const QStringList &arguments, int finishTimeout, bool merged, QByteArray *output,
                  int *exitCode, QString *errorText)
{
    QProcess process;
    process.setProcessChannelMode(merged ? QProcess::MergedChannels : QProcess::SeparateChannels);
    process.setReadChannel(QProcess::StandardOutput);
    const QString program = adbPath();
    process.start(program, arguments, QIODevice::ReadOnly);
    if (!process.waitForStarted(StartTimeout)) {
        qCritical().noquote() << QString::fromLatin1(tag) + QStringLiteral(" can't run") << program << "command:"
                              << ToolProcess::joined(arguments);
        m_lastOutput = process.errorString();
        if (errorText)
            *errorText = process.errorString();
        return Run::NotStarted;
    }
    if (!process.waitForFinished(finishTimeout)) {
        if (errorText)
            *errorText = process.errorString();
        m_lastOutput = process.errorString();
        process.kill();
        process.waitForFinished(FinishTimeout);
        return Run::NotFinished;
    }
    // The end of the process may come before the last of its output has been read.
    if (process.bytesAvailable() == 0)
        process.waitForReadyRead(FinishTimeout);
    *output = ToolProcess::readBounded(process, tag);
    if (!merged) {
        process.setReadChannel(QProcess::StandardError);
        const QByteArray errors = ToolProcess::readBounded(process, tag);
        if (process.exitCode() != 0 && output->trimmed().isEmpty())
            *output = errors; // the failure is told on standard error
    }
    *exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    return Run::Finished;
}

void Adb::fail(const char *tag, const char *word, const QString &detail)
{
    m_lastOutput = detail;
    qDebug().noquote() << tag << m_serial << word << detail.trimmed();
}

QString Adb::getState()
{
    const char *tag = "[Adb][getState]";
    QByteArray output;
    int code = 0;
    QString error;
    const Run result = run(tag, {QStringLiteral("-s"), m_serial, QStringLiteral("get-state")}, FinishTimeout, false,
                           &output, &code, &error);
    if (result == Run::NotStarted)
        return QString();
    if (result == Run::NotFinished || code != 0) {
        fail(tag, ": error with get-state command:", result == Run::NotFinished ? error : text(output));
        return QString();
    }
    return text(output).trimmed();
}

bool Adb::connect()
{
    const char *tag = "[Adb][connect]";
    if (getState() == QLatin1String("device")) {
        qDebug().noquote() << tag << m_serial << ": already connected";
        return true;
    }
    QByteArray output;
    int code = 0;
    QString error;
    const Run result = run(tag, {QStringLiteral("connect"), m_serial}, FinishTimeout, false, &output, &code, &error);
    if (result == Run::NotStarted)
        return false;
    // adb ends with status 0 also when it could not reach the device; only its words tell.
    const bool refused = output.contains("failed to connect") || output.contains("unable to connect")
                         || output.contains("cannot connect");
    if (result == Run::NotFinished || code != 0 || refused) {
        fail(tag, ": unable to connect:", result == Run::NotFinished ? error : text(output));
        return false;
    }
    qDebug().noquote() << tag << m_serial << ": connected";
    return true;
}

bool Adb::disconnect()
{
    const char *tag = "[Adb][disconnect]";
    QByteArray output;
    int code = 0;
    QString error;
    const Run result = run(tag, {QStringLiteral("disconnect"), m_serial}, FinishTimeout, true, &output, &code, &error);
    if (result == Run::NotStarted)
        return false;
    if (result == Run::NotFinished || code != 0) {
        fail(tag, ": unable to disconnect:", result == Run::NotFinished ? error : text(output));
        return false;
    }
    qDebug().noquote() << tag << m_serial << ": disconnected";
    return true;
}

bool Adb::pull(const QString &remote, const QString &local)
{
    const char *tag = "[Adb][pull]";
    QByteArray output;
    int code = 0;
    const Run result = run(tag, {QStringLiteral("-s"), m_serial, QStringLiteral("pull"), remote, local}, -1, true,
                           &output, &code);
    if (result == Run::NotStarted)
        return false;
    if (!copied(output, code)) {
        fail(tag, ": unable to pull file:", text(output));
        return false;
    }
    qDebug().noquote() << tag << m_serial << ": file pulled with success:" << remote << "->" << local;
    return true;
}

bool Adb::push(const QString &local, const QString &remote)
{
    const char *tag = "[Adb][push]";
    if (!makeRemoteFolder(tag, remote))
        return false;
    QByteArray output;
    int code = 0;
    const Run result = run(tag, {QStringLiteral("-s"), m_serial, QStringLiteral("push"), local, remote}, -1, true,
                           &output, &code);
    if (result == Run::NotStarted)
        return false;
    if (!copied(output, code)) {
        fail(tag, ": unable to push file:", text(output));
        return false;
    }
    qDebug().noquote() << tag << m_serial << ": file pushed with success:" << local << "->" << remote;
    return true;
}

bool Adb::makeRemoteFolder(const char *tag, const QString &remote)
{
    if (remote == QLatin1String("/sdcard/Download/") || !remote.endsWith(QLatin1Char('/')))
        return true;
    const QString made = shell({QStringLiteral("mkdir"), QStringLiteral("-p"), remote}, FinishTimeout);
    if (!made.contains(QLatin1String("failed")))
        return true;
    fail(tag, ": unable to push file:", made);
    return false;
}

bool Adb::push(const QString &local, const QString &remote, const std::function<bool(int percent)> &progress)
{
    const char *tag = "[Adb][push]";
    if (!makeRemoteFolder(tag, remote))
        return false;
    const QStringList arguments{QStringLiteral("-s"), m_serial, QStringLiteral("push"), local, remote};
    // Only the end of the output matters (the summary or the failure); progress lines come
    // by the thousand for a large file and are looked at as they pass.
    QByteArray tail;
    int shown = -1;
    bool cancelled = false;
    const int code = TerminalProcess::run(adbPath(), arguments, [&](const QByteArray &chunk) {
        tail = (tail + chunk).right(ToolOutput::MaxOutputBytes / 64);
        const int percent = ToolOutput::pushPercent(chunk);
        if (percent >= 0)
            shown = percent;
        cancelled = !progress(shown);
        return !cancelled;
    });
    if (code == TerminalProcess::NotStarted) {
        qCritical().noquote() << QString::fromLatin1(tag) + QStringLiteral(" can't run") << adbPath() << "command:"
                              << ToolProcess::joined(arguments);
        m_lastOutput = QStringLiteral("adb can't run");
        return false;
    }
    if (cancelled) {
        m_lastOutput = QStringLiteral("cancelled");
        qDebug().noquote() << tag << m_serial << ": push cancelled:" << local << "->" << remote;
        return false;
    }
    if (!copied(tail, code)) {
        fail(tag, ": unable to push file:", withoutProgress(tail));
        return false;
    }
    qDebug().noquote() << tag << m_serial << ": file pushed with success:" << local << "->" << remote;
    return true;
}

QString Adb::shellQuoted(const QString &word)
{
    return QLatin1Char('\'') + QString(word).replace(QLatin1Char('\''), QLatin1String("'\\''")) + QLatin1Char('\'');
}

bool Adb::install(const QString &path, bool reinstall)
{
    const char *tag = "[Adb][install]";
    QStringList arguments{QStringLiteral("-s"), m_serial, QStringLiteral("install")};
    if (reinstall)
        arguments << QStringLiteral("-r");
    arguments << path;
    QByteArray output;
    int code = 0;
    if (run(tag, arguments, -1, true, &output, &code) == Run::NotStarted)
        return false;
    // An app that is already there is good enough.
    if (!output.contains("Success") && !output.contains("INSTALL_FAILED_ALREADY_EXISTS")) {
        fail(tag, ": unable to install file:", text(output));
        return false;
    }
    qDebug().noquote() << tag << m_serial << ": file installed with success:" << path;
    return true;
}

bool Adb::uninstall(const QString &package, bool acceptFailure)
{
    const char *tag = "[Adb][uninstall]";
    QByteArray output;
    int code = 0;
    QString error;
    const Run result = run(tag, {QStringLiteral("-s"), m_serial, QStringLiteral("uninstall"), package}, FinishTimeout,
                           true, &output, &code, &error);
    if (result == Run::NotStarted)
        return acceptFailure;
    if (result == Run::NotFinished) {
        fail(tag, ": unable to uninstall package:", error);
        return acceptFailure;
    }
    if (!output.contains("Success")) {
        m_lastOutput = text(output);
        if (acceptFailure) {
            qDebug().noquote() << tag << m_serial << ": unable to uninstall:" << m_lastOutput.trimmed()
                               << ": but failure accepted !";
            return true;
        }
        qDebug().noquote() << tag << m_serial << ": unable to uninstall:" << m_lastOutput.trimmed();
        return false;
    }
    qDebug().noquote() << tag << m_serial << ": package uninstall with success:" << package;
    return true;
}

bool Adb::forward(int hostPort, int devicePort)
{
    const char *tag = "[Adb][forward]";
    QByteArray output;
    int code = 0;
    QString error;
    const Run result = run(tag,
                           {QStringLiteral("-s"), m_serial, QStringLiteral("forward"),
                            QStringLiteral("tcp:%1").arg(hostPort), QStringLiteral("tcp:%1").arg(devicePort)},
                           FinishTimeout, false, &output, &code, &error);
    if (result == Run::NotStarted)
        return false;
    if (result == Run::NotFinished || code != 0) {
        fail(tag, ": unable to set forward rule:", result == Run::NotFinished ? error : text(output));
        return false;
    }
    qDebug().noquote() << tag << m_serial << ": set forward rule with success";
    return true;
}

bool Adb::startRemoteControl()
{
    const char *tag = "[Adb][startRemoteControl]";
    QByteArray output;
    int code = 0;
    QString error;
    const Run result = run(tag,
                           {QStringLiteral("-s"), m_serial, QStringLiteral("shell"), QStringLiteral("am"),
                            QStringLiteral("start"), QStringLiteral("-W"), QStringLiteral("-a"),
                            QStringLiteral("android.intent.action.MAIN"), QStringLiteral("-n"),
                            RemoteControlPackage + QStringLiteral("/.RemoteControlActivity")},
                           FinishTimeout, true, &output, &code, &error);
    if (result == Run::NotStarted)
        return false;
    if (result == Run::NotFinished || output.contains("Error: Activity not started")) {
        fail(tag, ": unable to start application:", result == Run::NotFinished ? error : text(output));
        return false;
    }
    return true;
}

bool Adb::stopRemoteControl()
{
    const char *tag = "[Adb][stopRemoteControl]";
    QByteArray output;
    int code = 0;
    QString error;
    const Run result = run(tag,
                           {QStringLiteral("-s"), m_serial, QStringLiteral("shell"), QStringLiteral("am"),
                            QStringLiteral("broadcast"), QStringLiteral("-a"),
                            RemoteControlPackage + QStringLiteral(".REMOTE_DISCONNECT")},
                           FinishTimeout, true, &output, &code, &error);
    if (result == Run::NotStarted)
        return false;
    if (result == Run::NotFinished || output.contains("Error: Activity not started") || !output.contains("Complete")
        || !output.contains("result=0")) {
        fail(tag, ": unable to start application:", result == Run::NotFinished ? error : text(output));
        return false;
    }
    return true;
}

bool Adb::uninstallRemoteControl()
{
    return uninstall(RemoteControlPackage, true);
}

bool Adb::installRemoteControl()
{
    const QString copy = QDir::tempPath() + QStringLiteral("/remote-control.apk");
    QFile::remove(copy);
    if (!QFile::copy(QStringLiteral(":/android/calderwick-remote-control.apk"), copy)) {
        qDebug() << "[Adb][install] can't create temporary file";
        return false;
    }
    // Resource copies are read-only; the removal below must still work.
    QFile::setPermissions(copy, QFile::ReadOwner | QFile::WriteOwner);
    const bool installed = install(copy, false);
    QFile::remove(copy);
    return installed;
}

QString Adb::getProp(const QString &name, const QString &defaultValue)
{
    QByteArray output;
    int code = 0;
    QString error;
    const Run result = run("[Adb][getProp]", {QStringLiteral("-s"), m_serial, QStringLiteral("shell"),
                                              QStringLiteral("getprop"), name},
                           FinishTimeout, false, &output, &code, &error);
    if (result != Run::Finished || code != 0) {
        m_lastOutput = result == Run::Finished ? text(output) : error;
        return defaultValue;
    }
    return text(output).trimmed();
}

QString Adb::androidVersion()
{
    return getProp(QStringLiteral("ro.build.version.release"), QStringLiteral("unknown"));
}

QString Adb::deviceName()
{
    return getProp(QStringLiteral("ro.product.manufacturer"), QStringLiteral("unknown")) + QLatin1Char('-')
        + getProp(QStringLiteral("ro.build.product"), QStringLiteral("unknown"));
}

QString Adb::shell(const QStringList &arguments, int timeout)
{
    const char *tag = "[Adb][shell]";
    qDebug().noquote() << tag << ToolProcess::joined(arguments);
    QByteArray output;
    int code = 0;
    QString error;
    const Run result = run(tag, QStringList{QStringLiteral("-s"), m_serial, QStringLiteral("shell")} + arguments,
                           timeout, true, &output, &code, &error);
    if (result == Run::NotFinished)
        qDebug().noquote() << tag << "Unable to finished process: " + error;
    else if (result == Run::Finished && code != 0)
        qDebug().noquote() << tag << ToolProcess::joined(arguments) + QStringLiteral(" - exit code: ")
                + QString::number(code);
    return text(output);
}

bool Adb::startActivity(const QString &package, const QString &activity)
{
    const QString output = shell({QStringLiteral("am"), QStringLiteral("start"), QStringLiteral("-n"),
                                  QStringLiteral("%1/%2").arg(package, activity)},
                                 FinishTimeout);
    if (output.contains(QLatin1String("Error"))) {
        m_lastOutput = output;
        return false;
    }
    return true;
}

QByteArray Adb::properties()
{
    QByteArray output;
    int code = 0;
    if (run("[Adb][devices]", {QStringLiteral("-s"), m_serial, QStringLiteral("shell"), QStringLiteral("getprop")},
            FinishTimeout, false, &output, &code)
        != Run::Finished)
        return QByteArray();
    return output;
}

QList<Adb *> Adb::devices(int filter)
{
    const char *tag = "[Adb][devices]";
    qDebug() << tag << "listing devices with filter" << filter;
    QProcess process;
    process.setReadChannel(QProcess::StandardOutput);
    const QString program = adbPath();
    process.start(program, {QStringLiteral("devices")}, QIODevice::ReadOnly);
    if (!process.waitForStarted(StartTimeout)) {
        qCritical().noquote() << QString::fromLatin1(tag) + QStringLiteral(" can't run") << program << "command:"
                              << "devices";
        return {};
    }
    if (!process.waitForFinished(FinishTimeout)) {
        qDebug().noquote() << tag << "no answer within" << FinishTimeout << "ms:" << process.errorString();
        process.kill();
        process.waitForFinished(FinishTimeout);
        return {};
    }
    if (process.bytesAvailable() == 0)
        process.waitForReadyRead(FinishTimeout);
    const QStringList serials = ToolOutput::deviceSerials(ToolProcess::readBounded(process, tag));

    QList<Adb *> kept;
    for (const QString &serial : serials) {
        auto *device = new Adb(serial);
        bool keep = false;
        switch (filter) {
        case OtherDevices:
            keep = !ToolOutput::isNetworkSerial(serial) || !ToolOutput::mentionsCalderwick(device->properties());
            break;
        case CalderwickDevices:
            // A phone is never one of ours: no need to ask it.
            keep = ToolOutput::isNetworkSerial(serial) && ToolOutput::hasCalderwickProperty(device->properties());
            break;
        case AllDevices:
            keep = true;
            break;
        default:
            break;
        }
        if (keep)
            kept << device;
        else
            delete device;
    }
    return kept;
}

QProcess *Adb::logcat(const QString &file)
{
    auto *process = new QProcess;
    process->setStandardOutputFile(file, QIODevice::Truncate);
    // Nobody reads the error channel of a process left running: it must not fill a pipe.
    process->setStandardErrorFile(QProcess::nullDevice());
    const QStringList arguments{QStringLiteral("-s"), m_serial, QStringLiteral("logcat"), QStringLiteral("-v"),
                                QStringLiteral("time")};
    qDebug().noquote() << "[Adb][logcat]" << m_serial << "capture into" << file;
    process->start(adbPath(), arguments, QIODevice::ReadOnly);
    return process;
}

void Adb::reboot(QProcess *process)
{
    qDebug().noquote() << "[Adb][reboot]" << m_serial;
    process->start(adbPath(), {QStringLiteral("-s"), m_serial, QStringLiteral("reboot")}, QIODevice::ReadWrite);
}

void Adb::connectAsync(QProcess *process)
{
    qDebug().noquote() << "[Adb][connect]" << m_serial << "started without waiting";
    process->start(adbPath(), {QStringLiteral("connect"), m_serial}, QIODevice::ReadWrite);
}

QString Adb::lastError() const
{
    return ToolOutput::errorWord(m_lastOutput);
}
