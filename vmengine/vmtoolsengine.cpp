#include "vmtoolsengine.h"

#include <QDebug>

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif

namespace {

void hostCpuid(unsigned leaf, unsigned regs[4])
{
#if defined(__x86_64__) || defined(__i386__)
    __cpuid(leaf, regs[0], regs[1], regs[2], regs[3]);
#else
    // Other processors have no CPUID: no vendor, no feature.
    Q_UNUSED(leaf);
    regs[0] = regs[1] = regs[2] = regs[3] = 0;
#endif
}

// Four register bytes as text, stopping at a NUL.
QString registerText(unsigned value)
{
    char bytes[5] = {char(value & 0xff), char((value >> 8) & 0xff), char((value >> 16) & 0xff),
                     char((value >> 24) & 0xff), 0};
    return QString::fromLatin1(bytes);
}

} // namespace

VMToolsEngine::VMToolsEngine()
{
    inspectHost(hostCpuid);
}

VMToolsEngine::VMToolsEngine(CpuidFunction cpuid)
{
    inspectHost(cpuid);
}

void VMToolsEngine::inspectHost(CpuidFunction cpuid)
{
    unsigned regs[4] = {0, 0, 0, 0};
    cpuid(0, regs);
    m_cpuVendor = registerText(regs[1]) + registerText(regs[3]) + registerText(regs[2]);
    qDebug().noquote() << "Chipset:" << m_cpuVendor;

    unsigned ecx = 0;
    if (m_cpuVendor == QLatin1String("GenuineIntel")) {
        unsigned leaf0[4] = {0, 0, 0, 0};
        cpuid(0, leaf0);
        if (leaf0[0] != 0) {
            unsigned leaf1[4] = {0, 0, 0, 0};
            cpuid(1, leaf1);
            ecx = leaf1[2];
        }
        qDebug().noquote() << "CPUID 0x1 (Intel): ECX=" << QString::number(ecx, 16);
        m_virtualizationSupported = (ecx >> 5) & 1u; // VMX
    } else {
        unsigned ext[4] = {0, 0, 0, 0};
        cpuid(0x80000000u, ext);
        if (ext[0] > 0x80000000u) {
            unsigned ext1[4] = {0, 0, 0, 0};
            cpuid(0x80000001u, ext1);
            ecx = ext1[2];
        }
        qDebug().noquote() << "CPUID 0x80000001 (AMD): ECX=" << QString::number(ecx, 16);
        m_virtualizationSupported = (ecx >> 2) & 1u; // SVM
    }
}
