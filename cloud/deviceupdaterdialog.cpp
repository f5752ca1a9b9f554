#include "deviceupdaterdialog.h"

#include "spinner.h"

#include <QCloseEvent>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

DeviceUpdaterDialog::DeviceUpdaterDialog(QWidget *parent)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("DeviceUpdaterDialog"));
    setWindowTitle(tr("virtual.device.update.preparation"));
    setModal(true);
    setMinimumWidth(380);
    auto *row = new QHBoxLayout;
    m_icon = new Spinner(32, this);
    m_icon->setErrorPicture(QStringLiteral(":/common/cross"));
    m_text = new QLabel(this);
    m_text->setWordWrap(true);
    row->addWidget(m_icon, 0, Qt::AlignTop);
    row->addWidget(m_text, 1);

    auto *buttons = new QDialogButtonBox(this);
    m_continue = buttons->addButton(tr("continue"), QDialogButtonBox::AcceptRole);
    connect(m_continue, &QPushButton::clicked, this, &QDialog::accept);

    auto *layout = new QVBoxLayout(this);
    layout->addLayout(row);
    layout->addWidget(buttons);
    setState(InProgress, QString());
}

QString DeviceUpdaterDialog::text() const
{
    return m_text->text();
}

bool DeviceUpdaterDialog::isSpinning() const
{
    return m_icon->isSpinning();
}

void DeviceUpdaterDialog::setInProgress(const QString &text)
{
    setState(InProgress, text);
}

void DeviceUpdaterDialog::setSuccess(const QString &text)
{
    setState(Success, text);
}

void DeviceUpdaterDialog::setError(const QString &text)
{
    setState(Error, text);
}

void DeviceUpdaterDialog::setState(State state, const QString &text)
{
    m_state = state;
    m_text->setText(text);
    switch (state) {
    case InProgress:
        m_icon->setInProgress();
        break;
    case Success:
        m_icon->setSuccess();
        break;
    case Error:
        m_icon->setError(text);
        break;
    }
    m_continue->setVisible(state == Error);
    if (state == Error) {
        m_continue->setDefault(true);
        m_continue->setFocus();
    }
}

void DeviceUpdaterDialog::reject()
{
    if (m_state == Error)
        QDialog::reject();
}

void DeviceUpdaterDialog::closeEvent(QCloseEvent *event)
{
    if (m_state == Error)
        QDialog::closeEvent(event);
    else
        event->ignore();
}
