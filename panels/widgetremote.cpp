#include "widgetremote.h"

#include "capturemanager.h"

#include "adb.h"
#include "encodersettings.h"
#include "eventmanager.h"
#include "navigationbardialog.h"
#include "vmtoolsmachine.h"
#include "proxyevent.h"
#include "sensormanager.h"
#include "statsmanager.h"
#include "videoencoder.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFileInfo>
#include <QGridLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QRegularExpression>
#include <QTcpSocket>
#include <QVBoxLayout>
#include <QtConcurrent>

namespace {

const QString Localhost = QStringLiteral("localhost");
const char *const MinimumVersion = "2.2";

QString accelerometerText(double value)
{
    return value == 0 ? QStringLiteral("0.00000") : QString::number(value, 'g', 6);
}

// A quarter arc on a transparent square: turned by the spinner timer.
QPixmap spinnerPicture()
{
    QPixmap pixmap(24, 24);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(QColor(0xff, 0xff, 0xff), 3));
    painter.drawArc(QRectF(3, 3, 18, 18), 0, 270 * 16);
    return pixmap;
}

} // namespace

WidgetRemote::WidgetRemote(Player *player, EventManager *eventManager, VMToolsMachine *machine, ProxyEvent *proxy,
                           QWidget *parent)
    : PanelWidget(true, player, eventManager, machine, parent)
    , proxy(proxy)
    , spinnerPixmap(spinnerPicture())
{
    titleLabel->setText(tr("widget.remote"));
    headerWidget->setFixedWidth(350);

    auto *content = new QWidget(this);
    content->setObjectName(QStringLiteral("content"));
    content->setFixedSize(360, 300);
    phoneBox = new QComboBox(content);
    phoneBox->setObjectName(QStringLiteral("phones"));
    connectButton = new QPushButton(tr("connect"), content);
    connectButton->setObjectName(QStringLiteral("connect"));
    connectButton->setCheckable(true);
    spinner = new QLabel(content);
    spinner->setFixedSize(spinnerPixmap.size());
    spinner->hide();
    previewBox = new QCheckBox(tr("enable.preview"), content);
    touchBox = new QCheckBox(tr("enable.touch"), content);
    accelerometerBox = new QCheckBox(tr("enable.accelerometer"), content);
    previewBox->setObjectName(QStringLiteral("preview"));
    touchBox->setObjectName(QStringLiteral("touch"));
    accelerometerBox->setObjectName(QStringLiteral("accelerometer"));
    for (const char *axis : {"X", "Y", "Z"})
        accelerometerLabels << new QLabel(QLatin1String(axis), content);
    for (int i = 0; i < 3; ++i)
        accelerometerLabels << new QLabel(QStringLiteral("0.00000"), content);
    errorLabel = new QLabel(content);
    errorLabel->setObjectName(QStringLiteral("error"));
    errorLabel->setStyleSheet(QStringLiteral("color: #e04040;"));
    errorLabel->setWordWrap(true);

    auto *grid = new QGridLayout(content);
    grid->addWidget(new QLabel(tr("available.device"), content), 0, 0, 1, 3);
    grid->addWidget(phoneBox, 1, 0, 1, 2);
    grid->addWidget(connectButton, 1, 2);
    grid->addWidget(spinner, 1, 3);
    grid->addWidget(previewBox, 2, 0, 1, 3);
    grid->addWidget(touchBox, 3, 0, 1, 3);
    grid->addWidget(accelerometerBox, 4, 0, 1, 3);
    for (int i = 0; i < 3; ++i) {
        grid->addWidget(accelerometerLabels.at(i), 5, i);
        grid->addWidget(accelerometerLabels.at(i + 3), 6, i);
    }
    grid->addWidget(errorLabel, 7, 0, 1, 4);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(headerWidget);
    layout->addWidget(content);
    setDefaultLabelStyle();
    errorLabel->setObjectName(QStringLiteral("error"));

    spinnerTimer.setInterval(10);
    errorTimer.setSingleShot(true);
    connect(&spinnerTimer, &QTimer::timeout, this, &WidgetRemote::rotateSpinner);
    connect(&errorTimer, &QTimer::timeout, this, &WidgetRemote::hideError);
    connect(switchButton, &QPushButton::toggled, this, &WidgetRemote::slotButtonActivatedToggled);
    connect(connectButton, &QPushButton::toggled, this, &WidgetRemote::slotButtonConnectDeviceToggled);
    connect(this, &WidgetRemote::sigDeviceConnected, this, &WidgetRemote::slotStartProxyEvent, Qt::QueuedConnection);
    connect(previewBox, &QCheckBox::toggled, this, qOverload<bool>(&WidgetRemote::slotToogleCheckboxPreview));
    connect(touchBox, &QCheckBox::toggled, this, &WidgetRemote::slotToogleCheckboxTouchEvents);
    connect(accelerometerBox, &QCheckBox::toggled, this, &WidgetRemote::slotToogleCheckboxAccelerometer);
    if (proxy) {
        connect(proxy, &ProxyEvent::videoReady, this, qOverload<>(&WidgetRemote::slotToogleCheckboxPreview));
        connect(proxy, &ProxyEvent::multiEvent, this, &WidgetRemote::slotMultiTouchValuesReceived);
        connect(proxy, &ProxyEvent::accelEvent, this, &WidgetRemote::slotAccelerometerValuesReceived);
    }
    setControlsEnabled(false);
    connectButton->setEnabled(false);
    updateActivation();
}

