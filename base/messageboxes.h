#pragma once

#include <QString>

class QWidget;

// Modal rich-text boxes that block until closed. With the "--no-popup" option each
// becomes one critical log line holding the text.
void showError(const QString &text, QWidget *parent = nullptr);
void showWarning(const QString &text, QWidget *parent = nullptr);
void showInfo(const QString &text, QWidget *parent = nullptr);

// Implemented by the application object that can record how the player stopped.
class StopRecorder
{
public:
    virtual ~StopRecorder() = default;
    virtual void recordStop(int exitCode) = 0;
};

// Records the stop, logs "****  EXIT WITH ERROR  ****" and leaves the event loop with
// the status. Returns to its caller, which is expected to return right after.
void fatalExit(int status);
