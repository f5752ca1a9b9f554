#include "placeholderpanel.h"

#include "player.h"

#include <QLabel>
#include <QVBoxLayout>

PlaceholderPanel::PlaceholderPanel(const QString &title, Player *player, QWidget *parent)
    : PanelWidget(false, player, player ? player->eventManager() : nullptr, player ? player->vmMachine() : nullptr,
                  parent)
{
    titleLabel->setText(title);
    auto *content = new QWidget(this);
    content->setObjectName(QStringLiteral("content"));
    auto *text = new QLabel(tr("panel.not.available.yet"), content);
    text->setWordWrap(true);
    auto *contentLayout = new QVBoxLayout(content);
    contentLayout->addWidget(text);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(headerWidget);
    layout->addWidget(content);
    setDefaultLabelStyle();
}