WidgetRemote::~WidgetRemote()
{
    watcher.future().cancel();
    watcher.waitForFinished();
    deleteEncoder();
    stopPhone();
    if (sensorSocket)
        sensorSocket->close();
    qDeleteAll(phones);
}

bool WidgetRemote::isCompatibleVersion(const QString &version)
{
    const QRegularExpression pattern(QStringLiteral("^(\\d)\\.(\\d).*$"));
    const QRegularExpressionMatch match = pattern.match(version);
    if (!match.hasMatch())
        return false;
    const int major = match.captured(1).toInt();
    return major > 2 || (major == 2 && match.captured(2).toInt() >= 2);
}

QString WidgetRemote::errorText() const
{
    return errorLabel->text();
}

void WidgetRemote::updateFromDevice()
{
}

void WidgetRemote::showEvent(QShowEvent *event)
{
    PanelWidget::showEvent(event);
    slotButtonActivatedToggled();
}

void WidgetRemote::slotButtonActivatedToggled()
{
    const bool on = switchButton->isChecked();
    updateActivation();
    emit activationChanged(on);
    if (!on) {
        tidyUp();
        return;
    }
    // Shown again while a phone is connected or connecting: the list stays, or the phone in
    // use would be forgotten and never told to stop.
    if (connectButton->isChecked() || watcher.isRunning())
        return;
    const QString serial = (machine() ? machine()->ip() : QString()) + QStringLiteral(":5555");
    if (NavigationBarDialog::isNeeded(serial, machine())) {
        NavigationBarDialog dialog(machine(), this);
        dialog.exec();
    }
    StatsManager::instance()->reportEvent(QStringLiteral("widget_remotecontrol"));
    selectedPhone = nullptr;
    qDeleteAll(phones);
    phones = Adb::devices(Adb::OtherDevices);
    phoneBox->clear();
    for (Adb *phone : phones)
        phoneBox->addItem(phone->deviceName());
    if (!phones.isEmpty()) {
        setControlsEnabled(false);
        connectButton->setEnabled(true);
        return;
    }
    phoneBox->addItem(QFileInfo::exists(Adb::adbPath()) ? tr("no.compatible.device") : tr("adb.not.configured"));
    connectButton->setEnabled(false);
    setControlsEnabled(false);
}

void WidgetRemote::tidyUp()
{
    deleteEncoder();
    stopPhone();
    if (sensorSocket)
        sensorSocket->disconnectFromHost();
    const QSignalBlocker blocker(connectButton);
    connectButton->setChecked(false);
    phoneBox->clear();
}

void WidgetRemote::stopPhone()
{
    if (selectedPhone)
        selectedPhone->stopRemoteControl();
    selectedPhone = nullptr;
}

void WidgetRemote::slotButtonConnectDeviceToggled()
{
    setSpinnerShown(true);
    watcher.disconnect(this);
    if (!connectButton->isChecked()) {
        connectButton->setEnabled(false);
        phoneBox->setEnabled(true);
        connect(&watcher, &QFutureWatcher<bool>::finished, this, &WidgetRemote::slotDeviceDisconnected);
        const QString serial = selectedPhone ? selectedPhone->serial() : QString();
        if (previewBox->isChecked())
            deleteEncoder();
        selectedPhone = nullptr;
        watcher.setFuture(QtConcurrent::run([serial] {
            if (!serial.isEmpty())
                Adb(serial).stopRemoteControl();
            return true;
        }));
        return;
    }
    if (phoneBox->count() == 0 || phones.isEmpty()) {
        const QSignalBlocker blocker(connectButton);
        connectButton->setChecked(false);
        setSpinnerShown(false);
        return;
    }
    if (phoneBox->currentIndex() < 0 || phoneBox->currentIndex() >= phones.size()) {
        qDebug() << "[slotButtonConnectDeviceToggled] Wrong device index";
        setSpinnerShown(false);
        return;
    }
    selectedPhone = phones.at(phoneBox->currentIndex());
    connectButton->setEnabled(false);
    phoneBox->setEnabled(false);
    connect(&watcher, &QFutureWatcher<bool>::finished, this, &WidgetRemote::slotDeviceConnected);
    const QString serial = selectedPhone->serial();
    watcher.setFuture(QtConcurrent::run([this, serial] { return manageDeviceConnection(serial); }));
}

