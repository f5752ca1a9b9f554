#include "devicetestsupport.h"
#include "testenvironment.h"

#include <QKeyEvent>

namespace {

struct KeyName
{
    const char *name;
    int key;
};

const KeyName Keys[] = {
    {"A", Qt::Key_A},         {"B", Qt::Key_B},         {"C", Qt::Key_C},       {"X", Qt::Key_X},
    {"1", Qt::Key_1},         {"Eacute", Qt::Key_Eacute}, {"F1", Qt::Key_F1},     {"Home", Qt::Key_Home},
    {"Left", Qt::Key_Left},   {"Enter", Qt::Key_Enter}, {"Shift", Qt::Key_Shift}, {"Alt", Qt::Key_Alt},
    {"Control", Qt::Key_Control}, {"Back", Qt::Key_Back}, {"Shop", Qt::Key_Shop}, {"Menu", Qt::Key_Menu},
    {"PowerDown", Qt::Key_PowerDown}, {"VolumeUp", Qt::Key_VolumeUp}, {"Exclam", Qt::Key_Exclam},
    {"None", 0},
};

// One key event written as [+|-]Key[/modifiers[/text]]: + press, - release; modifiers
// S shift, C control, A alt, M meta, K keypad; text "^C" is the control character of C
// and "\r" a carriage return.
std::unique_ptr<QKeyEvent> keyEvent(const QString &token)
{
    const QStringList parts = token.mid(1).split(QLatin1Char('/'));
    int key = -1;
    for (const KeyName &entry : Keys) {
        if (parts.value(0) == QLatin1String(entry.name))
            key = entry.key;
    }
    Qt::KeyboardModifiers modifiers;
    for (QChar letter : parts.value(1)) {
        modifiers |= letter == 'S' ? Qt::ShiftModifier
                     : letter == 'C' ? Qt::ControlModifier
                     : letter == 'A' ? Qt::AltModifier
                     : letter == 'M' ? Qt::MetaModifier
                                     : Qt::KeypadModifier;
    }
    QString text = parts.value(2);
    if (text == QLatin1String("^C"))
        text = QString(QChar(3));
    else if (text == QLatin1String("\\r"))
        text = QStringLiteral("\r");
    if (key < 0)
        return nullptr;
    return std::make_unique<QKeyEvent>(token.startsWith('+') ? QEvent::KeyPress : QEvent::KeyRelease, key,
                                       modifiers, text);
}

} // namespace

class TestKeyTranslation : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<DeviceFixture> device;

private slots:
    void initTestCase()
    {
        device = std::make_unique<DeviceFixture>(TestEnvironment::loopback(1));
        QVERIFY(device->started);
        QVERIFY(device->connect());
    }

    void cleanupTestCase() { device.reset(); }

    void sequences_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<QStringList>("lines");
        QTest::newRow("lower case") << "+A//a -A//a" << QStringList{"KBDPR:30:0", "KBDRL:30:0"};
        QTest::newRow("upper case with shift")
            << "+Shift/S +A/S/A -A/S/A -Shift"
            << QStringList{"KBDPR:42:0", "KBDPR:30:0", "KBDRL:30:0", "KBDRL:42:0"};
        QTest::newRow("exclamation mark")
            << "+Exclam/S/! -Exclam/S/!" << QStringList{"KBDPR:42:0", "KBDPR:2:0", "KBDRL:2:0", "KBDRL:42:0"};
        QTest::newRow("character without entry") << "+Eacute//\u00e9 -Eacute//\u00e9" << QStringList{};
        QTest::newRow("held key on an empty-text press")
            << "+A//a +F1 -F1 -A//a" << QStringList{"KBDPR:30:0", "KBDPR:30:0", "KBDRL:59:0", "KBDRL:30:0"};
        QTest::newRow("shift released first")
            << "+Shift/S +A/S/A -Shift -A//a"
            << QStringList{"KBDPR:42:0", "KBDPR:30:0", "KBDRL:30:0", "KBDRL:42:0", "KBDRL:30:0"};
        QTest::newRow("control character") << "+Control/C +C/C/^C -C/C/^C -Control" << QStringList{};
        QTest::newRow("alt then a letter")
            << "+Alt/A +X/A/x -X/A/x -Alt +B//b -B//b"
            << QStringList{"KBDPR:100:0", "KBDPR:45:0", "KBDRL:45:0", "KBDRL:100:0", "KBDRL:100:0", "KBDPR:48:0",
                           "KBDRL:48:0"};
        QTest::newRow("alt with a key without text") << "+X/A -X/A" << QStringList{};
        QTest::newRow("keypad digit") << "+1/K/1 -1/K/1" << QStringList{"KBDPR:2:0", "KBDRL:2:0"};
        QTest::newRow("keypad enter") << "+Enter/K/\\r -Enter/K/\\r" << QStringList{"KBDPR:28:0", "KBDRL:28:0"};
        QTest::newRow("key zero") << "+None -None" << QStringList{};
        QTest::newRow("control with F1") << "+F1/C -F1/C" << QStringList{};
        QTest::newRow("shift with home") << "+Home/S -Home/S" << QStringList{};
        QTest::newRow("meta with left") << "+Left/M -Left/M" << QStringList{"KBDPR:105:0", "KBDRL:105:0"};
        QTest::newRow("toolbar keys")
            << "+Back -Back +Shop -Shop +Menu -Menu +PowerDown -PowerDown +VolumeUp -VolumeUp"
            << QStringList{"KBDPR:158:0", "KBDRL:158:0", "KBDPR:221:0", "KBDRL:221:0", "KBDPR:229:0",
                           "KBDRL:229:0", "KBDPR:116:0", "KBDRL:116:0", "KBDPR:115:0", "KBDRL:115:0"};
    }

    void sequences()
    {
        QFETCH(QString, script);
        QFETCH(QStringList, lines);
        for (const QString &token : script.split(QLatin1Char(' '))) {
            const auto event = keyEvent(token);
            QVERIFY2(event, qPrintable(token));
            if (event->type() == QEvent::KeyPress)
                device->manager->keyPressEvent(event.get());
            else
                device->manager->keyReleaseEvent(event.get());
        }
        QCOMPARE(device->newLines(), lines);
    }

    void keyZeroIsIgnored()
    {
        QKeyEvent event(QEvent::KeyPress, 0, Qt::NoModifier, QString());
        device->manager->keyPressEvent(&event);
        QVERIFY(!event.isAccepted());
    }

    // The same codes with and without shift: the map follows the US layout.
    void textMapFollowsUsLayout()
    {
        const struct { const char *text; QList<int> codes; } rows[] = {{"|", {42, 43}}, {"`", {41}}, {"m", {50}}};
        for (const auto &row : rows) {
            QCOMPARE(device->manager->translateKeyText(QLatin1String(row.text), false), row.codes);
            QCOMPARE(device->manager->translateKeyText(QLatin1String(row.text), true), row.codes);
        }
    }
};

CALDERWICK_TEST_GUI_MAIN(TestKeyTranslation)
#include "tst_keytranslation.moc"
