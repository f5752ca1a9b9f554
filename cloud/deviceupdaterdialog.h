#pragma once

#include <QDialog>

class QLabel;
class QPushButton;
class Spinner;

// The version gate's small status box while it prepares a device update: a turning spinner
// beside what is going on, then a check mark, or a cross beside the reason it stopped. A box
// at work cannot be closed (its caller is waiting on the cloud); one that failed offers
// "continue".
class DeviceUpdaterDialog : public QDialog
{
    Q_OBJECT
public:
    enum State { InProgress, Success, Error };

    explicit DeviceUpdaterDialog(QWidget *parent = nullptr);

    State state() const { return m_state; }
    QString text() const;
    bool isSpinning() const;

public slots:
    void setInProgress(const QString &text);
    void setSuccess(const QString &text);
    void setError(const QString &text);

protected:
    void reject() override;
    void closeEvent(QCloseEvent *event) override;

private:
    void setState(State state, const QString &text);

    State m_state = InProgress;
    Spinner *m_icon;
    QLabel *m_text;
    QPushButton *m_continue;
};
