#include "commandline.h"

#include <QDebug>
#include <QRegExp>

bool parseCommandLine(const QStringList &arguments, PlayerOptions &options)
{
    const QRegExp quiet(QStringLiteral("^(--quiet|-q)"));
    const QRegExp fromPlugin(QStringLiteral("(--from-plugin|-p)=(.*)"));
    const QRegExp noPopup(QStringLiteral("^(--no-popup|-s)"));
    const QRegExp powerOff(QStringLiteral("^(--poweroff|-x)"));
    const QRegExp startAdb(QStringLiteral("^(--startadb|-a)"));
    const QRegExp stopAdb(QStringLiteral("^(--stopadb|-z)"));
    const QRegExp vmName(QStringLiteral("^(--vm-name|-n)"));
    const QRegExp ide(QStringLiteral("^(--ide|-i)"));

    for (int i = 0; i < arguments.size(); ++i) {
        const QString argument = arguments.at(i).trimmed();
        if (quiet.exactMatch(argument)) {
            options.showChecks = false;
        } else if (fromPlugin.exactMatch(argument)) {
            options.fromPlugin = fromPlugin.cap(2);
        } else if (noPopup.exactMatch(argument)) {
            options.showChecks = false;
            options.noPopup = true;
        } else if (powerOff.exactMatch(argument)) {
            options.action = 1;
        } else if (startAdb.exactMatch(argument)) {
            options.action = 2;
        } else if (stopAdb.exactMatch(argument)) {
            options.action = 3;
        } else if (vmName.exactMatch(argument) || ide.exactMatch(argument)) {
            if (i + 1 >= arguments.size())
                return false;
            // The value is taken as it stands, even if it looks like an option.
            (vmName.exactMatch(argument) ? options.vmName : options.ide) = arguments.at(++i);
        }
        // Anything else is skipped without a word.
    }
    return !options.vmName.isEmpty();
}

void logUsage()
{
    qDebug() << "Usage:" << "player";
    qDebug() << "\t\t" << "--vm-name|-n" << "<device name>";
    qDebug() << "\t\t" << "[" << "--no-popup|-s" << "]";
    qDebug() << "\t\t" << "[" << "--poweroff|-x" << " || ";
    qDebug() << "\t\t" << " " << "--startadb|-a" << " || ";
    qDebug() << "\t\t" << " " << "--stopadb|-z" << "]";
}

QString orderForAction(int action)
{
    switch (action) {
    case 1:
        return QStringLiteral("POWEROFF");
    case 2:
        return QStringLiteral("STARTADB");
    case 3:
        return QStringLiteral("STOPADB");
    default:
        return QStringLiteral("PING");
    }
}
