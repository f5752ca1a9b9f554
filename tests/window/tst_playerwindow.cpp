// The player window on a real X server against a devicesim process: the device's picture
// arrives through the render library upright, also after the device turned, and clicks and
// drags made with xdotool on the window reach the device in device coordinates, in fit and
// pixel-perfect modes and in every rotation. Then both toolbars: capability gating with its
// English reasons, the device keys reaching the device, the rotate button turning it, and
// the bars' shortcuts.

#include "actionbutton.h"
#include "devicescreen.h"
#include "eventmanager.h"
#include "panelbutton.h"
#include "panelwidget.h"
#include "player.h"
#include "proxyevent.h"
#include "devicetoolbar.h"
#include "widgettoolbar.h"
#include "rotateevent.h"
#include "sensormanager.h"
#include "testenvironment.h"

#include "openglrender.h"

#include <QDesktopWidget>
#include <QJsonDocument>
#include <QJsonObject>
#include <QKeyEvent>
#include <QPointer>
#include <QProcess>
#include <QScreen>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTranslator>

#include <X11/Xlib.h>
// Xlib names its key events as Qt does.
#undef KeyPress
#undef KeyRelease

#include <cmath>
#include <memory>
#include <mutex>

namespace {

const QString DeviceAddress = TestEnvironment::loopback(1);
const QSize DeviceSize(360, 640);
const double Gravity = 9.776218750101208;
const double Tilt = 0.8134168366646887;

QPointer<Player> rotatingPlayer;

// The first frame the render library drew after each rotation it reported: the picture the
// user sees at once, before anything else on the device changes.
struct FirstFrame
{
    std::mutex mutex;
    bool armed = false;
    QImage image;
} firstFrame;

void onRotation(float angle)
{
    {
        std::lock_guard<std::mutex> lock(firstFrame.mutex);
        firstFrame.armed = true;
        firstFrame.image = QImage();
    }
    QCoreApplication::postEvent(QCoreApplication::instance(), new RotateEvent(angle));
}

void onFrame(void *, int width, int height, int, int, int, unsigned char *pixels)
{
    std::lock_guard<std::mutex> lock(firstFrame.mutex);
    if (firstFrame.armed)
        firstFrame.image = QImage(pixels, width, height, QImage::Format_RGB32).copy(); // BGRA bytes
    firstFrame.armed = false;
}

QImage firstFrameAfterRotation()
{
    std::lock_guard<std::mutex> lock(firstFrame.mutex);
    return firstFrame.image;
}

// Stands in for the application object: turns the window on the main thread.
class RotationFilter : public QObject
{
public:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == RotateEvent::Type) {
            if (rotatingPlayer)
                rotatingPlayer->rotate(*static_cast<RotateEvent *>(event));
            return true;
        }
        return QObject::eventFilter(watched, event);
    }
};

