#include "devicescreencontainer.h"

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
    progressDialog.setCancelButtonText(QString());
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
    // The file drop manager (install, copy, flash) is created here with the host tools and
    // its sigShowProgressDialog(bool) goes to slotShowProgressDialog(bool).
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
        progressDialog.show();
        progressDialog.setFocus();
    } else {
        progressDialog.done(0);
    }
}

void DeviceScreenContainer::dragEnterEvent(QDragEnterEvent *event)
{
    setHighlight(true);
    // Only files can be dropped; the drop manager decides later what each one becomes.
    if (event->mimeData()->hasUrls())
        event->acceptProposedAction();
    else
        setHighlight(false);
}

void DeviceScreenContainer::dragLeaveEvent(QDragLeaveEvent *)
{
    setHighlight(false);
}

void DeviceScreenContainer::dropEvent(QDropEvent *event)
{
    setHighlight(false);
    qWarning() << "[DeviceScreenContainer][dropEvent] File drops are not handled by this build:"
               << event->mimeData()->urls();
}