bool WidgetRemote::manageDeviceConnection(const QString &serial)
{
    QMetaObject::invokeMethod(this, &WidgetRemote::hideError, Qt::QueuedConnection);
    if (serial.isEmpty()) {
        qDebug() << "[WidgetRemote][manageDeviceConnection] No device selected";
        postError(tr("no.device.selected"));
        return false;
    }
    // Adb objects stay on their thread: the worker has its own.
    Adb phone(serial);
    if (!phone.connect()) {
        postError(tr("unable.to.connect.device"), tr("unable.to.connect.device.tooltip"));
        return false;
    }
    const QString version = phone.androidVersion();
    if (!isCompatibleVersion(version)) {
        qDebug() << "[WidgetRemote][manageDeviceConnection]" << "Min. Android version is" << MinimumVersion << ","
                 << version << "is incompatible";
        postError(tr("android.version.minimum.required"), tr("android.version.minimum.required.tooltip").arg(version));
        return false;
    }
    qDebug() << "[WidgetRemote][manageDeviceConnection]" << "Android Version" << version << "compatible";
    // An older copy goes first, so that the phone always runs the one of this player.
    if (!phone.uninstallRemoteControl()) {
        postError(tr("unable.to.uninstall.application"), phone.lastError());
        return false;
    }
    if (!phone.installRemoteControl())
        return false;
    if (!phone.startRemoteControl()) {
        postError(tr("unable.to.start.application"), phone.lastError());
        return false;
    }
    if (!phone.forward(SensorHostPort, SensorPhonePort)) {
        postError(tr("unable.to.set.adb.forward.sensors"));
        return false;
    }
    if (!phone.forward(PreviewHostPort, PreviewPhonePort)) {
        postError(tr("unable.to.set.adb.forward.preview"));
        return false;
    }
    emit sigDeviceConnected();
    return true;
}

void WidgetRemote::postError(const QString &error, const QString &tooltip)
{
    QMetaObject::invokeMethod(this, [this, error, tooltip] { showError(error, tooltip, ErrorDuration); },
                              Qt::QueuedConnection);
}

void WidgetRemote::slotDeviceConnected()
{
    setSpinnerShown(false);
    const bool result = watcher.future().isCanceled() ? false : watcher.result();
    if (!result) {
        stopPhone();
        const QSignalBlocker blocker(connectButton);
        connectButton->setChecked(false);
        phoneBox->setEnabled(true);
    }
    connectButton->setEnabled(true);
    setControlsEnabled(result);
}

void WidgetRemote::slotDeviceDisconnected()
{
    setSpinnerShown(false);
    deleteEncoder();
    connectButton->setEnabled(true);
    setControlsEnabled(false);
}

void WidgetRemote::setControlsEnabled(bool on)
{
    previewBox->setEnabled(on);
    touchBox->setEnabled(on);
    accelerometerBox->setEnabled(on);
    for (QLabel *label : accelerometerLabels)
        label->setEnabled(on && accelerometerBox->isChecked());
}

void WidgetRemote::slotStartProxyEvent()
{
    if (sensorSocket)
        sensorSocket->deleteLater();
    sensorSocket = new QTcpSocket(this);
    sensorSocket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    connect(sensorSocket, &QAbstractSocket::errorOccurred, this,
            &WidgetRemote::sensorsError);
    connect(sensorSocket, &QTcpSocket::connected, this, &WidgetRemote::sensorsConnected);
    sensorSocket->connectToHost(Localhost, SensorHostPort, QIODevice::ReadWrite, QAbstractSocket::AnyIPProtocol);
}

void WidgetRemote::sensorsError(QAbstractSocket::SocketError error)
{
    // The forward closes each connection until the phone's application has come up.
    if (error == QAbstractSocket::RemoteHostClosedError && switchButton->isEnabled() && selectedPhone)
        QTimer::singleShot(1000, this, &WidgetRemote::slotStartProxyEvent);
    qDebug() << "[WidgetRemote]" << "Sensor socket error:" << error;
}

void WidgetRemote::sensorsConnected()
{
    disconnect(sensorSocket, &QAbstractSocket::errorOccurred, nullptr, nullptr);
    connect(sensorSocket, &QTcpSocket::disconnected, this, &WidgetRemote::sensorsDisconnected);
    if (proxy)
        proxy->attach(sensorSocket);
    qDebug() << "[WidgetRemote][SensorsSocket] Connected";
}

void WidgetRemote::sensorsDisconnected()
{
    qDebug() << "[WidgetRemote][SensorsSocket] Disconnected";
    if (proxy)
        proxy->detach();
    stopPhone();
    deleteEncoder();
    const QSignalBlocker blocker(connectButton);
    connectButton->setChecked(false);
    phoneBox->setEnabled(true);
    setControlsEnabled(false);
}

