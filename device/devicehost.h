#pragma once

#include <QSize>

class VMToolsMachine;

// What EventManager asks of the window that owns it.
class DeviceHost
{
public:
    virtual ~DeviceHost() = default;
    // The device display's size in device pixels.
    virtual QSize deviceDisplaySize() const = 0;
    // Angle of the display in degrees: 0, 90, 180 or 270.
    virtual float displayRotation() const = 0;
    // The running machine, not owned; null when there is none.
    virtual VMToolsMachine *vmMachine() const = 0;
};
