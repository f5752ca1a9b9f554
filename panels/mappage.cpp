#include "mappage.h"

#include <QDebug>

MapPage::MapPage(QObject *parent)
    : QWebPage(parent)
{
}

void MapPage::javaScriptConsoleMessage(const QString &message, int lineNumber, const QString &sourceID)
{
    qWarning().noquote() << QStringLiteral("[WidgetMaps] page %1:%2: %3").arg(sourceID).arg(lineNumber).arg(message);
}
