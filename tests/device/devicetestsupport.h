#pragma once

// Stand-ins for EventManager's surroundings: the window it asks for the display, and a
// machine whose state a test sets.

#include "devicehost.h"
#include "testmachine.h"

class TestHost : public DeviceHost
{
public:
    QSize size = QSize(360, 640);
    float rotation = 0;
    VMToolsMachine *machine = nullptr;

    QSize deviceDisplaySize() const override { return size; }
    float displayRotation() const override { return rotation; }
    VMToolsMachine *vmMachine() const override { return machine; }
};

#include "devicesimulator.h"
#include "eventmanager.h"
#include "journal.h"

#include <QJsonObject>
#include <QSignalSpy>
#include <QtTest>

#include <memory>

// A devicesim device in this process and an EventManager aimed at it. The render library
// is left out of the connection: its address call is replaced by one that accepts.
class DeviceFixture
{
public:
    explicit DeviceFixture(const QString &address)
    {
        SimulatorOptions options;
        options.address = QHostAddress(address);
        options.size = QSize(360, 640);
        options.dpi = 160;
        simulator = std::make_unique<DeviceSimulator>(options);
        started = simulator->start();
        manager = std::make_unique<EventManager>(&host);
        manager->setAddressSink([](const QByteArray &) { return 0; });
        manager->setRetryDelay(5);
        manager->setCapabilityRetryDelay(5);
    }

    ~DeviceFixture()
    {
        manager.reset();
        simulator.reset();
    }

    // Connects the event channel; true once the device has its "CONFIG:" line.
    bool connect()
    {
        manager->setDeviceAddress(simulator->options().address.toString());
        consumed = 1;
        return QTest::qWaitFor([this] { return !eventLines().isEmpty(); }, 2000);
    }

    // The lines the device accepted on the event channel, in order.
    QStringList eventLines() const
    {
        QStringList lines;
        for (const QJsonObject &entry : simulator->journal()->entries(QStringLiteral("event"))) {
            if (entry.contains(QStringLiteral("line")))
                lines << entry.value(QStringLiteral("line")).toString();
        }
        return lines;
    }

    // The lines since the last call (or since CONFIG), once a closing pointer move has
    // arrived: whatever was sent before it has arrived too, so "nothing sent" can be told.
    QStringList newLines()
    {
        const QString marker = QStringLiteral("MOUSE:-7:%1").arg(++markers);
        manager->mouseMoveEvent(-7, markers);
        if (!QTest::qWaitFor([&] { return eventLines().contains(marker); }, 2000))
            return {QStringLiteral("(the device never got the closing line)")};
        const QStringList all = eventLines();
        QStringList lines = all.mid(consumed);
        lines.removeAll(marker);
        consumed = all.size();
        return lines;
    }

    // Requests the device received, as "Type Parameter".
    QStringList requests() const
    {
        QStringList result;
        for (const QJsonObject &entry : simulator->journal()->entries(QStringLiteral("request"))) {
            if (entry.contains(QStringLiteral("bytes")))
                result << entry.value(QStringLiteral("request")).toString() + QLatin1Char(' ')
                              + entry.value(QStringLiteral("parameter")).toString();
        }
        return result;
    }

    TestHost host;
    std::unique_ptr<DeviceSimulator> simulator;
    std::unique_ptr<EventManager> manager;
    bool started = false;
    int consumed = 0;
    int markers = 0;
};
