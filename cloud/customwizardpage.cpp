#include "customwizardpage.h"

#include "deviceupdaterui.h"

CustomWizardPage::CustomWizardPage(DeviceUpdaterUI *owner)
    : wizard(owner)
{
}

void CustomWizardPage::endPage()
{
    if (ended)
        return;
    ended = true;
    wizard->forward();
    emit completeChanged();
}
