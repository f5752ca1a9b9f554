#pragma once

#include <QIODevice>
#include <QString>

// Routes every Qt message of the process into one log file:
//   "MMM d HH:mm:ss [<application>] [Debug|Warning|Error|Fatal] text"
// The file is opened on the first message after installation; standard output only
// ever says which file is used, or why it could not be opened.
void installLogging(const QString &applicationName, const QString &filePath,
                    QIODevice::OpenMode openMode = QIODevice::Append);

// The file given to the last installLogging, empty before.
QString logFilePath();

// One formatted log line without its end of line; exposed so the format can be tested.
QString formatLogLine(QtMsgType type, const QString &applicationName, const QString &message);
