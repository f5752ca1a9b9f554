#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

class QProcess;

// Small pieces shared by the adb and aapt wrappers: where a tool is looked for and how
// much of its output is read.
namespace ToolProcess {

// "<application directory>/tools/<name>" with native separators.
QString bundledPath(const QString &name);

// The first "<directory>/<name>" that exists, with native separators; empty when none.
QString firstExisting(const QStringList &directories, const QString &name);

// The "android.sdk.use" setting (default false).
bool sdkInUse();
// The "android.sdk.path" setting (default empty).
QString sdkPath();

// Everything the process has buffered on its current read channel, at most
// ToolOutput::MaxOutputBytes of it; the rest is read and dropped with a warning under
// the given tag.
QByteArray readBounded(QProcess &process, const char *tag);

// "a, b, c": how argument lists appear in log lines.
QString joined(const QStringList &arguments);

} // namespace ToolProcess
