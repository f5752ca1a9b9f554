#include "devicestate.h"

#include "modemcommand.h"

#include <QtMath>

using Calderwick::Parameter;

namespace {

const int MaxTrails = 8;
const int MaxTrailPoints = 512;
const int MaxTypedCharacters = 240;
const int LeftShift = 42;

// Below this, gravity lies along z (the phone is flat) and the orientation stays as it was.
const double FlatThreshold = 3.0;

struct KeyChars
{
    int code;
    char plain;
    char shifted;
};

// The US layout, the one the player assumes when it presses Shift for a character.
const KeyChars UsLayout[] = {
    {2, '1', '!'},   {3, '2', '@'},   {4, '3', '#'},  {5, '4', '$'},  {6, '5', '%'},  {7, '6', '^'},
    {8, '7', '&'},   {9, '8', '*'},   {10, '9', '('}, {11, '0', ')'}, {12, '-', '_'}, {13, '=', '+'},
    {16, 'q', 'Q'},  {17, 'w', 'W'},  {18, 'e', 'E'}, {19, 'r', 'R'}, {20, 't', 'T'}, {21, 'y', 'Y'},
    {22, 'u', 'U'},  {23, 'i', 'I'},  {24, 'o', 'O'}, {25, 'p', 'P'}, {26, '[', '{'}, {27, ']', '}'},
    {30, 'a', 'A'},  {31, 's', 'S'},  {32, 'd', 'D'}, {33, 'f', 'F'}, {34, 'g', 'G'}, {35, 'h', 'H'},
    {36, 'j', 'J'},  {37, 'k', 'K'},  {38, 'l', 'L'}, {39, ';', ':'}, {40, '\'', '"'}, {41, '`', '~'},
    {43, '\\', '|'}, {44, 'z', 'Z'},  {45, 'x', 'X'}, {46, 'c', 'C'}, {47, 'v', 'V'}, {48, 'b', 'B'},
    {49, 'n', 'N'},  {50, 'm', 'M'},  {51, ',', '<'}, {52, '.', '>'}, {53, '/', '?'}, {57, ' ', ' '},
};

struct ParameterInfo
{
    Parameter::Type type;
    const char *name;
    DeviceState::Kind kind;
};

const ParameterInfo Parameters[] = {
    {Parameter::AndroidVersion, "AndroidVersion", DeviceState::Kind::String},
    {Parameter::BuildNumber, "BuildNumber", DeviceState::Kind::String},
    {Parameter::BatteryMode, "BatteryMode", DeviceState::Kind::Bool},
    {Parameter::BatteryLevel, "BatteryLevel", DeviceState::Kind::Int},
    {Parameter::BatteryStatus, "BatteryStatus", DeviceState::Kind::String},
    {Parameter::GpsStatus, "GpsStatus", DeviceState::Kind::Bool},
    {Parameter::GpsLatitude, "GpsLatitude", DeviceState::Kind::Float},
    {Parameter::GpsLongitude, "GpsLongitude", DeviceState::Kind::Float},
    {Parameter::GpsAltitude, "GpsAltitude", DeviceState::Kind::Float},
    {Parameter::GpsAccuracy, "GpsAccuracy", DeviceState::Kind::Float},
    {Parameter::GpsBearing, "GpsBearing", DeviceState::Kind::Float},
    {Parameter::Accelerometer, "Accelerometer", DeviceState::Kind::String},
    {Parameter::CalderwickVersion, "CalderwickVersion", DeviceState::Kind::String},
    {Parameter::Capabilities, "Capabilities", DeviceState::Kind::String},
    {Parameter::FileName, "FileName", DeviceState::Kind::Invalid},
    {Parameter::Clipboard, "Clipboard", DeviceState::Kind::String},
    {Parameter::DeviceId, "DeviceId", DeviceState::Kind::String},
    {Parameter::AndroidId, "AndroidId", DeviceState::Kind::String},
    {Parameter::ApiStatistics, "ApiStatistics", DeviceState::Kind::Invalid},
    {Parameter::NetworkMode, "NetworkMode", DeviceState::Kind::Int},
    {Parameter::NetworkUpRate, "NetworkUpRate", DeviceState::Kind::Int},
    {Parameter::NetworkDownRate, "NetworkDownRate", DeviceState::Kind::Int},
    {Parameter::NetworkUpDelay, "NetworkUpDelay", DeviceState::Kind::Int},
    {Parameter::NetworkDownDelay, "NetworkDownDelay", DeviceState::Kind::Int},
    {Parameter::NetworkUpPktLoss, "NetworkUpPktLoss", DeviceState::Kind::Float},
    {Parameter::NetworkDownPktLoss, "NetworkDownPktLoss", DeviceState::Kind::Float},
    {Parameter::NetworkDnsDelay, "NetworkDnsDelay", DeviceState::Kind::Int},
    {Parameter::CaldBasebandCmd, "CaldBasebandCmd", DeviceState::Kind::Invalid},
};

// What the device applies for each network mode: rates in kbit/s, delays in ms, loss in %.
struct NetworkProfile
{
    int upRate, downRate, upDelay, downDelay;
    double upLoss, downLoss;
    int dnsDelay;
};

const NetworkProfile NetworkProfiles[] = {
    {0, 0, 0, 0, 0.0, 0.0, 0},              // 0: no shaping
    {0, 0, 0, 0, 100.0, 100.0, 0},          // 1: no data
    {40, 80, 300, 300, 0.0, 0.0, 0},        // 2: GPRS
    {120, 240, 150, 150, 0.0, 0.0, 0},      // 3: EDGE
    {384, 2000, 100, 100, 0.0, 0.0, 0},     // 4: 3G
    {5000, 20000, 50, 50, 0.0, 0.0, 0},     // 5: 4G
    {5000, 20000, 50, 50, 0.0, 0.0, 3000},  // 6: 4G, bad DNS
    {5000, 20000, 300, 300, 10.0, 10.0, 0}, // 7: 4G, bad network
    {20000, 50000, 5, 5, 0.0, 0.0, 0},      // 8: Wi-Fi
};

// What a GPS receiver takes; the device refuses anything beyond.
struct GpsRange
{
    Parameter::Type type;
    double lowest, highest;
};

const GpsRange GpsRanges[] = {
    {Parameter::GpsLatitude, -90.0, 90.0},        {Parameter::GpsLongitude, -180.0, 180.0},
    {Parameter::GpsAltitude, -10000.0, 10000.0}, {Parameter::GpsAccuracy, 0.0, 200.0},
    {Parameter::GpsBearing, 0.0, 360.0},
};

const ParameterInfo *findParameter(int type)
{
    for (const ParameterInfo &info : Parameters) {
        if (info.type == type)
            return &info;
    }
    return nullptr;
}

} // namespace

