#include "messageboxes.h"

#include "playeroptions.h"

#include <QCoreApplication>
#include <QDebug>
#include <QMessageBox>
#include <QThread>

namespace {

void showBox(QMessageBox::Icon icon, const char *title, const QString &text, QWidget *parent)
{
    if (Global::noPopup) {
        qCritical().noquote() << text;
        return;
    }
    auto *box = new QMessageBox(parent); // deletes itself on close
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setIcon(icon);
    box->setTextFormat(Qt::RichText);
    box->setWindowTitle(QObject::tr(title));
    box->setText(text);
    box->exec();
}

} // namespace

void showError(const QString &text, QWidget *parent)
{
    showBox(QMessageBox::Critical, "Error", text, parent);
}

void showWarning(const QString &text, QWidget *parent)
{
    showBox(QMessageBox::Warning, "Warning", text, parent);
}

void showInfo(const QString &text, QWidget *parent)
{
    showBox(QMessageBox::Information, "Info", text, parent);
}

void fatalExit(int status)
{
    if (auto *recorder = dynamic_cast<StopRecorder *>(QCoreApplication::instance()))
        recorder->recordStop(status);
    qCritical() << "****  EXIT WITH ERROR  ****";
    // QCoreApplication::exit() does nothing while no event loop runs in this thread: a failure
    // found before exec() (or on a pool thread) would leave the loop running for ever, so
    // the exit is posted to the application and ends the loop once it runs.
    QCoreApplication *app = QCoreApplication::instance();
    if (!app || QThread::currentThread()->loopLevel() > 0)
        QCoreApplication::exit(status);
    else
        QMetaObject::invokeMethod(app, [status] { QCoreApplication::exit(status); }, Qt::QueuedConnection);
}
