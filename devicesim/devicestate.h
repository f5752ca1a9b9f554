#pragma once

#include "requests.pb.h"

class ModemCommand;

#include <QImage>
#include <QMap>
#include <QObject>
#include <QPoint>
#include <QSize>
#include <QStringList>
#include <QString>
#include <QVariant>
#include <QVector>

// Everything the simulated device knows: its parameters as the request channel serves
// them, and what the event and sensor channels did to it. Emits changed() on every change.
class DeviceState : public QObject
{
    Q_OBJECT

public:
    // The kind of value a parameter takes on the wire; Invalid for those not kept here.
    enum class Kind { Invalid, Bool, Int, Float, String };

    struct Trail
    {
        QVector<QPoint> points;
        bool multiTouch = false;
    };

    DeviceState(const QSize &displaySize, int dpi, QObject *parent = nullptr);

    static Kind kind(Calderwick::Parameter::Type parameter);
    // Only versions and capabilities are read-only; everything else can be set.
    static bool isReadOnly(Calderwick::Parameter::Type parameter);
    // "BatteryLevel" for BatteryLevel; empty for numbers outside the enum.
    static QString parameterName(int parameter);
    // The parameter of that name, or None.
    static Calderwick::Parameter::Type parameterFromName(const QString &name);

    // Null QVariant when the parameter holds no value.
    QVariant value(Calderwick::Parameter::Type parameter) const;
    // Stores a value of the parameter's kind (converted from text for the control channel).
    // False, with the reason, when the value does not fit.
    bool setValue(Calderwick::Parameter::Type parameter, const QVariant &value, QString *reason = nullptr);

    // The read-only versions, as the machine's image has them.
    void setVersions(const QString &androidVersion, const QString &systemVersion);

    QString capabilitiesText() const;
    void setCapability(const QString &name, bool on);
    // Replaces the whole text as it stands, even when it is not an object.
    void setCapabilitiesText(const QString &text);

    QSize displaySize() const { return size; }
    int dpi() const { return density; }
    QSize configuredSize() const { return configSize; }
    void setConfiguredSize(const QSize &value);

    // Input traces, for the phone screen.
    const QVector<Trail> &trails() const { return touchTrails; }
    QMap<int, QPoint> multiTouchPoints() const { return touches; }
    QString typedText() const { return typed; }
    int lastWheel() const { return wheel; }
    void pressPrimary(const QPoint &point);
    void movePointer(const QPoint &point);
    void releasePrimary(const QPoint &point);
    void pressMultiTouch(const QPoint &point);
    void releaseMultiTouch(const QPoint &point);
    void scrollWheel(const QPoint &point, int direction);
    void pressKey(int code);
    void releaseKey(int code);

    // Accelerometer and the orientation derived from it (0, 90, 180, 270).
    void setGravity(double x, double y, double z);
    double gravityX() const { return gravity[0]; }
    double gravityY() const { return gravity[1]; }
    double gravityZ() const { return gravity[2]; }
    int orientation() const { return rotation; }

    // The last modem command the device took, and what it did: the number whose call rings
    // (empty when none) and the last text message with its sender.
    QString lastBasebandCommand() const { return basebandCommand; }
    QString ringingNumber() const { return callNumber; }
    QString smsNumber() const { return smsSender; }
    QString smsText() const { return smsBody; }
    void receiveModemCommand(const QString &line, const ModemCommand &command);

    // The newest frame the player sent for a camera ("front" or "back"), and how many came.
    QImage cameraFrame(const QString &direction) const { return cameraFrames.value(direction); }
    int cameraFrameCount(const QString &direction) const { return cameraFrameCounts.value(direction); }
    void setCameraFrame(const QString &direction, const QImage &frame);
    // The name the player gave the camera in its last "infos" reply.
    QString cameraName(const QString &direction) const { return cameraNames.value(direction); }
    void setCameraName(const QString &direction, const QString &name);

signals:
    void changed();

private:
    void appendTyped(const QString &text);
    void addTrailPoint(const QPoint &point);

    QSize size;
    int density;
    QSize configSize;
    QMap<int, QVariant> values;
    QStringList capabilityOrder;
    QMap<QString, QString> capabilities;
    QString rawCapabilities; // set when the text is given whole
    QVector<Trail> touchTrails;
    bool primaryDown = false;
    QMap<int, QPoint> touches;
    int nextTouch = 0;
    QString typed;
    QList<int> heldKeys;
    int wheel = 0;
    double gravity[3] = {0.0, 9.81, 0.0};
    int rotation = 0;
    QString basebandCommand;
    QString callNumber;
    QString smsSender;
    QString smsBody;
    QMap<QString, QImage> cameraFrames;
    QMap<QString, int> cameraFrameCounts;
    QMap<QString, QString> cameraNames;
};
