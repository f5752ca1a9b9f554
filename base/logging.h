#pragma once

#include <QIODevice>
#include <QString>

// Routes every Qt message of the process into one log file:
//   "MMM d HH:mm:ss [<application>] [Debug|Warning|Error|Fatal] text"
// The file is opened on the first message after installation; standard output only
// ever says which file is used, or why it could not be opened.
//
// Two safety nets keep a misbehaving peer from filling the disk: a message that comes
// again and again (same text, or same leading "[Tag]") is written a few times per window,
// then counted, and one "... repeated N times" line follows when its burst is over; and a
// file past its size limit is moved once to "<file>.1" and started anew with a note.
// When a later call names a file that cannot be opened, the lines go on in the file used
// before, which says so.
void installLogging(const QString &applicationName, const QString &filePath,
                    QIODevice::OpenMode openMode = QIODevice::Append);

// The file given to the last installLogging, empty before.
QString logFilePath();

// One formatted log line without its end of line; exposed so the format can be tested.
QString formatLogLine(QtMsgType type, const QString &applicationName, const QString &message);

// Limits of the safety nets; tests shrink them. A key (text or tag) gets linesPerBurst
// lines per windowMs, tagged messages tagLinesPerBurst; the file is rotated past maxBytes.
struct LogLimits
{
    int linesPerBurst = 20;
    int tagLinesPerBurst = 200;
    int windowMs = 10000;
    qint64 maxBytes = 20 * 1024 * 1024;
};
void setLogLimits(const LogLimits &limits);
