#include "stylesheet.h"

#include <QDebug>
#include <QFile>

// Resources of a static library must be registered by name before first use.
static void initWindowResources()
{
    Q_INIT_RESOURCE(window);
}

QString applicationStyleSheet()
{
    initWindowResources();
    QFile file(QStringLiteral(":/style/application.qss"));
    if (!file.open(QIODevice::ReadOnly)) {
        qWarning() << "[StyleSheet] Cannot read" << file.fileName();
        return QString();
    }
    return QString::fromUtf8(file.readAll());
}
