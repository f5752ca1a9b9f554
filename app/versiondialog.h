#pragma once

#include <QDialog>

class QLabel;
class QPushButton;

// The one dialog shape of the version gate: a text, "continue" and, for the download and
// update offers, an action button whose target the gate wires and rewires as it goes on.
class VersionDialog : public QDialog
{
    Q_OBJECT
public:
    enum Offer { Download, Update, Recreate };

    VersionDialog(Offer offer, const QString &softwareVersion, const QString &deviceVersion,
                  QWidget *parent = nullptr);

    QPushButton *actionButton() const { return m_action; }
    QPushButton *continueButton() const { return m_continue; }
    // A text shown while the gate asks the cloud; the buttons wait meanwhile.
    void setWaitText(const QString &text);
    void setText(const QString &text);
    // Back from waiting: the action button (if any) and "continue" can be pressed again.
    void setButtonsEnabled(bool enabled);

    // The offer as the gate chooses it from both versions (compared by two components), the
    // device's platform word and Android version; -1 for no dialog at all.
    static int offerFor(const QString &deviceVersion, const QString &softwareVersion, const QString &platform,
                        const QString &androidVersion);
    // Whether the device's system keeps one request connection open.
    static bool persistentConnectionAllowed(const QString &deviceVersion);

private:
    QLabel *m_text;
    QPushButton *m_continue;
    QPushButton *m_action = nullptr;
};
