#pragma once

// Sends the process's log to a file of its own and reads it back, so tests can check
// the exact lines a piece of code wrote. Needs appcore (installLogging).

#include "logging.h"

#include <QFile>
#include <QRegularExpression>
#include <QStringList>
#include <QTemporaryDir>

class LogReader
{
public:
    explicit LogReader(const QString &applicationName = QStringLiteral("Test"))
        : m_path(m_dir.filePath(QStringLiteral("test.log")))
    {
        installLogging(applicationName, m_path);
    }

    QString path() const { return m_path; }

    // Every line written so far, without line ends.
    QStringList lines() const
    {
        QFile file(m_path);
        if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
            return {};
        QStringList result = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
        if (!result.isEmpty() && result.last().isEmpty())
            result.removeLast();
        return result;
    }

    // The text after "[<application>] ", e.g. "[Error] Fail to load ...".
    QStringList messages() const
    {
        static const QRegularExpression prefix(QStringLiteral("^\\S+ \\d+ \\d\\d:\\d\\d:\\d\\d \\[[^]]*\\] "));
        QStringList result;
        for (QString line : lines())
            result << line.remove(prefix);
        return result;
    }

    // Messages holding the text.
    QStringList matching(const QString &text) const { return messages().filter(text); }
    bool contains(const QString &text) const { return !matching(text).isEmpty(); }

    // Forgets what was written so far.
    void clear() const
    {
        QFile file(m_path);
        if (file.exists())
            file.resize(0);
    }

private:
    QTemporaryDir m_dir;
    QString m_path;
};
