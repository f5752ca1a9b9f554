#include "startreports.h"

#include "settings.h"

#include <QCoreApplication>

namespace {

QString tr(const char *key)
{
    return QCoreApplication::translate("PlayerApp", key);
}

QString joined(std::initializer_list<const char *> keys)
{
    QStringList texts;
    for (const char *key : keys)
        texts << tr(key);
    return texts.join(QStringLiteral("<br><br>"));
}

QString withLink(const QString &text, const char *helpPath)
{
    return text + QStringLiteral("<p>") + StartReports::link(QLatin1String(helpPath)) + QStringLiteral("</p>");
}

} // namespace

namespace StartReports {

QString supportRoot()
{
    return settingsValue(QStringLiteral("support.root"), QStringLiteral("https://www.brackenlea.com/")).toString();
}

QString link(const QString &helpPath)
{
    const QString address = supportRoot() + helpPath;
    return QStringLiteral("<a href='") + address + QStringLiteral("'><font color='#FFF'>") + address
           + QStringLiteral("</font></a>");
}

QString engineMissing()
{
    return withLink(joined({QT_TRANSLATE_NOOP("PlayerApp", "Unable to load VirtualBox engine."),
                            QT_TRANSLATE_NOOP("PlayerApp", "Make sure vbox installed."),
                            QT_TRANSLATE_NOOP("PlayerApp", "error.more.information")}),
                    "#!/support?chapter=vbox#faq");
}

QString incompatibleState()
{
    return withLink(joined({QT_TRANSLATE_NOOP("PlayerApp", "error.run.virtual.device"),
                            QT_TRANSLATE_NOOP("PlayerApp", "error.run.virtual.device.virtualbox.incompatible.state"),
                            QT_TRANSLATE_NOOP("PlayerApp", "error.check.virtual.device.from.virtualbox"),
                            QT_TRANSLATE_NOOP("PlayerApp", "error.more.information")}),
                    "#!/support?chapter=vbox#faq");
}

QString noAddress()
{
    return withLink(joined({QT_TRANSLATE_NOOP("PlayerApp", "error.run.virtual.device"),
                            QT_TRANSLATE_NOOP("PlayerApp", "error.run.virtual.no.ip.address"),
                            QT_TRANSLATE_NOOP("PlayerApp", "error.unknown.reason.no.ip.address.attributed"),
                            QT_TRANSLATE_NOOP("PlayerApp", "error.more.help")}),
                    "#!/support?chapter=collapse-nostart#faq");
}

QString noSuchDevice()
{
    return joined({QT_TRANSLATE_NOOP("PlayerApp", "error.run.virtual.device"),
                   QT_TRANSLATE_NOOP("PlayerApp", "error.run.no.such.device")});
}

QString hardwareAcceleration()
{
    return withLink(joined({QT_TRANSLATE_NOOP("PlayerApp", "error.run.virtual.device"),
                            QT_TRANSLATE_NOOP("PlayerApp", "error.run.cant.set.hardware.acceleration"),
                            QT_TRANSLATE_NOOP("PlayerApp", "check.log.files.and.see.faq.log.files")}),
                    "#!/support?chapter=collapse-logs#faq");
}

QString networkAdapter()
{
    return joined({QT_TRANSLATE_NOOP("PlayerApp", "error.run.virtual.device"),
                   QT_TRANSLATE_NOOP("PlayerApp", "error.run.cant.configure.network.adapter"),
                   QT_TRANSLATE_NOOP("PlayerApp", "error.run.check.following.points")})
           + QStringLiteral("<ul><li>") + tr(QT_TRANSLATE_NOOP("PlayerApp", "error.run.check.vbox.host.only.adapter"))
           + QStringLiteral("</li><li>")
           + tr(QT_TRANSLATE_NOOP("PlayerApp", "error.run.check.virtual.device.configure.to.use.host.private.network"))
           + QStringLiteral("</li></ul>");
}

QString startFailed()
{
    return withLink(joined({QT_TRANSLATE_NOOP("PlayerApp", "error.run.virtual.device"),
                            QT_TRANSLATE_NOOP("PlayerApp", "error.run.unable.to.run.virtual.device.from.virtual.box"),
                            QT_TRANSLATE_NOOP("PlayerApp", "try.to.run.from.virtual.box.to.check.issue"),
                            QT_TRANSLATE_NOOP("PlayerApp", "check.log.files.and.see.faq.log.files")}),
                    "#!/support?chapter=collapse-logs#faq");
}

QString cpuIncompatible()
{
    return withLink(joined({QT_TRANSLATE_NOOP("PlayerApp", "error.run.virtual.device"),
                            QT_TRANSLATE_NOOP("PlayerApp", "error.run.unable.to.run.virtual.device.from.virtual.box"),
                            QT_TRANSLATE_NOOP("PlayerApp", "it.looks.like.your.cpu.is.incompatible"),
                            QT_TRANSLATE_NOOP("PlayerApp", "check.log.files.and.see.faq.log.files")}),
                    "#!/support?chapter=collapse-logs#faq");
}

QString cannotReduceCpu()
{
    return joined({QT_TRANSLATE_NOOP("PlayerApp", "cant.set.proc.number"),
                   QT_TRANSLATE_NOOP("PlayerApp", "we.were.not.able.to.reduce.the.number.of.cpu.of.your.virtual.device"),
                   QT_TRANSLATE_NOOP("PlayerApp", "try.set.it.manualy.via.virtualbox")});
}

QString virtualizationMissing(bool cpuHasFeature)
{
    const QString text =
        cpuHasFeature
            ? joined({QT_TRANSLATE_NOOP("PlayerApp", "warning.cpu.count.force"),
                      QT_TRANSLATE_NOOP("PlayerApp", "virtualization.technology.not.available.in.your.bios"),
                      QT_TRANSLATE_NOOP("PlayerApp", "try.activate.it.and.recreate.virtual.device.to.use.multiple.processor"),
                      QT_TRANSLATE_NOOP("PlayerApp", "see.faq.bios.informations")})
            : joined({QT_TRANSLATE_NOOP("PlayerApp", "warning.cpu.count.force"),
                      QT_TRANSLATE_NOOP("PlayerApp", "virtualization.technology.not.available.in.your.cpu"),
                      QT_TRANSLATE_NOOP("PlayerApp", "you.wont.be.able.to.use.multiple.processor"),
                      QT_TRANSLATE_NOOP("PlayerApp", "see.faq.bios.informations")});
    return withLink(text, "#!/support?chapter=collapse-perfs#faq");
}

} // namespace StartReports
