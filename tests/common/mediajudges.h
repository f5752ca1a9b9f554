#pragma once

// The real tools that judge the player's WebM files, run as child processes.

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QtTest>

namespace MediaJudges {

// A tool's standard output; exitCode is -1 when it crashed or did not end within a minute.
inline QByteArray run(const QString &program, const QStringList &arguments, int *exitCode = nullptr)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished(60000);
    if (exitCode)
        *exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    return process.readAllStandardOutput();
}

// ffprobe finds one VP8 and one Vorbis stream (44100 Hz, stereo) lasting seconds within 10%,
// and mkvinfo reads the whole file with its cues; mkvinfo's text goes to info.
inline void checkRecording(const QString &path, double seconds, QByteArray *info = nullptr)
{
    const QJsonObject probe = QJsonDocument::fromJson(run("ffprobe", {"-v", "error", "-show_entries",
        "stream=codec_name,sample_rate,channels:format=duration", "-of", "json", path})).object();
    const QJsonArray streams = probe["streams"].toArray();
    QCOMPARE(streams.size(), 2);
    QCOMPARE(streams[0]["codec_name"].toString(), "vp8");
    QCOMPARE(streams[1]["codec_name"].toString(), "vorbis");
    QCOMPARE(streams[1]["sample_rate"].toString(), "44100");
    QCOMPARE(streams[1]["channels"].toInt(), 2);
    const double duration = probe["format"]["duration"].toString().toDouble();
    QVERIFY2(qAbs(duration - seconds) < 0.1 * seconds, qPrintable(QString("%1 %2").arg(duration).arg(seconds)));
    int status = -1;
    const QByteArray mkvinfo = run("mkvinfo", {"-v", path}, &status);
    QVERIFY2(status == 0 && mkvinfo.contains("Cues"), mkvinfo.constData());
    if (info)
        *info = mkvinfo;
}

} // namespace MediaJudges
