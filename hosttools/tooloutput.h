#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

// What the Android tools print, read without running them: every function here is pure
// over the text the tool wrote, so each can be tested with literal output.

// The two facts read out of an APK; each is empty when the dump did not name it.
struct ApkBadging
{
    QString packageName;
    QString launchableActivity;
};

namespace ToolOutput {

// Most bytes of one run's output that are ever looked at; anything beyond is dropped
// with a warning, so a runaway tool cannot fill the memory.
constexpr int MaxOutputBytes = 4 * 1024 * 1024;
// Most device lines taken from one "adb devices" listing.
constexpr int MaxDevices = 256;

// Serials of "adb devices": the header line is dropped, every further line that is
// exactly two non-blank words gives its first word, whatever the state word says.
QStringList deviceSerials(const QByteArray &output);

// "<dotted address>:<port>", the form of a device reached over the network.
bool isNetworkSerial(const QString &serial);
// Some property line of "getprop" output mentions "caldd" anywhere.
bool mentionsCalderwick(const QByteArray &properties);
// Some property line of "getprop" output begins with "[caldd.".
bool hasCalderwickProperty(const QByteArray &properties);

// The word in brackets of the first line that has one after its first character
// ("Failure [INSTALL_FAILED_OLDER_SDK]" gives "INSTALL_FAILED_OLDER_SDK"); the whole
// text when no line has one.
QString errorWord(const QString &output);

// The first quoted name='...' of a line, empty when there is none.
QString quotedName(const QString &line);
// Package name and launchable activity of "aapt dump badging" output. Logs
// "Package found" and "Launchable Activity found" for each line it takes.
ApkBadging parseBadging(const QByteArray &output);

// The last progress figure "[ NN%]" that "adb push" printed to a terminal in this text,
// 0 to 100; -1 when there is none.
int pushPercent(const QByteArray &output);

} // namespace ToolOutput
