// EventManager: one thin operation per device parameter, each a log line and a plain result.

#include "eventmanager.h"

#include <QDebug>

using Calderwick::Parameter;

namespace {

// Only Ok is success for the operations of this file, unless they say otherwise.
bool failed(ReplyCode code)
{
    if (code == ReplyCode::Ok)
        return false;
    qCritical() << CalderwickClient::errorText(code);
    return true;
}

// The battery and GPS setters also take OkWithInformation, and log the device's notice.
bool setWithNotice(ReplyCode code, const QString &line, const QString &noticeLine, const QString &noticePrefix,
                   const QString &description)
{
    if (code == ReplyCode::OkWithInformation) {
        qDebug().noquote() << noticeLine;
        qDebug().noquote() << noticePrefix << description;
        return true;
    }
    if (failed(code))
        return false;
    qDebug().noquote() << line;
    return true;
}

QString number(double value)
{
    return QString::number(value, 'g', 10);
}

} // namespace

bool EventManager::batteryGetMode()
{
    bool manual = false;
    if (failed(client.getBatteryMode(manual)))
        return false;
    qDebug().noquote() << "Battery get mode:" << (manual ? "manual" : "host");
    return manual;
}

bool EventManager::batterySetMode(bool manual)
{
    QString description;
    const QString word = manual ? QStringLiteral("true") : QStringLiteral("false");
    return setWithNotice(client.setBatteryMode(manual, &description), QStringLiteral("Battery set mode: ") + word,
                         QStringLiteral("Battery set mode to: ") + word, QStringLiteral("Battery set mode:"),
                         description);
}

int EventManager::batteryGetLevel()
{
    int level = -1;
    if (failed(client.getBatteryLevel(level)))
        return -1;
    qDebug().noquote() << "Battery get level:" << QStringLiteral("%1%").arg(level);
    return level;
}

bool EventManager::batterySetLevel(int level)
{
    // Unsigned, so that a negative level is out of range too.
    if (static_cast<unsigned>(level) >= 101u) {
        qDebug() << "Battery level must be a number between 0 and 100";
        return false;
    }
    QString description;
    return setWithNotice(client.setBatteryLevel(level, &description),
                         QStringLiteral("Battery level set to: %1%").arg(level),
                         QStringLiteral("Battery set level to: %1%").arg(level), QStringLiteral("Battery set level:"),
                         description);
}

QString EventManager::batteryGetStatus()
{
    QString status;
    if (failed(client.getBatteryStatus(status)))
        return QString();
    // A two-word status ("Not charging") arrives as one word.
    status.remove(QLatin1Char(' '));
    qDebug().noquote() << "Battery get status:" << status;
    return status;
}

bool EventManager::batterySetStatus(const QString &status)
{
    QString description;
    return setWithNotice(client.setBatteryStatus(status, &description), QStringLiteral("Battery set status : ") + status,
                         QStringLiteral("Battery set status : ") + status, QStringLiteral("Battery set status:"),
                         description);
}

bool EventManager::gpsSetStatus(bool enabled)
{
    QString description;
    const QString word = enabled ? QStringLiteral("enabled") : QStringLiteral("disabled");
    return setWithNotice(client.setGpsStatus(enabled, &description), QStringLiteral("Gps reception set to: ") + word,
                         QStringLiteral("Gps reception set to: ") + word, QStringLiteral("Gps set status info:"),
                         description);
}

bool EventManager::gpsSet(Parameter::Type parameter, double value, const char *line, const char *infoLine)
{
    QString description;
    const QString text = QLatin1String(line) + number(value);
    return setWithNotice(client.setGpsValue(parameter, value, &description), text, text,
                         QString::fromLatin1(infoLine).trimmed(), description);
}

bool EventManager::gpsSetLatitude(double value)
{
    return gpsSet(Parameter::GpsLatitude, value, "Gps latitude set to: ", "Gps set latitude info: ");
}

bool EventManager::gpsSetLongitude(double value)
{
    return gpsSet(Parameter::GpsLongitude, value, "Gps longitude set to: ", "Gps set longitude info: ");
}

bool EventManager::gpsSetAltitude(double value)
{
    return gpsSet(Parameter::GpsAltitude, value, "Gps altitude set to: ", "Gps set altitude info: ");
}

bool EventManager::gpsSetAccuracy(double value)
{
    return gpsSet(Parameter::GpsAccuracy, value, "Gps accuracy set to: ", "Gps set accuracy info: ");
}

bool EventManager::gpsSetBearing(double value)
{
    return gpsSet(Parameter::GpsBearing, value, "Gps bearing set to: ", "Gps set bearing info: ");
}

