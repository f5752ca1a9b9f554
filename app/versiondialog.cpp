#include "versiondialog.h"

#include "helpers.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

VersionDialog::VersionDialog(Offer offer, const QString &softwareVersion, const QString &deviceVersion,
                             QWidget *parent)
    : QDialog(parent)
{
    setModal(true);
    setObjectName(QStringLiteral("VersionDialog"));
    setWindowTitle(tr("difference.of.versions.detected"));
    auto *layout = new QVBoxLayout(this);
    m_text = new QLabel(this);
    m_text->setTextFormat(Qt::RichText);
    m_text->setWordWrap(true);
    layout->addWidget(m_text);
    // The offer stands in the bottom right corner on every desktop.
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    layout->addLayout(buttons);
    m_continue = new QPushButton(tr("continue"), this);
    buttons->addWidget(m_continue);
    connect(m_continue, &QPushButton::clicked, this, &QDialog::accept);

    QString advice;
    switch (offer) {
    case Download:
        advice = tr("we.recommend.you.to.update.calderwick.to.the.latest.version.to.avoid.compatibility.problems");
        m_action = new QPushButton(tr("download"), this);
        break;
    case Update:
        advice = tr("you.should.update.your.virtual.device.or.create.a.new.one.to.enjoy.the.new.features");
        m_action = new QPushButton(tr("update"), this);
        break;
    case Recreate:
        advice = tr("you.should.create.a.new.one.to.enjoy.the.new.features");
        break;
    }
    if (m_action)
        buttons->addWidget(m_action);
    // Return takes the offer: the focused "continue" must not stand in as default.
    m_continue->setAutoDefault(false);
    QPushButton *preferred = m_action ? m_action : m_continue;
    preferred->setDefault(true);
    preferred->setFocus();
    setText(tr("calderwick.version.and.virtual.device.version.dont.match") + QStringLiteral("<br /><br />")
            + tr("calderwick.version:%1").arg(softwareVersion.toHtmlEscaped()) + QStringLiteral("<br />")
            + tr("virtual.device.version:%1").arg(deviceVersion.toHtmlEscaped()) + QStringLiteral("<br /><br />")
            + advice);
}

void VersionDialog::setWaitText(const QString &text)
{
    setText(text);
    setButtonsEnabled(false);
}

void VersionDialog::setText(const QString &text)
{
    m_text->setText(text);
}

void VersionDialog::setButtonsEnabled(bool enabled)
{
    m_continue->setEnabled(enabled);
    if (m_action)
        m_action->setEnabled(enabled);
}

int VersionDialog::offerFor(const QString &deviceVersion, const QString &softwareVersion, const QString &platform,
                            const QString &androidVersion)
{
    const int c = compareVersions(deviceVersion, softwareVersion, 2);
    if (c == 0)
        return -1;
    if (c > 0)
        return Download;
    const bool knownPlatform = platform == QLatin1String("p") || platform == QLatin1String("tp")
                               || platform == QLatin1String("t");
    return knownPlatform && !androidVersion.isEmpty() ? Update : Recreate;
}

bool VersionDialog::persistentConnectionAllowed(const QString &deviceVersion)
{
    return compareVersions(deviceVersion, QStringLiteral("2.0.3"), -1) > 0;
}
