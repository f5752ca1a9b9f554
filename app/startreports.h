#pragma once

#include <QString>
#include <QStringList>

// Texts of the start failure reports: translated keys joined by "<br><br>", some ending
// in a link to the support site. Pure, so the wording can be tested without a box.
namespace StartReports {

// "<a href='URL'><font color='#FFF'>URL</font></a>" for the support site's root plus path.
QString link(const QString &helpPath);
// The support site's root address, the "support.root" setting.
QString supportRoot();

QString engineMissing();
QString incompatibleState();
QString noAddress();
QString noSuchDevice();
QString hardwareAcceleration();
QString networkAdapter();
QString startFailed();
QString cpuIncompatible();
QString cannotReduceCpu();
// cpuHasFeature: the processor offers virtualization, so the firmware must be hiding it.
QString virtualizationMissing(bool cpuHasFeature);

} // namespace StartReports
