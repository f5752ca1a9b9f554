#pragma once

// What tests of the adb path share: devicesim's journal and store read back, and an APK of
// com.example.dropped (launcher activity .Main) made by Debian's aapt and signed by
// jarsigner with a key of its own, so that two keys give two signatures.

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QProcess>

namespace AdbFixture {

// The journal's adb entries of one event, in order.
inline QList<QJsonObject> journal(const QString &file, const QString &event)
{
    QFile journal(file);
    QList<QJsonObject> entries;
    journal.open(QIODevice::ReadOnly);
    for (const QByteArray &line : journal.readAll().split('\n')) {
        const QJsonObject entry = QJsonDocument::fromJson(line).object();
        if (entry.value("channel") == "adb" && entry.value("event") == event)
            entries << entry;
    }
    return entries;
}

// Relative path -> SHA-256 of every file below root.
inline QMap<QString, QByteArray> tree(const QString &root)
{
    QMap<QString, QByteArray> files;
    QDirIterator it(root, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        QFile file(it.next());
        QCryptographicHash hash(QCryptographicHash::Sha256);
        if (file.open(QIODevice::ReadOnly) && hash.addData(&file))
            files.insert(file.fileName().mid(root.size()), hash.result());
    }
    return files;
}

inline bool write(const QString &path, const QByteArray &contents)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(contents) == contents.size();
}

// Runs a command to its end (2 minutes at most); true on exit code 0.
inline bool run(const QStringList &command, QByteArray *output = nullptr)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(command.first(), command.mid(1));
    const bool ok = process.waitForFinished(120000) && process.exitCode() == 0;
    if (output)
        *output = process.readAll();
    return ok;
}

// "<dir>/<key>.apk", or empty when a tool failed. aapt resolves android:name against a
// framework of that one attribute at its real id, so that "dump badging" finds the activity.
inline QString signedApk(const QString &dir, const QString &key)
{
    const QString base = dir + QLatin1Char('/') + key;
    write(base + "/fw/AndroidManifest.xml", "<manifest package=\"android\"/>");
    write(base + "/fw/res/values/public.xml", "<resources><public type=\"attr\" name=\"name\" id=\"0x01010003\"/>"
                                              "<attr name=\"name\" format=\"string\"/></resources>");
    write(base + "/AndroidManifest.xml",
          "<manifest xmlns:android=\"http://schemas.android.com/apk/res/android\" package=\"com.example.dropped\">"
          "<application><activity android:name=\".Main\"><intent-filter>"
          "<action android:name=\"android.intent.action.MAIN\"/>"
          "<category android:name=\"android.intent.category.LAUNCHER\"/></intent-filter></activity></application>"
          "</manifest>");
    const QList<QStringList> steps{
        {"aapt", "package", "-f", "-x", "-M", base + "/fw/AndroidManifest.xml", "-S", base + "/fw/res", "-F", base + "/fw.apk"},
        {"aapt", "package", "-f", "-I", base + "/fw.apk", "-M", base + "/AndroidManifest.xml", "-F", base + ".apk"},
        {"openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", base + ".key", "-out", base + ".crt", "-subj", "/CN=" + key, "-days", "2"},
        {"openssl", "pkcs12", "-export", "-in", base + ".crt", "-inkey", base + ".key", "-out", base + ".p12", "-passout", "pass:secret", "-name", key},
        {"jarsigner", "-storetype", "PKCS12", "-keystore", base + ".p12", "-storepass", "secret", base + ".apk", key}};
    for (const QStringList &step : steps) {
        if (!run(step))
            return QString();
    }
    return base + QStringLiteral(".apk");
}

} // namespace AdbFixture
