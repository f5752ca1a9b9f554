#include "devicescreencontainer.h"

#include "dragndropmanager.h"
#include "eventmanager.h"
#include "openglrender.h"

#include <QDebug>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMimeData>

DeviceScreenContainer::DeviceScreenContainer(const QString &adbAddress, EventManager *manager, QWidget *parent)
    : QWidget(parent)
    , address(adbAddress)
    , eventManager(manager)
    , progressDialog(this)
{
    progressDialog.setLabelText(tr("dialog.push.progress"));
    // The cancel button stops a copy; the dialog comes and goes with the drop, never by itself.
    progressDialog.setCancelButtonText(tr("dialog.push.cancel"));
    progressDialog.setAutoClose(false);
    progressDialog.setAutoReset(false);
    progressDialog.setMinimum(0);
    progressDialog.setMaximum(0);
    progressDialog.setWindowFlags(progressDialog.windowFlags() | Qt::FramelessWindowHint);
    // QProgressDialog shows itself after a delay unless told otherwise: it is shown on demand.
    progressDialog.reset();
    progressDialog.hide();

    setAcceptDrops(true);
    setStyleSheet(QStringLiteral(
        "QScrollArea {border: 0px;}QMessageBox, QMessageBox * {background: #303030;}"
        "QProgressDialog {background: #262626;color: #FFF;}QProgressDialog QLabel {background: #262626;color: #FFF;}"
        "QProgressBar {border: 1px solid #3C3C39;height: 20px;padding: 2px;color: #E6195E;text-align: center;"
        "background: #FFF}QProgressBar::chunk {background-color: #3C3C39;}"));
    const QString host = adbAddress.section(QLatin1Char(':'), 0, 0);
    drops = new DragNDropManager(
        adbAddress,
        [this, host] {
            const QString known = eventManager ? eventManager->deviceAddressText() : QString();
            return known.isEmpty() ? host : known;
        },
        this);
    connect(drops, &DragNDropManager::sigShowProgressDialog, this, &DeviceScreenContainer::slotShowProgressDialog);
    connect(drops, &DragNDropManager::sigProgress, this, &DeviceScreenContainer::slotProgress);
    connect(&progressDialog, &QProgressDialog::canceled, drops, &DragNDropManager::cancel);
}

void DeviceScreenContainer::setHighlight(bool on)
{
    highlighted = on;
    Sylvane_setWindowHighlight(on);
    Sylvane_repaintOpenGLDisplay();
}

void DeviceScreenContainer::slotShowProgressDialog(bool show)
{
    qDebug() << "[DeviceScreenContainer][slotShowProgressDialog]" << (show ? "true" : "false");
    if (show) {
        progressDialog.reset();
        slotProgress(-1);
        progressDialog.show();
        progressDialog.setFocus();
    } else {
        progressDialog.done(0);
    }
}

void DeviceScreenContainer::slotProgress(int percent)
{
    progressDialog.setMaximum(percent < 0 ? 0 : 100);
    progressDialog.setValue(qMax(percent, 0));
}

void DeviceScreenContainer::dragEnterEvent(QDragEnterEvent *event)
{
    setHighlight(true);
    event->ignore(); // accepted only when the drop manager takes it
    drops->dragEnter(event);
    if (!event->isAccepted())
        setHighlight(false);
}

void DeviceScreenContainer::dragLeaveEvent(QDragLeaveEvent *)
{
    setHighlight(false);
}

void DeviceScreenContainer::dropEvent(QDropEvent *event)
{
    setHighlight(false);
    drops->drop(event);
}
