#include "navigationbardialog.h"

#include "adb.h"
#include "playeroptions.h"
#include "vmtoolsmachine.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QHostAddress>
#include <QLabel>
#include <QProcess>
#include <QPushButton>
#include <QStyle>
#include <QTimer>
#include <QVBoxLayout>

NavigationBarDialog::NavigationBarDialog(VMToolsMachine *machine, QWidget *parent)
    : QDialog(parent)
    , machine(machine)
    , spinnerPixmap(QStringLiteral(":/widget/remote/spinner"))
{
    setStyleSheet(QStringLiteral("QLabel {margin-left: 10px;margin-bottom: 10px;color: #FFF;}"));
    setWindowTitle(tr("android.navigation.bar.title"));

    pictureLabel = new QLabel(this);
    pictureLabel->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxWarning).pixmap(32, 32));
    textLabel = new QLabel(tr("show.android.navigation.bar"), this);
    auto *row = new QHBoxLayout;
    row->addWidget(pictureLabel);
    row->addWidget(textLabel);

    auto *buttons = new QDialogButtonBox(this);
    cancelButton = buttons->addButton(tr("cancel"), QDialogButtonBox::RejectRole);
    rebootButton = buttons->addButton(tr("reboot"), QDialogButtonBox::AcceptRole);
    rebootButton->setDefault(true);
    rebootButton->setFocus();
    connect(rebootButton, &QPushButton::clicked, this, &NavigationBarDialog::startReboot);
    connect(cancelButton, &QPushButton::clicked, this, &NavigationBarDialog::reject);

    spinnerTimer = new QTimer(this);
    connect(spinnerTimer, &QTimer::timeout, this, &NavigationBarDialog::rotateSpinner);

    rebootProcess = new QProcess(this);
    connectProcess = new QProcess(this);
    connect(rebootProcess, &QProcess::errorOccurred, this, &NavigationBarDialog::error);
    connect(connectProcess, &QProcess::errorOccurred, this, &NavigationBarDialog::error);
    connectProcess->setReadChannel(QProcess::StandardOutput);
    connect(connectProcess, &QProcess::readyRead, this, &NavigationBarDialog::testReconnection);

    auto *layout = new QVBoxLayout(this);
    layout->addLayout(row);
    layout->addWidget(buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize);
}

bool NavigationBarDialog::isNeeded(const QString &serial, VMToolsMachine *machine)
{
    const int colon = serial.lastIndexOf(QLatin1Char(':'));
    bool portOk = false;
    const int port = serial.mid(colon + 1).toInt(&portOk);
    const bool networkSerial = colon > 0 && portOk && port >= 0 && port < 65536
                               && !QHostAddress(serial.left(colon)).isNull();
    return networkSerial && machine && !(machine->navigationBarShown() && machine->navigationBarConfigured());
}

void NavigationBarDialog::startReboot()
{
    machine->setNavigationBarShown(true);
    machine->setNavigationBarConfigured(true);
    cancelButton->hide();
    rebootButton->hide();
    textLabel->setText(tr("reboot.in.progress"));
    spinnerTimer->start(10);
    // The player ends and starts anew; the new start brings the machine up with the bar.
    Global::restartRequested = true;
    QCoreApplication::quit();
}

void NavigationBarDialog::rebootFinished()
{
    spinnerTimer->stop();
    cancelButton->show();
    rebootButton->show();
    pictureLabel->setPixmap(QPixmap(QStringLiteral(":/widgets/screencast/screencast-info")));
    textLabel->setText(tr("show.android.navigation.bar"));
    done(1);
}

void NavigationBarDialog::rotateSpinner()
{
    spinnerAngle += 5;
    if (spinnerPixmap.isNull())
        return;
    const QPixmap turned = spinnerPixmap.transformed(QTransform().rotate(spinnerAngle), Qt::SmoothTransformation);
    pictureLabel->setPixmap(turned.copy((turned.width() - spinnerPixmap.width()) / 2,
                                        (turned.height() - spinnerPixmap.height()) / 2, spinnerPixmap.width(),
                                        spinnerPixmap.height()));
}

void NavigationBarDialog::error()
{
    qDebug() << "[NavigationBarDialog][error]" << rebootProcess->errorString() << connectProcess->errorString();
}

void NavigationBarDialog::testReconnection()
{
    const QByteArray text = connectProcess->read(256);
    qDebug() << "[NavigationBarDialog][testReconnection]" << text;
    if (!text.contains("connected to"))
        QTimer::singleShot(1000, this, &NavigationBarDialog::reconnection);
    else
        rebootFinished();
}

void NavigationBarDialog::reconnection()
{
    if (rebootProcess->state() != QProcess::NotRunning) {
        rebootProcess->kill();
        qDebug() << "[NavigationBarDialog][reconnection]" << "kill adb reboot";
    }
    if (connectProcess->state() != QProcess::NotRunning) {
        connectProcess->kill();
        qDebug() << "[NavigationBarDialog][reconnection]" << "kill adb connect";
    }
    Adb(machine->ip()).connectAsync(connectProcess);
}
