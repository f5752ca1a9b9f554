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

const QString Euro(QChar(0x20AC));                    // 3 bytes
const QString Clef = QString::fromUcs4(U"\U0001D11E"); // 4 bytes, a surrogate pair in UTF-16

// Pastes data at the end of a field holding present under limit; returns the field's text.
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
    void editingKeysAtLimit_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<QString>("expected");
        QTest::newRow("backspace") << int(Qt::Key_Backspace) << QStringLiteral("abc");
        QTest::newRow("delete") << int(Qt::Key_Delete) << QStringLiteral("bcd");
        QTest::newRow("left arrow") << int(Qt::Key_Left) << QStringLiteral("abcd");
        // Typing stops at the limit; Enter and Tab insert, so they stop too.
        QTest::newRow("letter") << int(Qt::Key_X) << QStringLiteral("abcd");
        QTest::newRow("enter") << int(Qt::Key_Return) << QStringLiteral("abcd");
        QTest::newRow("tab") << int(Qt::Key_Tab) << QStringLiteral("abcd");
    }

    void editingKeysAtLimit()
    {
        QFETCH(int, key);
        QFETCH(QString, expected);
        Field field;
        field.setLimit(4);
        field.setPlainText(QStringLiteral("abcd"));
        field.show();
        field.moveCursor(key == Qt::Key_Delete ? QTextCursor::Start : QTextCursor::End);
        QTest::keyClick(&field, Qt::Key(key));
        QCOMPARE(field.toPlainText(), expected);
    }

    void keyCheckLooksAtPresentLength()
    {
        // Two bytes left: a 3-byte character still goes in, since the key check only compares
        // the present length with the limit. After it, nothing more.
        Field field;
        field.setLimit(6);
        field.setPlainText(QStringLiteral("abcd"));
        field.moveCursor(QTextCursor::End);
        field.show();
        QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, Euro);
        QApplication::sendEvent(&field, &press);
        QCOMPARE(field.byteLength(), 7);
        QTest::keyClick(&field, 'x');
        QCOMPARE(field.byteLength(), 7);
    }

    void paste_data()
    {
        QTest::addColumn<QString>("present");
        QTest::addColumn<QString>("pasted");
        QTest::addColumn<int>("limit");
        QTest::addColumn<QString>("expected");
        QTest::newRow("fits") << "ab" << "cd" << 4 << "abcd";
        QTest::newRow("at the limit") << "abc" << "d" << 3 << "abc";
        QTest::newRow("cut ascii") << "ab" << "cdefg" << 4 << "abcd";
        QTest::newRow("3-byte with 2 left") << "abcd" << Euro << 6 << "abcd";
        QTest::newRow("3-byte with 3 left") << "abc" << Euro + Euro << 6 << "abc" + Euro;
        QTest::newRow("4-byte pair kept whole") << "a" << Clef + Clef << 8 << "a" + Clef;
        QTest::newRow("4-byte with 3 left") << "a" << Clef << 4 << "a";
        const QString mixed = QStringLiteral("é") + Euro + Clef + QStringLiteral("z"); // 2 + 3 + 4 + 1 bytes
        QTest::newRow("mixed, last byte cut") << "" << mixed << 9 << QStringLiteral("é") + Euro + Clef;
        QTest::newRow("mixed, pair cut") << "" << mixed << 8 << QStringLiteral("é") + Euro;
        QTest::newRow("no limit") << "" << QString(5000, QLatin1Char('x')) << 0 << QString(5000, QLatin1Char('x'));
    }

    void paste()
    {
        QFETCH(QString, present);
        QFETCH(QString, pasted);
        QFETCH(int, limit);
        QFETCH(QString, expected);
        Field field;
        QMimeData data;
        data.setText(pasted);
        QCOMPARE(pasteInto(field, present, limit, data), expected);
        // Never half a character.
        QCOMPARE(QString::fromUtf8(field.toPlainText().toUtf8()), field.toPlainText());
    }

    void pasteTakesPlainTextOfHtmlAndUrls()
    {
        Field field;
        QMimeData html;
        html.setHtml(QStringLiteral("<b>bold</b>"));
        html.setText(QStringLiteral("bold and long"));
        QCOMPARE(pasteInto(field, QString(), 10, html), QStringLiteral("bold and l"));
        QVERIFY(!field.toHtml().contains(QStringLiteral("font-weight:600")));
        // A dropped file arrives as a URL, which the field takes as text.
        QMimeData urls;
        urls.setUrls({QUrl(QStringLiteral("file:///tmp/some/path.apk"))});
        QCOMPARE(pasteInto(field, QString(), 10, urls), QStringLiteral("file:///tm"));
        QCOMPARE(pasteInto(field, QStringLiteral("abc"), 3, urls), QStringLiteral("abc"));
    }
};

QTEST_MAIN(TestQTextEditLimit)
#include "tst_qtexteditlimit.moc"
