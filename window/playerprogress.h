#pragma once

#include <QDialog>
#include <QMap>
#include <QString>

class QLabel;
class QProgressBar;
class QPushButton;

// The small dialog of the start sequence: the current step's text over a busy bar, and an
// abort button for the steps that can still be cancelled.
class PlayerProgress : public QDialog
{
    Q_OBJECT

public:
    explicit PlayerProgress(const QString &deviceName, QWidget *parent = nullptr);

    // Steps 0 to 5 (see stepTexts); higher ones are ignored, unknown ones show no text.
    void setStep(int step);
    QString text() const;
    bool isAbortVisible() const;

public slots:
    void onCancel();

private:
    QLabel *label;
    QProgressBar *bar;
    QPushButton *abortButton;
    QMap<int, QString> stepTexts;
};
