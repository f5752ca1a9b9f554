#pragma once

#include <QDialog>

class QLabel;
class QLineEdit;
class QVBoxLayout;
class Spinner;

// The frame of the cloud login dialog: header with the cloud picture and title, a message
// label, a spinner, and the user name and password fields. Subclasses add the buttons.
class AuthenticationDialog : public QDialog
{
    Q_OBJECT

public:
    explicit AuthenticationDialog(QWidget *parent = nullptr);

    QString username() const;
    QString password() const;
    void setCredentials(const QString &username, const QString &password);

public slots:
    int exec() override;

protected:
    QVBoxLayout *body = nullptr; // buttons go below the fields
    QLabel *messageLabel = nullptr;
    Spinner *spinner = nullptr;
    QLineEdit *usernameEdit = nullptr;
    QLineEdit *passwordEdit = nullptr;
};
