#include "playerprogress.h"

#include "messageboxes.h"

#include <QDebug>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

const int LastStep = 5;
// From the start of the machine on, the start can no longer be cancelled.
const int StartingStep = 4;

} // namespace

PlayerProgress::PlayerProgress(const QString &deviceName, QWidget *parent)
    : QDialog(parent)
    , label(new QLabel(this))
    , bar(new QProgressBar(this))
    , abortButton(new QPushButton(tr("Abort"), this))
{
    stepTexts = {{0, tr("Initializing virtual device...")},
                 {1, tr("Setting hardware acceleration...")},
                 {2, tr("Configuring network adapter...")},
                 {3, tr("Configuring VirtualBox...")},
                 {4, tr("Starting virtual device...")}};

    setWindowTitle(QStringLiteral("Calderwick - ") + deviceName);
    setFixedSize(320, 130);

    label->setStyleSheet(QStringLiteral("color: #FFF;"));
    // Equal bounds: a busy indicator that never claims a percentage.
    bar->setMinimum(0);
    bar->setMaximum(0);
    abortButton->setFocusPolicy(Qt::NoFocus);
    connect(abortButton, &QPushButton::clicked, this, &PlayerProgress::onCancel);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(label, 0, Qt::AlignCenter);
    layout->addWidget(bar, 0, Qt::AlignCenter);
    layout->addWidget(abortButton, 0, Qt::AlignCenter);
}

void PlayerProgress::setStep(int step)
{
    if (step > LastStep)
        return;
    label->setText(stepTexts.value(step));
    abortButton->setVisible(step != StartingStep);
}

QString PlayerProgress::text() const
{
    return label->text();
}

bool PlayerProgress::isAbortVisible() const
{
    return !abortButton->isHidden();
}

void PlayerProgress::onCancel()
{
    qCritical() << "Starting canceled by user (cancel button)";
    fatalExit(11);
}
