// The byte limit of QTextEditLimit, with characters of one to four UTF-8 bytes.
#include "qtexteditlimit.h"

#include <QMimeData>
#include <QtTest>

namespace {

// Gives the test access to the paste path without going through the clipboard.
class Field : public QTextEditLimit
{
public:
    using QTextEditLimit::insertFromMimeData;
};

QString euro()
{
    return QString(QChar(0x20AC)); // 3 bytes
}

QString clef()
{
    return QString::fromUcs4(U"\U0001D11E"); // 4 bytes, a surrogate pair in UTF-16
}

// Pastes `data` at the end of a field holding `present` under `limit`; returns the field's text.
QString pasteInto(Field &field, const QString &present, int limit, const QMimeData &data)
{
    field.setLimit(limit);
    field.setPlainText(present);
    field.moveCursor(QTextCursor::End);
    field.insertFromMimeData(&data);
    return field.toPlainText();
}

} // namespace

class TestQTextEditLimit : public QObject
{
    Q_OBJECT

private slots:
    void plainTextOnly();
    void typingStopsAtLimit();
    void editingKeysAtLimit_data();
    void editingKeysAtLimit();
    void keyCheckLooksAtPresentLength();
    void paste_data();
    void paste();
    void pasteAtLimit();
    void pasteKeepsUrlsAndHtmlAsPlainText();
    void pastedUrls_data();
    void pastedUrls();
    void noLimit();
};

void TestQTextEditLimit::plainTextOnly()
{
    Field field;
    QVERIFY(!field.acceptRichText());
    QCOMPARE(field.byteLimit(), 0);
}

void TestQTextEditLimit::typingStopsAtLimit()
{
    Field field;
    field.setLimit(5);
    field.show();
    QTest::keyClicks(&field, QStringLiteral("abcdefgh"));
    QCOMPARE(field.toPlainText(), QStringLiteral("abcde"));
    QCOMPARE(field.byteLength(), 5);
    // Enter and Tab insert, so they stop too.
    QTest::keyClick(&field, Qt::Key_Return);
    QTest::keyClick(&field, Qt::Key_Tab);
    QCOMPARE(field.toPlainText(), QStringLiteral("abcde"));
}

void TestQTextEditLimit::editingKeysAtLimit_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<QString>("expected");
    QTest::newRow("backspace") << int(Qt::Key_Backspace) << QStringLiteral("abc");
    QTest::newRow("delete") << int(Qt::Key_Delete) << QStringLiteral("bcd");
    QTest::newRow("left arrow") << int(Qt::Key_Left) << QStringLiteral("abcd");
    QTest::newRow("letter") << int(Qt::Key_X) << QStringLiteral("abcd");
}

void TestQTextEditLimit::editingKeysAtLimit()
{
    QFETCH(int, key);
    QFETCH(QString, expected);
    Field field;
    field.setLimit(4);
    field.setPlainText(QStringLiteral("abcd"));
    field.show();
    QTextCursor cursor = field.textCursor();
    cursor.movePosition(key == Qt::Key_Delete ? QTextCursor::Start : QTextCursor::End);
    field.setTextCursor(cursor);
    QTest::keyClick(&field, Qt::Key(key));
    QCOMPARE(field.toPlainText(), expected);
}

void TestQTextEditLimit::keyCheckLooksAtPresentLength()
{
    // Two bytes left: a 3-byte character still goes in, since the key check only compares
    // the present length with the limit. After it, nothing more.
    Field field;
    field.setLimit(6);
    field.setPlainText(QStringLiteral("abcd"));
    field.moveCursor(QTextCursor::End);
    field.show();
    QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, euro());
    QApplication::sendEvent(&field, &press);
    QCOMPARE(field.toPlainText(), QStringLiteral("abcd") + euro());
    QCOMPARE(field.byteLength(), 7);
    QTest::keyClick(&field, 'x');
    QCOMPARE(field.byteLength(), 7);
    QTest::keyClick(&field, Qt::Key_Backspace);
    QCOMPARE(field.toPlainText(), QStringLiteral("abcd"));
}

