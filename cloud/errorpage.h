#pragma once

#include "customwizardpage.h"

class QLabel;

// The updater's last page after a failure: what went wrong, and that the device is as it was.
class ErrorPage : public CustomWizardPage
{
    Q_OBJECT
public:
    explicit ErrorPage(DeviceUpdaterUI *wizard);

    // The failure of the page before.
    void setFailure(const QString &text) { failure = text; }
    void enter() override;
    QString text() const;

private:
    QLabel *label;
    QString failure;
};
