// The spinner's states and its turning picture.
#include "spinner.h"

#include <QtTest>

namespace {

QImage picture(const QLabel &label)
{
    return label.pixmap(Qt::ReturnByValue).toImage();
}

QImage scaled(const char *path, int size)
{
    return QPixmap(QString::fromLatin1(path)).scaledToHeight(size, Qt::SmoothTransformation).toImage();
}

} // namespace

class TestSpinner : public QObject
{
    Q_OBJECT

private slots:
    void inProgressTurnsAtItsSize()
    {
        Spinner spinner(32);
        spinner.show();
        QVERIFY(picture(spinner).isNull());
        spinner.setInProgress();
        const QImage first = picture(spinner);
        QCOMPARE(first.size(), QSize(32, 32));
        QTRY_VERIFY(spinner.currentAngle() >= 45);
        const QImage later = picture(spinner);
        QCOMPARE(later.size(), QSize(32, 32));
        QVERIFY(later != first);
    }

    void successAndErrorStopIt()
    {
        Spinner spinner(24);
        spinner.setInProgress();
        spinner.setSuccess();
        QCOMPARE(picture(spinner), scaled(":/picto/check", 24));
        const int angle = spinner.currentAngle();
        QTest::qWait(50); // the timer is stopped: nothing turns any more
        QCOMPARE(spinner.currentAngle(), angle);
        spinner.setInProgress();
        spinner.setError(QStringLiteral("Wrong password"));
        QVERIFY(!spinner.isSpinning());
        QCOMPARE(picture(spinner), scaled(":/picto/grey-cross", 24));
        QCOMPARE(spinner.toolTip(), QStringLiteral("Wrong password"));
        // A new attempt drops the old error.
        spinner.setInProgress();
        QVERIFY(spinner.toolTip().isEmpty());
    }

    void hideStopsButKeepsItsPlace()
    {
        Spinner spinner(24);
        spinner.show();
        spinner.setError(QStringLiteral("failed"));
        spinner.setInProgress();
        spinner.hide();
        QVERIFY(!spinner.isSpinning());
        QVERIFY(picture(spinner).isNull());
        QVERIFY(spinner.toolTip().isEmpty());
        QVERIFY(spinner.isVisible());
        QCOMPARE(spinner.size(), QSize(24, 24));
    }
};

QTEST_MAIN(TestSpinner)
#include "tst_spinner.moc"
