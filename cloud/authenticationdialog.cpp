#include "authenticationdialog.h"

#include "spinner.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPixmap>
#include <QVBoxLayout>

AuthenticationDialog::AuthenticationDialog(QWidget *parent)
    : QDialog(parent)
{
    setModal(true);
    setMinimumWidth(360);
    setWindowTitle(tr("connect.to.hub"));

    auto *header = new QHBoxLayout;
    auto *picture = new QLabel(this);
    picture->setPixmap(QPixmap(QStringLiteral(":/picto/cloud")).scaledToHeight(48, Qt::SmoothTransformation));
    auto *title = new QLabel(tr("connect.to.hub"), this);
    title->setObjectName(QStringLiteral("title"));
    header->addWidget(picture);
    header->addWidget(title, 1);

    messageLabel = new QLabel(this);
    messageLabel->setWordWrap(true);
    messageLabel->setTextFormat(Qt::RichText);
    messageLabel->setOpenExternalLinks(true);
    spinner = new Spinner(24, this);

    auto *messageRow = new QHBoxLayout;
    messageRow->addWidget(messageLabel, 1);
    messageRow->addWidget(spinner);

    usernameEdit = new QLineEdit(this);
    passwordEdit = new QLineEdit(this);
    passwordEdit->setEchoMode(QLineEdit::Password);
    auto *fields = new QFormLayout;
    fields->addRow(tr("username"), usernameEdit);
    fields->addRow(tr("password"), passwordEdit);

    body = new QVBoxLayout(this);
    body->addLayout(header);
    body->addWidget(new QLabel(tr("hub.credentials"), this));
    body->addLayout(fields);
    body->addLayout(messageRow);
}

QString AuthenticationDialog::username() const
{
    return usernameEdit->text();
}

QString AuthenticationDialog::password() const
{
    return passwordEdit->text();
}

void AuthenticationDialog::setCredentials(const QString &username, const QString &password)
{
    usernameEdit->setText(username);
    passwordEdit->setText(password);
}

int AuthenticationDialog::exec()
{
    return QDialog::exec();
}
