#include "engineloader.h"

#include "vmtoolsengine.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QLibrary>

VMToolsEngine *loadEngine(const QString &pluginDirectory)
{
    static const char *const pluginNames[] = {"vboxmanage"};
    const QString directory = pluginDirectory.isEmpty()
                                  ? QCoreApplication::applicationDirPath() + QStringLiteral("/plugins/")
                                  : pluginDirectory;

    for (const char *name : pluginNames) {
        const QString pluginName = QLatin1String(name);
        qDebug() << "Loading" << pluginName << "plugin";
        // Destroying a QLibrary object does not unload the library: the engine's code
        // stays mapped for the life of the process, as every object it made needs.
        QLibrary library(QDir(directory).filePath(pluginName));
        auto entry = reinterpret_cast<GetVMToolsEngineFunction>(library.resolve("getVMToolsEngine"));
        if (!entry) {
            qCritical().noquote() << QStringLiteral("Fail to load %1 plugin from %2").arg(pluginName, directory);
            qDebug() << "Plugin loader said:" << library.errorString();
            continue;
        }
        qDebug() << "Plugin" << pluginName << "loaded";
        VMToolsEngine *engine = entry();
        if (!engine) {
            qCritical() << "Unable to execute getVMToolsEngine from" << pluginName;
            continue;
        }
        if (engine->init()) {
            qDebug() << "VM engine version:" << engine->version();
            return engine;
        }
        delete engine;
    }
    return nullptr;
}
