#pragma once

#include <QString>
#include <QVariantMap>

// Why a toolbar button is disabled, as bits of its reason mask; a mask of 0 means enabled.
namespace DisabledReason {
constexpr quint32 Capability = 1; // the device lacks the capability behind the button
}

// The mask after adding `reason`; unchanged unless every bit of `reason` is among the
// `possible` reasons fixed for the button.
quint32 withDisabledReason(quint32 mask, quint32 possible, quint32 reason);
// The mask with the bits of `reason` cleared.
quint32 withoutDisabledReason(quint32 mask, quint32 reason);

// Reads the device's capabilities text, an object of string values such as
// {"battery": "on", "gps": "off"}, into `map`. False, with a critical log line, for anything
// that is not an object (an array, a syntax error); `map` is then left as it was.
bool parseCapabilities(const QString &text, QVariantMap &map);

// True when `name` is in `map` with a value that reads "on" once trimmed and lowered.
// Logs the verdict at debug level.
bool capabilityEnabled(const QString &name, const QVariantMap &map);
