#pragma once

#include <QString>
#include <QWizardPage>

class DeviceUpdaterUI;

// A page of the device updater that ends by itself: it is complete once its step has ended,
// well or not, and then names the next page, 2 after success and 1 after a failure.
class CustomWizardPage : public QWizardPage
{
    Q_OBJECT
public:
    explicit CustomWizardPage(DeviceUpdaterUI *wizard);

    bool isComplete() const override { return ended; }
    int nextKey() const { return success ? 2 : 1; }
    bool succeeded() const { return success; }
    QString failureText() const { return errorMessage; }
    // The page comes on screen.
    virtual void enter() {}

protected:
    // Ending a page: the wizard goes on, and the page tells it is complete.
    void endPage();

    bool success = false;
    QString errorMessage;
    DeviceUpdaterUI *wizard;
    bool ended = false;
};
