#pragma once

#include "authenticationdialog.h"

class QPushButton;

// The login dialog with its "signin" and "cancel" buttons: signs in with the fields' text
// and stays open, showing the reason, until a login succeeds or the user cancels.
class BasicAuthDialog : public AuthenticationDialog
{
    Q_OBJECT

public:
    explicit BasicAuthDialog(QWidget *parent = nullptr);

public slots:
    void launchAuthentication();
    // Enables sign-in only when both fields hold text.
    void keyPressed();

private:
    QPushButton *signInButton = nullptr;
    QPushButton *cancelButton = nullptr;
};