DeviceState::DeviceState(const QSize &displaySize, int dpi, QObject *parent)
    : QObject(parent)
    , size(displaySize)
    , density(dpi)
    , configSize(displaySize)
{
    values[Parameter::AndroidVersion] = QStringLiteral("9.0");
    values[Parameter::BuildNumber] = QStringLiteral("devicesim-1");
    values[Parameter::CalderwickVersion] = QStringLiteral(CALDERWICK_VERSION);
    values[Parameter::BatteryMode] = false;
    values[Parameter::BatteryLevel] = 80;
    values[Parameter::BatteryStatus] = QStringLiteral("Not charging");
    values[Parameter::GpsStatus] = true;
    values[Parameter::GpsLatitude] = 48.8583;
    values[Parameter::GpsLongitude] = 2.2945;
    values[Parameter::GpsAltitude] = 35.0;
    values[Parameter::GpsAccuracy] = 1.0;
    values[Parameter::GpsBearing] = 0.0;
    values[Parameter::Accelerometer] = QStringLiteral("0|9.81|0");
    values[Parameter::Clipboard] = QString();
    values[Parameter::DeviceId] = QStringLiteral("[none]");
    values[Parameter::AndroidId] = QStringLiteral("9774d56d682e549c");
    values[Parameter::NetworkMode] = 0;
    values[Parameter::NetworkUpRate] = 0;
    values[Parameter::NetworkDownRate] = 0;
    values[Parameter::NetworkUpDelay] = 0;
    values[Parameter::NetworkDownDelay] = 0;
    values[Parameter::NetworkUpPktLoss] = 0.0;
    values[Parameter::NetworkDownPktLoss] = 0.0;
    values[Parameter::NetworkDnsDelay] = 0;

    capabilityOrder = QStringList{QStringLiteral("accelerometer"), QStringLiteral("battery"), QStringLiteral("gps"),
                       QStringLiteral("screencast"), QStringLiteral("remotectl"), QStringLiteral("camera"),
                       QStringLiteral("deviceid"), QStringLiteral("baseband"), QStringLiteral("network")};
    for (const QString &name : capabilityOrder)
        capabilities[name] = QStringLiteral("on");
}