void TestQTextEditLimit::paste_data()
{
    QTest::addColumn<QString>("present");
    QTest::addColumn<QString>("pasted");
    QTest::addColumn<int>("limit");
    QTest::addColumn<QString>("expected");
    QTest::newRow("fits") << "ab" << "cd" << 4 << "abcd";
    QTest::newRow("cut ascii") << "ab" << "cdefg" << 4 << "abcd";
    QTest::newRow("3-byte with 2 left") << "abcd" << euro() << 6 << "abcd";
    QTest::newRow("3-byte with 3 left") << "abc" << euro() + euro() << 6 << "abc" + euro();
    QTest::newRow("3-byte run cut") << "" << euro() + euro() + euro() << 8 << euro() + euro();
    QTest::newRow("4-byte pair kept whole") << "a" << clef() + clef() << 8 << "a" + clef();
    QTest::newRow("4-byte with 3 left") << "a" << clef() << 4 << "a";
    const QString mixed = QStringLiteral("é") + euro() + clef() + QStringLiteral("z"); // 2 + 3 + 4 + 1 bytes
    QTest::newRow("mixed, last byte cut") << "" << mixed << 9 << QStringLiteral("é") + euro() + clef();
    QTest::newRow("mixed, pair cut") << "" << mixed << 8 << QStringLiteral("é") + euro();
    QTest::newRow("2-byte exact") << "" << QStringLiteral("ééé") << 6 << QStringLiteral("ééé");
}

void TestQTextEditLimit::paste()
{
    QFETCH(QString, present);
    QFETCH(QString, pasted);
    QFETCH(int, limit);
    QFETCH(QString, expected);
    Field field;
    QMimeData data;
    data.setText(pasted);
    QCOMPARE(pasteInto(field, present, limit, data), expected);
    QVERIFY(field.byteLength() <= limit);
    // Never half a character.
    QCOMPARE(QString::fromUtf8(field.toPlainText().toUtf8()), field.toPlainText());
}

void TestQTextEditLimit::pasteAtLimit()
{
    Field field;
    field.setLimit(3);
    field.setPlainText(QStringLiteral("abc"));
    QMimeData data;
    data.setText(QStringLiteral("d"));
    field.insertFromMimeData(&data);
    QCOMPARE(field.toPlainText(), QStringLiteral("abc"));
}

void TestQTextEditLimit::pasteKeepsUrlsAndHtmlAsPlainText()
{
    Field field;
    field.setLimit(10);
    QMimeData data;
    data.setHtml(QStringLiteral("<b>bold</b>"));
    data.setText(QStringLiteral("bold and long"));
    field.insertFromMimeData(&data);
    // Rich text is off: the plain text is taken, cut to the limit.
    QCOMPARE(field.toPlainText(), QStringLiteral("bold and l"));
    QVERIFY(!field.toHtml().contains(QStringLiteral("font-weight:600")));
}

void TestQTextEditLimit::pastedUrls_data()
{
    QTest::addColumn<QString>("present");
    QTest::addColumn<int>("limit");
    QTest::addColumn<QString>("expected");
    QTest::newRow("at the limit") << "abc" << 3 << "abc";
    QTest::newRow("cut") << "" << 10 << "file:///tm";
    QTest::newRow("fits") << "" << 0 << "file:///tmp/some/path.apk";
}

void TestQTextEditLimit::pastedUrls()
{
    // A dropped file arrives as a URL, which the field would take as text.
    QFETCH(QString, present);
    QFETCH(int, limit);
    QFETCH(QString, expected);
    Field field;
    QMimeData data;
    data.setUrls({QUrl(QStringLiteral("file:///tmp/some/path.apk"))});
    QCOMPARE(pasteInto(field, present, limit, data), expected);
}

void TestQTextEditLimit::noLimit()
{
    Field field;
    const QString longText(5000, QLatin1Char('x'));
    QMimeData data;
    data.setText(longText);
    field.insertFromMimeData(&data);
    QCOMPARE(field.byteLength(), 5000);
    field.show();
    QTest::keyClicks(&field, QStringLiteral("yz"));
    QCOMPARE(field.byteLength(), 5002);
}

QTEST_MAIN(TestQTextEditLimit)
#include "tst_qtexteditlimit.moc"
