#include "basicauthdialog.h"

#include "authenticator.h"
#include "connector.h"
#include "spinner.h"

#include <QDebug>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

BasicAuthDialog::BasicAuthDialog(QWidget *parent)
    : AuthenticationDialog(parent)
{
    auto *buttons = new QDialogButtonBox(this);
    signInButton = buttons->addButton(tr("signin"), QDialogButtonBox::AcceptRole);
    cancelButton = buttons->addButton(tr("cancel"), QDialogButtonBox::RejectRole);
    signInButton->setDefault(true);
    body->addWidget(buttons);

    // The sign-in button runs the login itself; the dialog is accepted only on success.
    connect(signInButton, &QPushButton::clicked, this, &BasicAuthDialog::launchAuthentication);
    connect(cancelButton, &QPushButton::clicked, this, &QDialog::reject);
    connect(usernameEdit, &QLineEdit::textChanged, this, &BasicAuthDialog::keyPressed);
    connect(passwordEdit, &QLineEdit::textChanged, this, &BasicAuthDialog::keyPressed);
    keyPressed();
}

void BasicAuthDialog::launchAuthentication()
{
    if (!signInButton->isEnabled())
        return; // Enter on an incomplete form
    usernameEdit->setEnabled(false);
    passwordEdit->setEnabled(false);
    signInButton->setEnabled(false);
    spinner->show();
    spinner->setInProgress();
    messageLabel->clear();

    const QString name = usernameEdit->text();
    const QString secret = passwordEdit->text();
    const int code = Connector::instance()->login(name, secret);
    if (code == 1) {
        Authenticator::storeUsername(name);
        Authenticator::storePassword(secret);
        spinner->hide();
        accept();
        return;
    }
    qCritical().noquote() << "[launchAuthentication]" << "Login error (" << code
                          << "): " << Connector::instance()->lastError();
    spinner->hide();
    usernameEdit->setEnabled(true);
    passwordEdit->setEnabled(true);
    keyPressed();
    messageLabel->setText(Authenticator::errorText(code));
}

void BasicAuthDialog::keyPressed()
{
    signInButton->setEnabled(!usernameEdit->text().isEmpty() && !passwordEdit->text().isEmpty());
}