DeviceState::Kind DeviceState::kind(Parameter::Type parameter)
{
    const ParameterInfo *info = findParameter(parameter);
    return info ? info->kind : Kind::Invalid;
}

bool DeviceState::isReadOnly(Parameter::Type parameter)
{
    return parameter == Parameter::AndroidVersion || parameter == Parameter::BuildNumber
           || parameter == Parameter::CalderwickVersion || parameter == Parameter::Capabilities;
}

QString DeviceState::parameterName(int parameter)
{
    if (parameter == Parameter::None)
        return QStringLiteral("None");
    const ParameterInfo *info = findParameter(parameter);
    return info ? QString::fromLatin1(info->name) : QString();
}

Parameter::Type DeviceState::parameterFromName(const QString &name)
{
    for (const ParameterInfo &info : Parameters) {
        if (name.compare(QLatin1String(info.name), Qt::CaseInsensitive) == 0)
            return info.type;
    }
    return Parameter::None;
}

QVariant DeviceState::value(Parameter::Type parameter) const
{
    if (parameter == Parameter::Capabilities)
        return capabilitiesText();
    return values.value(parameter);
}

bool DeviceState::setValue(Parameter::Type parameter, const QVariant &value, QString *reason)
{
    auto refuse = [reason](const QString &why) {
        if (reason)
            *reason = why;
        return false;
    };
    if (parameter == Parameter::Capabilities) {
        setCapabilitiesText(value.toString());
        return true;
    }
    bool ok = true;
    QVariant stored;
    switch (kind(parameter)) {
    case Kind::Invalid:
        return refuse(QStringLiteral("parameter %1 holds no value").arg(parameter));
    case Kind::Bool:
        if (value.userType() == QMetaType::QString) {
            const QString text = value.toString().toLower();
            ok = text == QLatin1String("true") || text == QLatin1String("false") || text == QLatin1String("1")
                 || text == QLatin1String("0");
            stored = text == QLatin1String("true") || text == QLatin1String("1");
        } else {
            stored = value.toBool();
        }
        break;
    case Kind::Int:
        stored = value.toString().toInt(&ok);
        break;
    case Kind::Float:
        stored = value.toString().toDouble(&ok);
        break;
    case Kind::String:
        stored = value.toString();
        break;
    }
    if (!ok)
        return refuse(QStringLiteral("\"%1\" is no value for %2").arg(value.toString(), parameterName(parameter)));
    if (parameter == Parameter::BatteryLevel && (stored.toInt() < 0 || stored.toInt() > 100))
        return refuse(QStringLiteral("battery level %1 is outside 0 to 100").arg(stored.toInt()));
    for (const GpsRange &range : GpsRanges) {
        const double number = stored.toDouble();
        if (range.type == parameter && !(number >= range.lowest && number <= range.highest))
            return refuse(QStringLiteral("%1 %2 is outside %3 to %4")
                              .arg(parameterName(parameter)).arg(number).arg(range.lowest).arg(range.highest));
    }
    if (parameter == Parameter::Accelerometer) {
        const QStringList parts = stored.toString().split(QLatin1Char('|'));
        double axes[3] = {0, 0, 0};
        bool numbers = parts.size() == 3;
        for (int i = 0; numbers && i < 3; ++i)
            axes[i] = parts[i].toDouble(&numbers);
        if (!numbers)
            return refuse(QStringLiteral("accelerometer text \"%1\" is not x|y|z").arg(stored.toString()));
        values[parameter] = stored;
        setGravity(axes[0], axes[1], axes[2]);
        return true;
    }
    if (parameter == Parameter::NetworkMode) {
        const int mode = stored.toInt();
        if (mode < 0 || mode > 8)
            return refuse(QStringLiteral("network mode %1 is outside 0 to 8").arg(mode));
        const NetworkProfile &profile = NetworkProfiles[mode];
        values[Parameter::NetworkUpRate] = profile.upRate;
        values[Parameter::NetworkDownRate] = profile.downRate;
        values[Parameter::NetworkUpDelay] = profile.upDelay;
        values[Parameter::NetworkDownDelay] = profile.downDelay;
        values[Parameter::NetworkUpPktLoss] = profile.upLoss;
        values[Parameter::NetworkDownPktLoss] = profile.downLoss;
        values[Parameter::NetworkDnsDelay] = profile.dnsDelay;
    }
    values[parameter] = stored;
    emit changed();
    return true;
}

void DeviceState::setVersions(const QString &androidVersion, const QString &systemVersion)
{
    values[Parameter::AndroidVersion] = androidVersion;
    values[Parameter::CalderwickVersion] = systemVersion;
}

