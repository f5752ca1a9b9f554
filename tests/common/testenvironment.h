#pragma once

// Every test runs in a home directory of its own, so that settings, logs and the
// statistics database never touch the user's and tests never see each other's files.
// Its temporary folder (the single-instance locks and sockets live there) is its own too,
// and it claims a loopback network of its own for the fixed device ports, so that two test
// runs on one machine never meet.
//
//   CALDERWICK_TEST_MAIN(TestClass)      QCoreApplication
//   CALDERWICK_TEST_GUI_MAIN(TestClass)  QApplication (offscreen unless DISPLAY tests)

#include <QApplication>
#include <QByteArray>
#include <QDir>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace TestEnvironment {

// The temporary home, removed when the test process ends.
inline QTemporaryDir &home()
{
    static QTemporaryDir dir(QDir::tempPath() + QStringLiteral("/calderwick-test-XXXXXX"));
    return dir;
}

inline void isolateHome()
{
    const QByteArray path = home().path().toLocal8Bit();
    qputenv("HOME", path);
    qputenv("XDG_CONFIG_HOME", path + "/.config");
    qputenv("XDG_DATA_HOME", path + "/.local/share");
    qputenv("XDG_CACHE_HOME", path + "/.cache");
    QDir().mkpath(home().path() + QStringLiteral("/tmp"));
    qputenv("TMPDIR", path + "/tmp");
    // No session bus, so no test reaches the user's keyring; a test that wants one starts
    // its own and points this variable there.
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + path + "/no-session-bus");
}

// "127.A.B." for a /24 that no other process on this machine holds: the claim is an advisory
// lock on a file in /tmp (shared by every run, whatever TMPDIR says), held until the process
// ends; the kernel drops it even when the process is killed. Devices live at host numbers of
// this prefix, so their fixed ports (22469, 22666, ...) never clash with another test's.
inline QString loopbackPrefix()
{
    static const QString prefix = [] {
        constexpr int FirstA = 20, Blocks = 80 * 256; // 127.20.0.0 - 127.99.255.0
        const int start = int(QRandomGenerator::global()->bounded(Blocks));
        for (int i = 0; i < Blocks; ++i) {
            const int block = (start + i) % Blocks;
            const QString net = QStringLiteral("127.%1.%2.").arg(FirstA + block / 256).arg(block % 256);
            const QByteArray lockPath = QByteArrayLiteral("/tmp/calderwick-loopback-") + net.toLatin1() + "lock";
            const int fd = ::open(lockPath.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
            if (fd < 0)
                continue;
            if (::flock(fd, LOCK_EX | LOCK_NB) == 0)
                return net; // fd stays open: the claim lasts as long as this process
            ::close(fd);
        }
        qFatal("no free loopback network for this test");
        return QString();
    }();
    return prefix;
}

// One address of this process's own loopback network; host is 1-254.
inline QString loopback(int host)
{
    return loopbackPrefix() + QString::number(host);
}

} // namespace TestEnvironment

#define CALDERWICK_TEST_MAIN(TestObject)                                                                     \
    int main(int argc, char *argv[])                                                                         \
    {                                                                                                        \
        TestEnvironment::isolateHome();                                                                      \
        QCoreApplication app(argc, argv);                                                                    \
        app.setAttribute(Qt::AA_Use96Dpi, true);                                                             \
        TestObject tc;                                                                                       \
        QTEST_SET_MAIN_SOURCE_PATH                                                                           \
        return QTest::qExec(&tc, argc, argv);                                                                \
    }

#define CALDERWICK_TEST_GUI_MAIN(TestObject)                                                                 \
    int main(int argc, char *argv[])                                                                         \
    {                                                                                                        \
        TestEnvironment::isolateHome();                                                                      \
        QApplication app(argc, argv);                                                                        \
        app.setAttribute(Qt::AA_Use96Dpi, true);                                                             \
        TestObject tc;                                                                                       \
        QTEST_SET_MAIN_SOURCE_PATH                                                                           \
        return QTest::qExec(&tc, argc, argv);                                                                \
    }
