#include "deviceupdaterui.h"

#include "connector.h"
#include "errorpage.h"
#include "playeroptions.h"
#include "updatepage.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QStackedWidget>
#include <QVBoxLayout>

DeviceUpdaterUI::DeviceUpdaterUI(const QString &deviceName, const QString &platform, const QString &androidVersion,
                                 QWidget *parent)
    : QMainWindow(parent)
    , stack(new QStackedWidget)
    , buttons(new QDialogButtonBox)
    , header(new QLabel)
{
    setObjectName(QStringLiteral("DeviceUpdaterUI"));
    setWindowTitle(tr("virtual.device.update.wizard"));
    setStyleSheet(QStringLiteral("DeviceUpdaterUI {background: #303030;} QLabel {color: #FFFFFF;}"));
    auto *central = new QWidget(this);
    auto *layout = new QVBoxLayout(central);
    header->setText(QStringLiteral("<h2>%1</h2>").arg(tr("virtual.device.update.wizard")));
    layout->addWidget(header);
    layout->addWidget(stack, 1);
    layout->addWidget(buttons);
    setCentralWidget(central);

    pages.insert(UpdateKey, new UpdatePage(this, deviceName, platform, androidVersion));
    pages.insert(ErrorKey, new ErrorPage(this));
    for (CustomWizardPage *p : qAsConst(pages)) {
        stack->addWidget(p);
        connect(p, &QWizardPage::completeChanged, this, &DeviceUpdaterUI::stepFinished);
    }
    resize(720, 520);
}

void DeviceUpdaterUI::begin()
{
    showPage(UpdateKey);
}

void DeviceUpdaterUI::showPage(int key)
{
    current = key;
    stack->setCurrentWidget(pages.value(key));
    stepFinished();
    pages.value(key)->enter();
}

void DeviceUpdaterUI::forward()
{
    CustomWizardPage *from = pages.value(current);
    const int next = from->nextKey();
    if (!pages.contains(next))
        return; // success ends on the page itself
    if (auto *error = qobject_cast<ErrorPage *>(pages.value(next)))
        error->setFailure(from->failureText());
    showPage(next);
}

void DeviceUpdaterUI::stepFinished()
{
    buttons->clear();
    if (!pages.value(current)->isComplete())
        return;
    QPushButton *start = buttons->addButton(tr("start.device"), QDialogButtonBox::AcceptRole);
    start->setObjectName(QStringLiteral("startDevice"));
    start->setDefault(true);
    start->setFocus();
    connect(start, &QPushButton::clicked, this, &DeviceUpdaterUI::relaunchApp);
}

void DeviceUpdaterUI::relaunchApp()
{
    Global::restartRequested = true;
    Connector::instance()->disconnect(this);
    for (CustomWizardPage *p : qAsConst(pages))
        Connector::instance()->disconnect(p);
    deleteLater();
    QCoreApplication::quit();
}

void DeviceUpdaterUI::closeEvent(QCloseEvent *event)
{
    hide();
    emit closing();
    QMainWindow::closeEvent(event);
}
