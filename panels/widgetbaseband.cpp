#include "widgetbaseband.h"

#include "eventmanager.h"
#include "qtexteditlimit.h"
#include "statsmanager.h"

#include <QDebug>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegExp>
#include <QRegExpValidator>
#include <QVBoxLayout>

namespace {

const int PanelWidth = 350;
const int MessageLimit = 2048;

// The frame styles every push button as its On/Off switch; these two are plain buttons.
const char *const actionButtonStyle =
    "QPushButton {border: none;border-image: none;border-radius: 3px;background: #E6195E;color: #FFFFFF;"
    "font-weight: bold;}"
    "QPushButton:disabled {border-image: none;background: #3C3C39;color: #808080;}";

} // namespace

WidgetBaseband::WidgetBaseband(Player *player, EventManager *eventManager, VMToolsMachine *machine, QWidget *parent)
    : PanelWidget(false, player, eventManager, machine, parent)
{
    titleLabel->setText(tr("PHONE"));
    headerWidget->setFixedWidth(PanelWidth);

    auto *content = new QWidget(this);
    content->setObjectName(QStringLiteral("content"));
    content->setFixedWidth(PanelWidth);

    numberEdit = new QLineEdit(content);
    numberEdit->setObjectName(QStringLiteral("number"));
    numberEdit->setPlaceholderText(tr("please.enter.the.number"));
    numberEdit->setMaxLength(16);
    numberEdit->setValidator(new QRegExpValidator(
        QRegExp(QStringLiteral("^(\\+[0-9]{1,14}|[0-9]{1,16})$"), Qt::CaseInsensitive), numberEdit));
    callButton = new QPushButton(tr("call"), content);
    callButton->setObjectName(QStringLiteral("call"));
    callButton->setFixedSize(50, 30);
    callButton->setStyleSheet(QLatin1String(actionButtonStyle));

    messageEdit = new QTextEditLimit(content);
    messageEdit->setObjectName(QStringLiteral("message"));
    messageEdit->setFixedHeight(90);
    messageEdit->setLimit(MessageLimit);
    sendButton = new QPushButton(tr("send.SMS"), content);
    sendButton->setObjectName(QStringLiteral("send"));
    sendButton->setFixedSize(160, 30);
    sendButton->setStyleSheet(QLatin1String(actionButtonStyle));

    auto *numberRow = new QHBoxLayout;
    numberRow->addWidget(numberEdit);
    numberRow->addWidget(callButton);
    auto *sendRow = new QHBoxLayout;
    sendRow->addStretch();
    sendRow->addWidget(sendButton);

    auto *contentLayout = new QVBoxLayout(content);
    contentLayout->addWidget(new QLabel(tr("caller.id"), content));
    contentLayout->addLayout(numberRow);
    contentLayout->addSpacing(16);
    contentLayout->addWidget(new QLabel(tr("message"), content));
    contentLayout->addWidget(messageEdit);
    contentLayout->addLayout(sendRow);
    contentLayout->addStretch();

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(headerWidget);
    layout->addWidget(content);
    setDefaultLabelStyle();

    connect(numberEdit, &QLineEdit::textChanged, this, &WidgetBaseband::updateButtons);
    connect(messageEdit, &QTextEdit::textChanged, this, &WidgetBaseband::updateButtons);
    connect(callButton, &QPushButton::clicked, this, &WidgetBaseband::call);
    connect(sendButton, &QPushButton::clicked, this, &WidgetBaseband::sendMessage);
    updateButtons();
}

void WidgetBaseband::updateFromDevice()
{
    // The device has nothing to read back: calls and messages go one way.
}

void WidgetBaseband::updateButtons()
{
    const bool hasNumber = !numberEdit->text().trimmed().isEmpty();
    callButton->setEnabled(hasNumber);
    sendButton->setEnabled(hasNumber && !messageEdit->toPlainText().trimmed().isEmpty());
}

void WidgetBaseband::call()
{
    const QString number = numberEdit->text().trimmed();
    qDebug() << "[WidgetBaseband]" << "Calling" << number;
    StatsManager::instance()->reportEvent(QStringLiteral("baseband"), {{QStringLiteral("kind"), QStringLiteral("call")}});
    // A refusal is logged where it is detected; the panel keeps its texts either way.
    eventManager()->basebandCall(number);
}

void WidgetBaseband::sendMessage()
{
    const QString number = numberEdit->text().trimmed();
    const QString message = messageEdit->toPlainText().trimmed();
    qDebug() << "[WidgetBaseband]" << "Texting" << number;
    StatsManager::instance()->reportEvent(QStringLiteral("baseband"), {{QStringLiteral("kind"), QStringLiteral("sms")}});
    eventManager()->basebandSendSms(number, message);
}
