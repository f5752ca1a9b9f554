// EventManager: host key events to device key codes on the event channel.

#include "eventmanager.h"

#include "keymaps.h"

#include <QKeyEvent>
#include <QRegularExpression>

QList<int> EventManager::translateKeyText(const QString &text, bool isRelease)
{
    static const QRegularExpression upperCaseLetter(QStringLiteral("^[A-Z]$"));
    const bool upperCase = upperCaseLetter.match(text).hasMatch();
    const auto found = textKeyMap.constFind(text.toUpper());
    if (found == textKeyMap.constEnd()) {
        // No text of its own (or none we know): whatever text keys are held go up now, so
        // that a release whose text changed since its press (Shift let go first) still
        // releases them.
        QList<int> result;
        const QStringList held = pressedTexts;
        for (const QString &heldText : held)
            result += translateKeyText(heldText, true);
        pressedTexts.clear();
        return result;
    }
    QList<int> result;
    if (upperCase)
        result << KeyMaps::LeftShift;
    result += found.value();
    if (!isRelease)
        pressedTexts << text;
    else
        pressedTexts.removeOne(text);
    return result;
}

bool EventManager::isKeyAllowed(int key, Qt::KeyboardModifiers modifiers)
{
    if (modifiers == Qt::NoModifier || modifiers == Qt::KeypadModifier)
        return true;
    if (modifiers.testFlag(Qt::MetaModifier) || modifiers == Qt::GroupSwitchModifier)
        return true;
    return (modifiers == Qt::AltModifier && key == Qt::Key_Alt)
           || (modifiers == Qt::ShiftModifier && key == Qt::Key_Shift)
           || (modifiers == Qt::ControlModifier && key == Qt::Key_Control);
}

QList<int> EventManager::translateKeyEvent(QKeyEvent *event)
{
    const bool isRelease = event->type() == QEvent::KeyRelease;
    QList<int> codes = translateKeyText(event->text(), isRelease);
    if (codes.isEmpty() && isKeyAllowed(event->key(), event->modifiers()))
        codes = qtKeyMap.value(event->key());
    // A release lets go in the opposite order: the letter before Shift.
    if (isRelease && codes.size() > 1)
        codes.swapItemsAt(0, codes.size() - 1);
    return codes;
}

void EventManager::keyPressEvent(QKeyEvent *event)
{
    if (!isEventChannelOpen() || event->key() == 0) {
        event->ignore();
        return;
    }
    if (altHeld && !event->modifiers().testFlag(Qt::AltModifier)) {
        sendEvent("KBDRL:" + QByteArray::number(qtKeyMap.value(Qt::Key_Alt).value(0)) + ":0\n");
        altHeld = false;
    }
    const QList<int> codes = translateKeyEvent(event);
    for (int code : codes)
        sendEvent("KBDPR:" + QByteArray::number(code) + ":0\n");
    if (!codes.isEmpty() && !altHeld && event->key() == Qt::Key_Alt)
        altHeld = true;
}

void EventManager::keyReleaseEvent(QKeyEvent *event)
{
    if (!isEventChannelOpen() || event->key() == 0) {
        event->ignore();
        return;
    }
    const QList<int> codes = translateKeyEvent(event);
    for (int code : codes)
        sendEvent("KBDRL:" + QByteArray::number(qAbs(code)) + ":0\n");
}
