// The gate's status box: it turns while the cloud is asked and cannot be closed then (its
// caller waits on it), and a failure stops the turning, shows the reason and lets the user go.
#include "testenvironment.h"

#include "deviceupdaterdialog.h"

#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>

class TestDeviceUpdaterDialog : public QObject
{
    Q_OBJECT

    static QImage icon(const DeviceUpdaterDialog &box)
    {
        const QList<QLabel *> labels = box.findChildren<QLabel *>();
        for (QLabel *label : labels) {
            const QPixmap picture = label->pixmap(Qt::ReturnByValue);
            if (!picture.isNull())
                return picture.toImage();
        }
        return {};
    }

    static QPushButton *continueButton(const DeviceUpdaterDialog &box)
    {
        return box.findChild<QPushButton *>();
    }

private slots:
    void atWorkItTurnsAndStays()
    {
        DeviceUpdaterDialog box;
        QSignalSpy finished(&box, &QDialog::finished);
        box.setInProgress(QStringLiteral("asking"));
        box.show();
        QVERIFY(QTest::qWaitForWindowExposed(&box));
        const QImage first = icon(box);
        QVERIFY(!first.isNull());
        QTRY_VERIFY(icon(box) != first);
        QVERIFY(!continueButton(box)->isVisible());

        QTest::keyClick(&box, Qt::Key_Escape);
        QVERIFY(!box.close());
        QVERIFY(box.isVisible());
        QCOMPARE(finished.count(), 0);

        // Done, then closed by its caller.
        box.setSuccess(QStringLiteral("ready"));
        QVERIFY(!box.isSpinning());
        const QImage check = icon(box);
        QTest::qWait(50);
        QCOMPARE(icon(box), check);
        box.accept();
        QCOMPARE(finished.count(), 1);
    }

    void aFailureShowsItsReasonAndLetsGo()
    {
        DeviceUpdaterDialog box;
        box.setInProgress(QStringLiteral("asking"));
        box.show();
        QVERIFY(QTest::qWaitForWindowExposed(&box));
        const QImage turning = icon(box);
        box.setError(QStringLiteral("no internet"));
        QVERIFY(!box.isSpinning());
        const QImage cross = icon(box);
        QVERIFY(cross != turning);
        QTest::qWait(50);
        QCOMPARE(icon(box), cross);
        QCOMPARE(box.text(), QStringLiteral("no internet"));

        QSignalSpy finished(&box, &QDialog::finished);
        QPushButton *button = continueButton(box);
        QVERIFY(button->isVisible());
        QTest::mouseClick(button, Qt::LeftButton);
        QCOMPARE(finished.count(), 1);
        QVERIFY(!box.isVisible());
    }
};

CALDERWICK_TEST_GUI_MAIN(TestDeviceUpdaterDialog)
#include "tst_deviceupdaterdialog.moc"
