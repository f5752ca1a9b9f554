#pragma once

// Every test runs in a home directory of its own, so that settings, logs and the
// statistics database never touch the user's and tests never see each other's files.
//
//   CALDERWICK_TEST_MAIN(TestClass)      QCoreApplication
//   CALDERWICK_TEST_GUI_MAIN(TestClass)  QApplication (offscreen unless DISPLAY tests)

#include <QApplication>
#include <QByteArray>
#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

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
