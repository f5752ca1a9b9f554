#pragma once

#include <QCommandLineOption>
#include <QList>
#include <QPair>
#include <QString>

struct SimulatorOptions;

// devicesim's command line: the simulator's options and the sub-commands beside it, kept in
// one place so that the help text, the parser and the dispatch cannot drift apart.
class CommandLine
{
public:
    // The options of the simulator itself.
    static QList<QCommandLineOption> options();
    // Sub-commands, each with a one-line summary, dispatched on the first argument.
    static QList<QPair<QString, QString>> commands();
    // Parses the simulator's arguments (the program name first); --help prints the help and
    // ends the process. False with error set for a bad value.
    static bool parse(const QStringList &arguments, SimulatorOptions &options, QString &controlName,
                      QString &error);
};
