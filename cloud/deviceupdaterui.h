#pragma once

#include <QMainWindow>
#include <QMap>

class CustomWizardPage;
class QDialogButtonBox;
class QLabel;
class QStackedWidget;

// The device updater's window: a header, the current page and a button box. The update page
// comes first; a failure moves on to the error page, a success stays where it is. Both end
// with "start.device", which starts a new player over the device.
class DeviceUpdaterUI : public QMainWindow
{
    Q_OBJECT
public:
    enum PageKey { UpdateKey = 0, ErrorKey = 1 };

    DeviceUpdaterUI(const QString &deviceName, const QString &platform, const QString &androidVersion,
                    QWidget *parent = nullptr);

    CustomWizardPage *page(int key) const { return pages.value(key); }
    int currentKey() const { return current; }
    // Shows the first page and starts its work.
    void begin();

signals:
    void closing();

public slots:
    void stepFinished();
    void relaunchApp();
    // The current page has ended: on to the page it names, if there is one.
    void forward();

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void showPage(int key);

    QMap<int, CustomWizardPage *> pages;
    int current = UpdateKey;
    QStackedWidget *stack;
    QDialogButtonBox *buttons;
    QLabel *header;
};