// Mean absolute difference per channel (0-255) of two pictures brought to the same small size.
double pictureDistance(const QImage &a, const QImage &b)
{
    const QSize small(a.width() >= a.height() ? QSize(64, 36) : QSize(36, 64));
    const QImage x = a.convertToFormat(QImage::Format_RGB32).scaled(small, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    const QImage y = b.convertToFormat(QImage::Format_RGB32).scaled(small, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    double sum = 0;
    for (int row = 0; row < small.height(); ++row) {
        for (int column = 0; column < small.width(); ++column) {
            const QRgb p = x.pixel(column, row);
            const QRgb q = y.pixel(column, row);
            sum += std::abs(qRed(p) - qRed(q)) + std::abs(qGreen(p) - qGreen(q)) + std::abs(qBlue(p) - qBlue(q));
        }
    }
    return sum / (3.0 * small.width() * small.height());
}

} // namespace

class TestPlayerWindow : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir dir;
    QProcess device;
    QByteArray deviceOutput;
    Player *player = nullptr;
    RotationFilter rotationFilter;
    QTranslator english;
    int journalRead = 0;
    QStringList heard; // every event line read from the journal, for tests that clear it first

    QString journalPath() const { return dir.filePath(QStringLiteral("journal.jsonl")); }

    // One control command on the simulator's standard input; its answer line.
    QString control(const QString &command)
    {
        deviceOutput.clear();
        device.write(command.toUtf8() + '\n');
        if (!QTest::qWaitFor(
                [&] {
                    deviceOutput += device.readAllStandardOutput();
                    return deviceOutput.contains('\n');
                },
                5000))
            return QString();
        return QString::fromUtf8(deviceOutput).trimmed();
    }

    // The journal's entries of one channel, from the first unread line on.
    QList<QJsonObject> journalEntries(const QString &channel, int from = 0, int *lineCount = nullptr) const
    {
        QFile file(journalPath());
        if (!file.open(QIODevice::ReadOnly))
            return {};
        const QList<QByteArray> lines = file.readAll().split('\n');
        QList<QJsonObject> entries;
        for (int i = from; i < lines.size(); ++i) {
            const QJsonObject entry = QJsonDocument::fromJson(lines.at(i)).object();
            if (entry.value(QStringLiteral("channel")).toString() == channel)
                entries << entry;
        }
        if (lineCount)
            *lineCount = lines.size();
        return entries;
    }

    // The event lines the device accepted since the last call.
    QStringList newEventLines()
    {
        int lineCount = 0;
        QStringList lines;
        for (const QJsonObject &entry : journalEntries(QStringLiteral("event"), journalRead, &lineCount)) {
            if (entry.contains(QStringLiteral("line")))
                lines << entry.value(QStringLiteral("line")).toString();
        }
        journalRead = qMax(0, lineCount - 1);
        heard += lines;
        return lines;
    }

    // Waits until the device has a line starting with prefix; all lines since the last call.
    QStringList waitForLine(const QString &prefix)
    {
        QStringList lines;
        QTest::qWaitFor(
            [&] {
                lines += newEventLines();
                return !lines.filter(QRegularExpression(QLatin1Char('^') + QRegularExpression::escape(prefix))).isEmpty();
            },
            5000);
        return lines;
    }

    static bool xdotool(const QStringList &arguments)
    {
        QProcess tool;
        tool.start(QStringLiteral("xdotool"), arguments);
        return tool.waitForFinished(5000) && tool.exitStatus() == QProcess::NormalExit && tool.exitCode() == 0;
    }

    DeviceToolbar *keys() const { return player->keysToolbar(); }
    WidgetToolbar *panels() const { return player->panelsToolbar(); }

    QPoint global(const QPoint &local) const { return player->deviceScreen()->mapToGlobal(local); }

    // Moves the pointer there and waits until the device heard of it (positions on the picture).
    bool moveTo(const QPoint &local, bool onPicture = true)
    {
        const QPoint at = global(local);
        if (!xdotool({QStringLiteral("mousemove"), QStringLiteral("--sync"), QString::number(at.x()),
                      QString::number(at.y())}))
            return false;
        return !onPicture || !waitForLine(QStringLiteral("MOUSE:")).isEmpty();
    }

    bool click(const QPoint &local)
    {
        return moveTo(local) && xdotool({QStringLiteral("click"), QStringLiteral("1")});
    }

    // What the window shows of the device screen widget.
    QImage grabScreen() const
    {
        DeviceScreen *screen = player->deviceScreen();
        const QPoint origin = screen->mapToGlobal(QPoint(0, 0));
        return QGuiApplication::primaryScreen()
            ->grabWindow(0, origin.x(), origin.y(), screen->width(), screen->height())
            .toImage();
    }

    // The simulator's own picture, turned as a viewer shows it.
    QImage deviceUpright(int orientation)
    {
        const QString path = dir.filePath(QStringLiteral("device.png"));
        QFile::remove(path);
        if (control(QStringLiteral("screenshot ") + path) != QLatin1String("ok"))
            return QImage();
        const QImage framebuffer(path);
        return orientation == 0 ? framebuffer : framebuffer.transformed(QTransform().rotate(-orientation));
    }

    // True once the window shows the device's picture upright (and not turned the wrong way);
    // with a frame, true if that frame of the stream, turned as the window turns it, is it.
    bool showsUpright(int orientation, double *distance = nullptr, double *wrong = nullptr,
                      const QImage &frame = QImage())
    {
        const QImage upright = deviceUpright(orientation);
        const QImage shown = frame.isNull() ? grabScreen() : frame.transformed(QTransform().rotate(-orientation));
        if (upright.isNull() || shown.isNull())
            return false;
        const double d = pictureDistance(shown, upright);
        // The same picture turned by a half turn must look clearly different.
        const double w = pictureDistance(shown, upright.transformed(QTransform().rotate(180)));
        if (distance)
            *distance = d;
        if (wrong)
            *wrong = w;
        return d < 10.0 && w > 2 * d;
    }

    void turnDevice(int orientation)
    {
        double x = 0;
        double y = 0;
        switch (orientation) {
        case 0: y = Gravity; break;
        case 90: x = Gravity; break;
        case 180: y = -Gravity; break;
        default: x = -Gravity; break;
        }
        SensorManager *sensors = player->eventManager()->sensorManager();
        QVERIFY(sensors);
        QTRY_VERIFY(sensors->isConnected());
        sensors->sendAccelerometerValues(x, y, Tilt);
        QTRY_COMPARE_WITH_TIMEOUT(int(player->rotation()), orientation, 5000);
    }

    // The device pixel that a widget position shows, from the window's geometry alone: the
    // picture is scaled to fit and centred, then turned back as the render library turns it.
    QPoint expectedDevicePoint(const QPoint &local) const
    {
        DeviceScreen *screen = player->deviceScreen();
        const int angle = screen->rotation();
        const bool turned = angle == 90 || angle == 270;
        const double shownW = turned ? DeviceSize.height() : DeviceSize.width();
        const double shownH = turned ? DeviceSize.width() : DeviceSize.height();
        double scale = 1.0;
        if (!screen->isPixelPerfect())
            scale = qMax(shownW / screen->width(), shownH / screen->height());
        const QPoint offset = screen->scrollOffset();
        const double dx = shownW / 2 + (local.x() - screen->width() / 2.0 - offset.x()) * scale;
        const double dy = shownH / 2 + (local.y() - screen->height() / 2.0 + offset.y()) * scale;
        const int w = DeviceSize.width();
        const int h = DeviceSize.height();
        switch (angle) {
        case 90: return QPoint(w - int(dy), int(dx));
        case 180: return QPoint(w - int(dx), h - int(dy));
        case 270: return QPoint(int(dy), h - int(dx));
        default: return QPoint(int(dx), int(dy));
        }
    }

    // The window with the title bar kept for it lies on the available screen.
    bool wholeOnScreen() const
    {
        const QRect window = player->frameGeometry().adjusted(0, -29, 0, 0);
        const QRect available = QApplication::desktop()->availableGeometry(player);
        if (!available.contains(window))
            qWarning() << "window" << window << "not within" << available;
        return available.contains(window);
    }

    static QPoint parsePoint(const QString &line)
    {
        const QStringList parts = line.split(QLatin1Char(':'));
        return QPoint(parts.value(1).toInt(), parts.value(2).toInt());
    }

    static bool near(const QPoint &a, const QPoint &b) { return (a - b).manhattanLength() <= 2; }

    // A click at a widget position arrives as press and release at the expected device pixel,
    // and the device then draws its touch mark under the pointer.
    void checkClick(const QPoint &local)
    {
        QVERIFY(click(local));
        const QStringList lines = waitForLine(QStringLiteral("MSBRL:"));
        // Worked out once the click went through: a layout still settling (a toolbar just
        // hidden, a turn) has then been applied, as it was for the pointer.
        const QPoint expected = expectedDevicePoint(local);
        const QStringList presses = lines.filter(QRegularExpression(QStringLiteral("^MSBPR:")));
        const QStringList releases = lines.filter(QRegularExpression(QStringLiteral("^MSBRL:")));
        QVERIFY2(presses.size() == 1 && releases.size() == 1, qPrintable(lines.join(QLatin1Char(' '))));
        QVERIFY2(near(parsePoint(presses.first()), expected),
                 qPrintable(presses.first() + QStringLiteral(" expected near %1,%2").arg(expected.x()).arg(expected.y())));
        QVERIFY(near(parsePoint(releases.first()), expected));

        // The touch mark (light blue) shows under the pointer once the device has redrawn.
        const QPoint at = global(local);
        QTRY_VERIFY_WITH_TIMEOUT(
            [&] {
                const QImage around = QGuiApplication::primaryScreen()->grabWindow(0, at.x() - 2, at.y() - 2, 5, 5).toImage();
                for (int y = 0; y < around.height(); ++y) {
                    for (int x = 0; x < around.width(); ++x) {
                        const QRgb p = around.pixel(x, y);
                        if (qBlue(p) > 180 && qGreen(p) > 120 && qRed(p) < 160)
                            return true;
                    }
                }
                return false;
            }(),
            5000);
    }

private slots:
    void initTestCase()
    {
        QVERIFY(dir.isValid());
        QVERIFY(english.load(QStringLiteral("player_en"), QStringLiteral(CALDERWICK_BIN_DIR "/translations")));
        QCoreApplication::installTranslator(&english);
        qApp->installEventFilter(&rotationFilter);
        Sylvane_setCallbackRotation(onRotation);
        Sylvane_registerOGLCallback(onFrame, nullptr);

        device.setProcessChannelMode(QProcess::SeparateChannels);
        device.start(QStringLiteral(CALDERWICK_BIN_DIR "/devicesim"),
                     {QStringLiteral("--address"), DeviceAddress, QStringLiteral("--size"),
                      QStringLiteral("360x640"), QStringLiteral("--dpi"), QStringLiteral("160"),
                      QStringLiteral("--journal"), journalPath()});
        QVERIFY(device.waitForStarted(5000));
        QTRY_VERIFY_WITH_TIMEOUT((deviceOutput += device.readAllStandardOutput()).contains("devicesim ready"), 5000);
        QVERIFY(control(QStringLiteral("caps gps off")).startsWith(QStringLiteral("ok")));
        QVERIFY(control(QStringLiteral("caps camera off")).startsWith(QStringLiteral("ok")));

        player = new Player(DeviceSize, 160, nullptr, nullptr);
        rotatingPlayer = player;
        QCOMPARE(player->deviceScreen()->status(), 0);
        // The pointer tests measure the screen against the window: the toolbars stand aside
        // until the toolbars' own tests at the end.
        player->panelsToolbar()->hide();
        player->keysToolbar()->hide();
        QCOMPARE(player->windowTitle(), QStringLiteral("Calderwick -  (360x640, 160dpi)"));
        QSignalSpy playing(player, &Player::playing);
        player->connectTo(DeviceAddress);
        QCOMPARE(player->windowTitle(), QStringLiteral("Calderwick -  (360x640, 160dpi) - ") + DeviceAddress);
        QTRY_COMPARE_WITH_TIMEOUT(playing.count(), 1, 10000);
        QVERIFY(player->deviceScreen()->isRendererReady());

        // As the start sequence shows it.
        player->deviceScreen()->setupSubWindow();
        // Centred on a point near the top, where half the window would be off the screen: it
        // stays whole on it instead.
        const QRect available = QApplication::desktop()->availableGeometry(player);
        player->placeCentered(available.topLeft() + QPoint(700, 100));
        QVERIFY(QTest::qWaitForWindowExposed(player));
        // No window manager here: 29 pixels are kept for a title bar, and the desktop is high enough.
        QCOMPARE(player->size(), DeviceSize);
        QVERIFY(wholeOnScreen());
        QCOMPARE(player->geometry().center().x(), available.left() + 699);
        // The hidden toolbars' room goes back to the screen once the layout has run.
        QTRY_COMPARE(player->deviceScreen()->size(), DeviceSize);
        newEventLines();
    }

    void cleanupTestCase()
    {
        rotatingPlayer.clear();
        Sylvane_registerOGLCallback(nullptr, nullptr);
        delete player;
        Sylvane_shutdown();
        if (device.state() == QProcess::Running) {
            device.write("quit\n");
            if (!device.waitForFinished(3000))
                device.kill();
        }
    }

    void clicksAndDragsAtOneToOne()
    {
        checkClick(QPoint(40, 60));
        checkClick(QPoint(300, 500));

        // A drag inside the picture: press, moves, release at the end.
        QVERIFY(moveTo(QPoint(100, 200)));
        heard.clear();
        QVERIFY(xdotool({QStringLiteral("mousedown"), QStringLiteral("1")}));
        QVERIFY(moveTo(QPoint(150, 300)));
        QVERIFY(moveTo(QPoint(200, 400)));
        QVERIFY(xdotool({QStringLiteral("mouseup"), QStringLiteral("1")}));
        waitForLine(QStringLiteral("MSBRL:"));
        QStringList lines = heard;
        while (!lines.isEmpty() && !lines.first().startsWith(QStringLiteral("MSBPR:")))
            lines.removeFirst();
        QVERIFY2(lines.size() >= 3, qPrintable(lines.join(QLatin1Char(' '))));
        QVERIFY(lines.first().startsWith(QStringLiteral("MSBPR:")));
        QVERIFY(near(parsePoint(lines.first()), QPoint(100, 200)));
        QVERIFY(!lines.filter(QRegularExpression(QStringLiteral("^MOUSE:"))).isEmpty());
        QVERIFY(near(parsePoint(lines.last()), QPoint(200, 400)));
    }

    void dragLeavingThePictureReleasesOnIt()
    {
        QVERIFY(moveTo(QPoint(180, 320)));
        QVERIFY(xdotool({QStringLiteral("mousedown"), QStringLiteral("1")}));
        QVERIFY(moveTo(QPoint(350, 320)));
        QVERIFY(moveTo(QPoint(420, 320), false));
        QStringList lines = waitForLine(QStringLiteral("MSBRL:"));
        // Released where it last was on the picture, before the button came up.
        QVERIFY2(near(parsePoint(lines.filter(QRegularExpression(QStringLiteral("^MSBRL:"))).first()), QPoint(350, 320)),
                 qPrintable(lines.join(QLatin1Char(' '))));
        // Every further move outside repeats it; the real release comes last.
        QVERIFY(moveTo(QPoint(430, 330), false));
        QVERIFY(xdotool({QStringLiteral("mouseup"), QStringLiteral("1")}));
        QTRY_VERIFY((lines += newEventLines()).filter(QRegularExpression(QStringLiteral("^MSBRL:"))).size() >= 3);
        QVERIFY(lines.filter(QRegularExpression(QStringLiteral("^MSBRL:350:320"))).size() >= 2);
    }

    void clicksWhenScaledToFit()
    {
        player->resize(270, 480);
        QTRY_COMPARE(player->deviceScreen()->size(), QSize(270, 480));
        double distance = 0;
        QTRY_VERIFY2_WITH_TIMEOUT(showsUpright(0, &distance), qPrintable(QString::number(distance)), 5000);
        checkClick(QPoint(30, 40));
        checkClick(QPoint(250, 450));
    }

    void rotations_data()
    {
        QTest::addColumn<int>("orientation");
        QTest::newRow("90") << 90;
        QTest::newRow("180") << 180;
        QTest::newRow("270") << 270;
        QTest::newRow("0") << 0;
    }

    void rotations()
    {
        QFETCH(int, orientation);
        const QSize before = player->deviceScreen()->size();
        const int oldOrientation = int(player->rotation());
        // At the screen's right edge, where a window that grows wider would run off it.
        const QRect available = QApplication::desktop()->availableGeometry(player);
        player->move(available.right() + 1 - player->frameGeometry().width(), player->y());
        QTRY_COMPARE(player->frameGeometry().right(), available.right());
        turnDevice(orientation);
        // A quarter turn swaps the screen widget's sides; a half turn keeps them.
        const bool quarter = std::abs(oldOrientation - orientation) % 180 == 90;
        QTRY_COMPARE(player->deviceScreen()->size(), quarter ? before.transposed() : before);
        QVERIFY(wholeOnScreen());

        double distance = 0;
        double wrong = 0;
        // The first picture drawn with the new angle is already the turned device's.
        QTRY_VERIFY(!firstFrameAfterRotation().isNull());
        QVERIFY2(showsUpright(orientation, &distance, &wrong, firstFrameAfterRotation()),
                 qPrintable(QStringLiteral("first frame: distance %1, turned %2").arg(distance).arg(wrong)));
        QTRY_VERIFY2_WITH_TIMEOUT(showsUpright(orientation, &distance, &wrong),
                                  qPrintable(QStringLiteral("distance %1, turned %2").arg(distance).arg(wrong)), 5000);
        qInfo("orientation %d: upright distance %.2f, half-turned %.2f", orientation, distance, wrong);
        const QSize size = player->deviceScreen()->size();
        checkClick(QPoint(size.width() / 5, size.height() / 4));
        checkClick(QPoint(size.width() * 4 / 5, size.height() * 2 / 3));
    }

    void pixelPerfectWithScrollBars_data()
    {
        rotations_data();
    }

    void pixelPerfectWithScrollBars()
    {
        QFETCH(int, orientation);
        turnDevice(orientation);
        DeviceScreen *screen = player->deviceScreen();
        QVERIFY(player->togglePixelPerfect());
        // The window is smaller than the device both ways: both bars.
        QTRY_VERIFY(screen->horizontalScrollBar()->isVisible() && screen->verticalScrollBar()->isVisible());
        screen->horizontalScrollBar()->setValue(screen->horizontalScrollBar()->minimum());
        screen->verticalScrollBar()->setValue(screen->verticalScrollBar()->maximum() / 2);
        QTest::qWait(100);
        checkClick(QPoint(20, 30));
        checkClick(QPoint(screen->width() - 20, screen->height() - 30));
        QVERIFY(!player->togglePixelPerfect());
        QTRY_VERIFY(screen->horizontalScrollBar()->isHidden() && screen->verticalScrollBar()->isHidden());
    }

    // The toolbars from here on: both shown, the pointer off the window so that it sends nothing.
    void everythingGatedWaitsForCapabilities()
    {
        QVERIFY(xdotool({QStringLiteral("mousemove"), QStringLiteral("--sync"), QStringLiteral("0"), QStringLiteral("0")}));
        player->panelsToolbar()->show();
        player->keysToolbar()->show();
        for (PanelButton *button : panels()->panelButtons())
            QVERIFY2(!button->isEnabled(), qPrintable(button->iconName()));
        QVERIFY(!keys()->button(QStringLiteral("rotate"))->isEnabled());
        QVERIFY(keys()->button(QStringLiteral("home"))->isEnabled());
    }

    void capabilitiesGateTheButtons()
    {
        QSignalSpy arrived(player->eventManager(), &EventManager::capabilitiesChanged);
        player->eventManager()->requestCapabilities();
        QTRY_COMPARE_WITH_TIMEOUT(arrived.count(), 1, 5000);

        QVERIFY(panels()->button(QStringLiteral("battery"))->isEnabled());
        QVERIFY(keys()->button(QStringLiteral("rotate"))->isEnabled());
        PanelButton *gps = panels()->button(QStringLiteral("gps"));
        QVERIFY(!gps->isEnabled());
        QVERIFY(!gps->panel()->isEnabled());
        QVERIFY(!panels()->button(QStringLiteral("camera"))->isEnabled());
        // The reason is told in English, not as a key.
        const QString reason = QCoreApplication::translate("ToolbarButton", "virtual.device.not.compatible");
        QVERIFY(reason != QLatin1String("virtual.device.not.compatible"));
        QVERIFY2(gps->toolTip().endsWith(QStringLiteral(" : ") + reason), qPrintable(gps->toolTip()));
        QVERIFY(!gps->toolTip().contains(QStringLiteral("tooltip.")));
        const QString battery = panels()->button(QStringLiteral("battery"))->toolTip();
        QVERIFY2(battery.endsWith(QStringLiteral("        Ctrl+1")), qPrintable(battery));
    }

    void keysReachTheDevice_data()
    {
        QTest::addColumn<QString>("icon");
        QTest::addColumn<int>("code");
        QTest::newRow("volume up") << "sound-up" << 115;
        QTest::newRow("volume down") << "sound-down" << 114;
        QTest::newRow("back") << "back" << 158;
        QTest::newRow("recent") << "recent" << 221;
        QTest::newRow("menu") << "menu" << 229;
        QTest::newRow("home") << "home" << 102;
        QTest::newRow("power") << "power" << 116;
    }

    void keysReachTheDevice()
    {
        QFETCH(QString, icon);
        QFETCH(int, code);
        newEventLines();
        ActionButton *button = keys()->button(icon);
        QVERIFY(button);
        // Some of the lower buttons sit in the bar's overflow on a short window: a press made
        // there is the same signal.
        QTest::mousePress(button, Qt::LeftButton);
        QTest::mouseRelease(button, Qt::LeftButton);
        QCOMPARE(waitForLine(QStringLiteral("KBDRL:")).filter(QRegularExpression(QStringLiteral("^KBD"))),
                 (QStringList{QStringLiteral("KBDPR:%1:0").arg(code), QStringLiteral("KBDRL:%1:0").arg(code)}));
    }

    void heldKeyboardKeyIsNotRepeated()
    {
        // The device repeats a held key itself: the host's auto-repeat would double it.
        newEventLines();
        QKeyEvent press(QEvent::KeyPress, Qt::Key_A, Qt::NoModifier, QStringLiteral("a"));
        QKeyEvent repeat(QEvent::KeyPress, Qt::Key_A, Qt::NoModifier, QStringLiteral("a"), true);
        QKeyEvent repeatRelease(QEvent::KeyRelease, Qt::Key_A, Qt::NoModifier, QStringLiteral("a"), true);
        QKeyEvent release(QEvent::KeyRelease, Qt::Key_A, Qt::NoModifier, QStringLiteral("a"));
        for (QKeyEvent *event : {&press, &repeat, &repeatRelease, &repeat, &repeatRelease, &release})
            QCoreApplication::sendEvent(player, event);
        QStringList lines = waitForLine(QStringLiteral("KBDRL:"));
        QTest::qWait(100);
        lines += newEventLines();
        QCOMPARE(lines.filter(QRegularExpression(QStringLiteral("^KBD"))),
                 (QStringList{QStringLiteral("KBDPR:30:0"), QStringLiteral("KBDRL:30:0")}));
    }

    // The rotate button sends the exact gravity of a turned device, and the window turns with it.
    void rotateTurnsTheDevice()
    {
        QCOMPARE(int(player->rotation()), 0);
        for (const int orientation : {90, 0}) {
            QTest::mouseClick(keys()->button(QStringLiteral("rotate")), Qt::LeftButton);
            QTRY_COMPARE_WITH_TIMEOUT(int(player->rotation()), orientation, 5000);
            const QList<QJsonObject> sent = journalEntries(QStringLiteral("sensor"));
            QVERIFY(!sent.isEmpty());
            QCOMPARE(sent.last().value(QLatin1String(orientation ? "x" : "y")).toDouble(), Gravity);
            QCOMPARE(sent.last().value(QStringLiteral("z")).toDouble(), Tilt);
        }
    }

    // A phone driving the device through ProxyEvent, wired as the remote panel wires it: its
    // accelerometer turns the device, it is told every turn, its touches land on the device's
    // display in every rotation, and its bad lines are dropped with a log line.
    void phoneDrivesTheDevice()
    {
        QTcpServer phoneSide;
        QVERIFY(phoneSide.listen(QHostAddress(TestEnvironment::loopback(2))));
        QTcpSocket hostSide;
        hostSide.connectToHost(phoneSide.serverAddress(), phoneSide.serverPort());
        QVERIFY(phoneSide.waitForNewConnection(5000));
        std::unique_ptr<QTcpSocket> phone(phoneSide.nextPendingConnection());
        QVERIFY(hostSide.waitForConnected(5000));
        ProxyEvent *proxy = player->proxyEvent();
        EventManager *events = player->eventManager();
        connect(proxy, &ProxyEvent::multiEvent, events, &EventManager::sendEvent);
        connect(proxy, &ProxyEvent::accelEvent, events->sensorManager(), &SensorManager::sendAccelerometerValues);
        auto told = [&](const QByteArray &line) {
            return QTest::qWaitFor([&] { return phone->canReadLine() || phone->waitForReadyRead(100); }, 5000)
                   && phone->readLine() == line;
        };
        proxy->attach(&hostSide);
        QVERIFY(told("DISPLAY:360:640:0\n"));
        for (const int orientation : {90, 180, 270, 0}) {
            const double x = orientation == 90 ? Gravity : orientation == 270 ? -Gravity : 0;
            const double y = orientation == 0 ? Gravity : orientation == 180 ? -Gravity : 0;
            phone->write(QStringLiteral("ACCEL:%1:%2:%3\n").arg(x, 0, 'g', 17).arg(y, 0, 'g', 17).arg(Tilt, 0, 'g', 17).toUtf8());
            QVERIFY(told("DISPLAY:360:640:" + QByteArray::number(orientation) + '\n'));
            const QJsonObject sent = journalEntries(QStringLiteral("sensor")).last();
            QCOMPARE(sent.value(QStringLiteral("x")).toDouble(), x);
            QCOMPARE(sent.value(QStringLiteral("y")).toDouble(), y);
            phone->write("MULTI:0:1:0.25:0.5\nMULTI:2:2:0.1:0.9:1:1\nMULTI:1:0\n");
            QStringList lines = waitForLine(QStringLiteral("MULTI:1:0"));
            QCOMPARE(lines.filter(QRegularExpression(QStringLiteral("^MULTI:"))),
                     (QStringList{"MULTI:0:1:90:320", "MULTI:2:2:36:576:359:639", "MULTI:1:0"}));
        }
        const QList<QByteArray> bad{"HELLO", "MULTI:0:2:0.5:0.5", "MULTI:0:1:1.5:0.5", "MULTI:0:1:nan:0.5",
                                    "ACCEL:1:2", "ACCEL:1e300:0:0", "MULTI:0:99" + QByteArray(198, ':')};
        for (const QByteArray &line : bad.mid(0, ProxyEvent::LoggedDrops))
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression("^\\[ProxyEvent\\] Line dropped, .*: "
                                                                  + QRegularExpression::escape(line.left(20))));
        QTest::ignoreMessage(QtWarningMsg, "[ProxyEvent] Further bad lines from this phone are only counted");
        // A line without end: skipped up to its end, the next line still counts.
        phone->write(bad.join('\n') + '\n' + QByteArray(100000, 'A') + "\nMULTI:0:1:0:0\n" + "MULTI:1:0");
        QCOMPARE(waitForLine(QStringLiteral("MULTI:0:1:0:0")).filter(QStringLiteral("MULTI")),
                 QStringList{"MULTI:0:1:0:0"});
        QTest::ignoreMessage(QtWarningMsg, "[ProxyEvent] 9 lines dropped from this phone in all");
        proxy->detach(); // the last line never ended: dropped, and the drops are summed up
        disconnect(proxy, nullptr, events, nullptr);
        disconnect(proxy, nullptr, events->sensorManager(), nullptr);
    }

    void shortcutsHideAndShowTheBars()
    {
        // The bars' titles name their shortcuts, in English rather than as keys.
        QVERIFY(keys()->windowTitle().endsWith(QStringLiteral("\tCtrl+D")));
        QVERIFY(panels()->windowTitle().endsWith(QStringLiteral("\tCtrl+T")));
        QVERIFY(!keys()->windowTitle().startsWith(QStringLiteral("device.")));
        player->activateWindow();
        QTRY_VERIFY(QApplication::activeWindow() == player);
        QVERIFY(panels()->isVisible());
        QTest::keyClick(player, Qt::Key_T, Qt::ControlModifier);
        QTRY_VERIFY(!panels()->isVisible());
        QTest::keyClick(player, Qt::Key_T, Qt::ControlModifier);
        QTRY_VERIFY(panels()->isVisible());
        QTest::keyClick(player, Qt::Key_D, Qt::ControlModifier);
        QTRY_VERIFY(!keys()->isVisible());
        QTest::keyClick(player, Qt::Key_D, Qt::ControlModifier);
        QTRY_VERIFY(keys()->isVisible());
    }

    void screenshotShowsBothBars()
    {
        QTest::qWait(300);
        const QImage shot = QGuiApplication::primaryScreen()->grabWindow(0, player->x(), player->y(),
                                                                        player->frameGeometry().width(),
                                                                        player->frameGeometry().height()).toImage();
        QVERIFY(!shot.isNull());
        shot.save(QStringLiteral(CALDERWICK_TEST_BIN_DIR "/toolbars-screenshot.png"));
        // The bars stand right of the screen; their icons are drawn in light strokes on black.
        const QRect bars(player->deviceScreen()->width(), 0, shot.width() - player->deviceScreen()->width(),
                         shot.height());
        int lit = 0;
        for (int y = bars.top(); y < bars.bottom(); ++y)
            for (int x = bars.left(); x < bars.right(); ++x)
                lit += qGray(shot.pixel(x, y)) > 100;
        QVERIFY2(lit > 500, qPrintable(QString::number(lit)));
    }
};

int main(int argc, char *argv[])
{
    // The render library draws into our window from its own threads.
    XInitThreads();
    TestEnvironment::isolateHome();
    QApplication app(argc, argv);
    TestPlayerWindow tc;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&tc, argc, argv);
}

#include "tst_playerwindow.moc"