QString DeviceState::capabilitiesText() const
{
    if (!rawCapabilities.isNull())
        return rawCapabilities;
    QStringList members;
    for (const QString &name : capabilityOrder)
        members << QStringLiteral("\"%1\" : \"%2\"").arg(name, capabilities.value(name));
    return QStringLiteral("{ ") + members.join(QStringLiteral(", ")) + QStringLiteral(" }");
}

void DeviceState::setCapability(const QString &name, bool on)
{
    if (!capabilityOrder.contains(name))
        capabilityOrder << name;
    capabilities[name] = on ? QStringLiteral("on") : QStringLiteral("off");
    rawCapabilities = QString();
    emit changed();
}

void DeviceState::setCapabilitiesText(const QString &text)
{
    rawCapabilities = text.isNull() ? QStringLiteral("") : text;
    emit changed();
}

void DeviceState::setConfiguredSize(const QSize &value)
{
    configSize = value;
    emit changed();
}

void DeviceState::addTrailPoint(const QPoint &point)
{
    if (touchTrails.isEmpty())
        return;
    QVector<QPoint> &points = touchTrails.last().points;
    if (points.size() < MaxTrailPoints)
        points << point;
}

void DeviceState::pressPrimary(const QPoint &point)
{
    primaryDown = true;
    if (touchTrails.size() == MaxTrails)
        touchTrails.removeFirst();
    touchTrails << Trail{{point}, false};
    emit changed();
}

void DeviceState::movePointer(const QPoint &point)
{
    if (!primaryDown)
        return;
    addTrailPoint(point);
    emit changed();
}

void DeviceState::releasePrimary(const QPoint &point)
{
    if (primaryDown)
        addTrailPoint(point);
    primaryDown = false;
    emit changed();
}

void DeviceState::pressMultiTouch(const QPoint &point)
{
    touches[nextTouch++] = point;
    if (touchTrails.size() == MaxTrails)
        touchTrails.removeFirst();
    touchTrails << Trail{{point}, true};
    emit changed();
}

void DeviceState::releaseMultiTouch(const QPoint &point)
{
    // The release names a position, not a finger: lift the nearest one.
    int nearest = -1;
    int best = 0;
    for (auto it = touches.cbegin(); it != touches.cend(); ++it) {
        const int distance = (it.value() - point).manhattanLength();
        if (nearest < 0 || distance < best) {
            nearest = it.key();
            best = distance;
        }
    }
    if (nearest >= 0)
        touches.remove(nearest);
    emit changed();
}

void DeviceState::scrollWheel(const QPoint &, int direction)
{
    wheel = direction;
    emit changed();
}

void DeviceState::appendTyped(const QString &text)
{
    typed += text;
    if (typed.size() > MaxTypedCharacters)
        typed.remove(0, typed.size() - MaxTypedCharacters);
}

void DeviceState::pressKey(int code)
{
    heldKeys << code;
    if (code == 14) {
        typed.chop(1);
    } else if (code == 28) {
        appendTyped(QStringLiteral("\n"));
    } else {
        const bool shift = heldKeys.contains(LeftShift);
        for (const KeyChars &key : UsLayout) {
            if (key.code == code) {
                appendTyped(QString(QLatin1Char(shift ? key.shifted : key.plain)));
                break;
            }
        }
    }
    emit changed();
}

void DeviceState::releaseKey(int code)
{
    heldKeys.removeOne(code);
    emit changed();
}

void DeviceState::setGravity(double x, double y, double z)
{
    gravity[0] = x;
    gravity[1] = y;
    gravity[2] = z;
    // As a phone does: the edge that gravity pulls down most becomes the bottom.
    if (qSqrt(x * x + y * y) >= FlatThreshold) {
        if (qAbs(x) > qAbs(y))
            rotation = x > 0 ? 90 : 270;
        else
            rotation = y > 0 ? 0 : 180;
    }
    emit changed();
}

void DeviceState::receiveModemCommand(const QString &line, const ModemCommand &command)
{
    basebandCommand = line;
    if (command.kind() == ModemCommand::Kind::Call) {
        callNumber = command.number();
    } else {
        smsSender = command.number();
        smsBody = command.text();
    }
    emit changed();
}

void DeviceState::setCameraName(const QString &direction, const QString &name)
{
    cameraNames.insert(direction, name);
    emit changed();
}

void DeviceState::setCameraFrame(const QString &direction, const QImage &frame)
{
    cameraFrames.insert(direction, frame);
    cameraFrameCounts[direction] += 1;
    emit changed();
}