void WidgetRemote::slotToogleCheckboxPreview(bool status)
{
    Q_UNUSED(status);
    slotToogleCheckboxPreview();
}

void WidgetRemote::slotToogleCheckboxPreview()
{
    if (!previewBox->isChecked()) {
        deleteEncoder();
        return;
    }
    if (!sensorSocket || sensorSocket->state() != QAbstractSocket::ConnectedState || encoder)
        return;
    qDebug() << "[WidgetRemote]" << "Creating preview socket";
    auto *socket = new QTcpSocket(this);
    socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    socket->connectToHost(Localhost, PreviewHostPort, QIODevice::ReadWrite);
    CaptureManager *capture = CaptureManager::instance();
    if (!capture) {
        qDebug() << "[WidgetRemote]" << "No capture manager, no preview";
        delete socket;
        return;
    }
    if (!socket->waitForConnected(30000)) {
        qDebug() << "[WidgetRemote]" << "Preview socket not connected";
        delete socket;
        return;
    }
    // The preview only goes to the phone; whatever the phone sends back is dropped unread,
    // so that a phone that talks cannot fill the socket's buffer.
    connect(socket, &QTcpSocket::readyRead, socket, [socket] { socket->skip(socket->bytesAvailable()); });
    qDebug() << "[WidgetRemote]" << "Initilizing encoder";
    // The capture manager owns the render library's one frame callback, shared with recordings.
    encoder = capture->createStreamingEncoder(this);
    if (!encoder->initialize(socket, false, QString())) {
        qDebug() << "[WidgetRemote]" << "Can't initialize video encoder" << "Can't start encoder";
        delete encoder;
        encoder = nullptr;
        return;
    }
    encoder->start();
    connect(encoder, &VideoEncoder::outputClosed, this, &WidgetRemote::previewDisconnected);
}

void WidgetRemote::previewDisconnected()
{
    qDebug() << "[WidgetRemote]" << "Preview socket disconnected";
    deleteEncoder();
    previewBox->setChecked(false);
}

void WidgetRemote::deleteEncoder()
{
    if (!encoder)
        return;
    encoder->stop();
    delete encoder;
    encoder = nullptr;
}

void WidgetRemote::slotToogleCheckboxTouchEvents(bool status)
{
    qDebug() << (status ? "[WidgetRemote] Starting multitouch" : "[WidgetRemote] Stopping multitouch");
}

void WidgetRemote::slotToogleCheckboxAccelerometer(bool status)
{
    qDebug() << (status ? "[WidgetRemote] Starting accelerometer" : "[WidgetRemote] Stopping accelerometer");
    for (QLabel *label : accelerometerLabels)
        label->setEnabled(status);
}

void WidgetRemote::slotMultiTouchValuesReceived(QByteArray data)
{
    if (touchBox->isChecked() && eventManager())
        eventManager()->sendEvent(data);
}

void WidgetRemote::slotAccelerometerValuesReceived(double x, double y, double z)
{
    if (!accelerometerBox->isChecked())
        return;
    if (eventManager() && eventManager()->sensorManager())
        eventManager()->sensorManager()->sendAccelerometerValues(x, y, z);
    accelerometerLabels.at(3)->setText(accelerometerText(x));
    accelerometerLabels.at(4)->setText(accelerometerText(y));
    accelerometerLabels.at(5)->setText(accelerometerText(z));
}

void WidgetRemote::setSpinnerShown(bool shown)
{
    spinner->setVisible(shown);
    if (shown)
        spinnerTimer.start();
    else
        spinnerTimer.stop();
}

void WidgetRemote::rotateSpinner()
{
    spinnerAngle = (spinnerAngle + 5) % 360;
    QPixmap turned(spinnerPixmap.size());
    turned.fill(Qt::transparent);
    QPainter painter(&turned);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.translate(turned.width() / 2.0, turned.height() / 2.0);
    painter.rotate(spinnerAngle);
    painter.translate(-turned.width() / 2.0, -turned.height() / 2.0);
    painter.drawPixmap(0, 0, spinnerPixmap);
    painter.end();
    spinner->setPixmap(turned);
}

void WidgetRemote::showError(QString error, QString tooltip, int duration)
{
    errorTimer.stop();
    errorLabel->setText(error);
    errorLabel->setToolTip(tooltip);
    errorTimer.start(duration);
}

void WidgetRemote::showError(QString error, QString tooltip)
{
    showError(error, tooltip, ErrorDuration);
}

void WidgetRemote::showError(QString error)
{
    showError(error, QString(), ErrorDuration);
}

void WidgetRemote::hideError()
{
    errorTimer.stop();
    errorLabel->clear();
}
