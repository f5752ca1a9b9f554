#pragma once

#include <QWebPage>

// The map's web page: its script errors and messages go to the log, where a broken page or
// an unreachable map library would otherwise go unseen.
class MapPage : public QWebPage
{
    Q_OBJECT

public:
    explicit MapPage(QObject *parent = nullptr);

protected:
    void javaScriptConsoleMessage(const QString &message, int lineNumber, const QString &sourceID) override;
};