bool EventManager::gpsGetAll(GpsInfo &info)
{
    if (failed(client.getGpsStatus(info.reception)))
        return false;
    qDebug().noquote() << "Gps reception is" << (info.reception ? "enabled" : "disabled");
    const struct
    {
        Parameter::Type parameter;
        double *target;
        const char *line;
    } values[] = {
        {Parameter::GpsLatitude, &info.latitude, "Gps latitude is"},
        {Parameter::GpsLongitude, &info.longitude, "Gps longitude is"},
        {Parameter::GpsAltitude, &info.altitude, "Gps altitude is"},
        {Parameter::GpsAccuracy, &info.accuracy, "Gps accuracy is"},
        {Parameter::GpsBearing, &info.bearing, "Gps bearing is"},
    };
    for (const auto &value : values) {
        if (failed(client.getGpsValue(value.parameter, *value.target)))
            return false;
        qDebug().noquote() << value.line << number(*value.target);
    }
    return true;
}

QString EventManager::getDeviceId()
{
    QString id;
    if (failed(client.getDeviceId(id)))
        return QString();
    // "[none]" is how the wire says that no id is set.
    if (id == QLatin1String("[none]"))
        id.clear();
    qDebug().noquote() << "Getting device ID:" << id;
    return id;
}

bool EventManager::setDeviceId(const QString &id)
{
    if (failed(client.setDeviceId(id.isEmpty() ? QStringLiteral("[none]") : id)))
        return false;
    qDebug().noquote() << "Setting device ID:" << id;
    return true;
}

QString EventManager::getAndroidId()
{
    QString id;
    if (failed(client.getAndroidId(id)))
        return QString();
    qDebug().noquote() << "Getting Android ID:" << id;
    return id;
}

bool EventManager::setAndroidId(const QString &id)
{
    if (failed(client.setAndroidId(id)))
        return false;
    qDebug().noquote() << "Setting Android ID:" << id;
    return true;
}

int EventManager::networkInt(Parameter::Type parameter, const char *line)
{
    QVariant value;
    if (failed(client.getNetworkValue(parameter, value)))
        return -1;
    qDebug().noquote() << line << value.toInt();
    return value.toInt();
}

float EventManager::networkLoss(Parameter::Type parameter, const char *line)
{
    QVariant value;
    if (failed(client.getNetworkValue(parameter, value)))
        return -1.0f;
    qDebug().noquote() << line << value.toFloat();
    return value.toFloat();
}

bool EventManager::networkSet(Parameter::Type parameter, const QVariant &value, const char *line)
{
    if (failed(client.setNetworkValue(parameter, value)))
        return false;
    qDebug().noquote() << line << value.toString();
    return true;
}

int EventManager::getNetworkMode()
{
    return networkInt(Parameter::NetworkMode, "Getting Network Profile:");
}

int EventManager::getNetworkUpRate()
{
    return networkInt(Parameter::NetworkUpRate, "Getting up rate:");
}

int EventManager::getNetworkDownRate()
{
    return networkInt(Parameter::NetworkDownRate, "Getting down rate:");
}

int EventManager::getNetworkUpDelay()
{
    return networkInt(Parameter::NetworkUpDelay, "Getting up delay:");
}

int EventManager::getNetworkDownDelay()
{
    return networkInt(Parameter::NetworkDownDelay, "Getting down delay:");
}

float EventManager::getNetworkUpPktLoss()
{
    return networkLoss(Parameter::NetworkUpPktLoss, "Getting up packet losses:");
}

float EventManager::getNetworkDownPktLoss()
{
    return networkLoss(Parameter::NetworkDownPktLoss, "Getting down packet losses:");
}

int EventManager::getNetworkDnsDelay()
{
    return networkInt(Parameter::NetworkDnsDelay, "Getting DNS delay:");
}

bool EventManager::setNetworkMode(int mode)
{
    return networkSet(Parameter::NetworkMode, mode, "Setting Network Mode:");
}

bool EventManager::setNetworkUpRate(int rate)
{
    return networkSet(Parameter::NetworkUpRate, rate, "Setting Network Up rate:");
}

bool EventManager::setNetworkDownRate(int rate)
{
    // The same words as the up rate, kept as the log has always read.
    return networkSet(Parameter::NetworkDownRate, rate, "Setting Network Up rate:");
}

bool EventManager::setNetworkUpDelay(int delay)
{
    return networkSet(Parameter::NetworkUpDelay, delay, "Setting Network Up delay:");
}

bool EventManager::setNetworkDownDelay(int delay)
{
    return networkSet(Parameter::NetworkDownDelay, delay, "Setting Network Down delay:");
}

bool EventManager::setNetworkUpPktLoss(double loss)
{
    return networkSet(Parameter::NetworkUpPktLoss, loss, "Setting Network Up packet loss:");
}

bool EventManager::setNetworkDownPktLoss(double loss)
{
    return networkSet(Parameter::NetworkDownPktLoss, loss, "Setting Network Down packet loss:");
}

bool EventManager::setNetworkDnsDelay(int delay)
{
    return networkSet(Parameter::NetworkDnsDelay, delay, "Setting Network DNS delay:");
}

bool EventManager::basebandCall(const QString &number)
{
    return !failed(client.basebandCall(number));
}

bool EventManager::basebandSendSms(const QString &number, const QString &text)
{
    return !failed(client.basebandSendSms(number, text));
}
