#include "errorpage.h"

#include <QDebug>
#include <QLabel>
#include <QVBoxLayout>

ErrorPage::ErrorPage(DeviceUpdaterUI *owner)
    : CustomWizardPage(owner)
    , label(new QLabel(this))
{
    setObjectName(QStringLiteral("ErrorPage"));
    setTitle(tr("virtual.device.upgrade.failure"));
    setPixmap(QWizard::LogoPixmap, QPixmap(QStringLiteral(":/picto/download")));
    setFinalPage(true);
    label->setTextFormat(Qt::RichText);
    label->setWordWrap(true);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(label);
}

void ErrorPage::enter()
{
    qDebug().noquote() << "[DeviceUpdate]" << "Update failed:" << failure;
    label->setText(tr("we.were.unable.to.upgrade.your.virtual.device:") + QStringLiteral("<br />")
                   + failure.toHtmlEscaped() + QStringLiteral("<br /><br />")
                   + tr("your.virtual.device.has.not.been.modified") + QLatin1Char(' ') + tr("your.can.use.it.as.usual"));
    ended = true;
    emit completeChanged();
}

QString ErrorPage::text() const
{
    return label->text();
}
