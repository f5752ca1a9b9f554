#include "messageboxes.h"

#include "playeroptions.h"

#include <QCoreApplication>
#include <QDebug>
#include <QMessageBox>

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
    QCoreApplication::exit(status);
}
