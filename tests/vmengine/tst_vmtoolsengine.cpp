#include "logreader.h"
#include "testenvironment.h"
#include "vmtoolsengine.h"

#include <QMap>

#include <array>
#include <memory>

namespace {

using Registers = std::array<unsigned, 4>; // EAX, EBX, ECX, EDX

using Leaves = QMap<unsigned, Registers>;

// The processor the fake CPUID answers for; leaves not listed answer zeros.
Leaves fakeLeaves;

void fakeCpuid(unsigned leaf, unsigned regs[4])
{
    const Registers values = fakeLeaves.value(leaf, Registers{0, 0, 0, 0});
    for (int i = 0; i < 4; ++i)
        regs[i] = values[i];
}

// Four characters as CPUID returns them in a register, first character in the low byte.
unsigned textRegister(const char (&text)[5])
{
    return unsigned(uchar(text[0])) | unsigned(uchar(text[1])) << 8 | unsigned(uchar(text[2])) << 16
           | unsigned(uchar(text[3])) << 24;
}

// Leaf 0 of a processor whose vendor text is ebx + edx + ecx.
Registers vendorLeaf(unsigned maxLeaf, const char (&ebx)[5], const char (&edx)[5], const char (&ecx)[5])
{
    return Registers{maxLeaf, textRegister(ebx), textRegister(ecx), textRegister(edx)};
}

const unsigned VmxBit = 1u << 5;
const unsigned SvmBit = 1u << 2;

class FakeEngine : public VMToolsEngine
{
public:
    FakeEngine() = default;
    explicit FakeEngine(CpuidFunction cpuid) : VMToolsEngine(cpuid) {}

    bool init() override { return true; }
    void shutdown() override {}
    QString version() override { return QString(); }
    bool configure() override { return true; }
    VMToolsMachine *machine(const QString &) override { return nullptr; }
    QString hostOnlyInterface() override { return QString(); }
    int start(VMToolsMachine *, int) override { return 0; }
    bool stop(VMToolsMachine *) override { return false; }
    bool startAndStop(VMToolsMachine *) override { return false; }
    void checkInterface() override {}
};

} // namespace

Q_DECLARE_METATYPE(Leaves)

class TestVMToolsEngine : public QObject
{
    Q_OBJECT

    std::unique_ptr<LogReader> m_log;

private slots:
    void initTestCase() { m_log = std::make_unique<LogReader>(); }
    void init() { m_log->clear(); }

    void hostCheck_data()
    {
        QTest::addColumn<Leaves>("leaves");
        QTest::addColumn<QString>("vendor");
        QTest::addColumn<bool>("supported");
        QTest::addColumn<QString>("cpuidLine"); // the second log line, "" for any

        const Registers intel = vendorLeaf(0x16, "Genu", "ineI", "ntel");
        const Registers amd = vendorLeaf(0x10, "Auth", "enti", "cAMD");
        const Registers extended{0x80000008u, 0, 0, 0};

        QTest::newRow("Intel with VMX") << Leaves{{0, intel}, {1, {0x906ea, 0, 0x7ffafbbf, 0xbfebfbff}}} << "GenuineIntel"
                                        << true << "CPUID 0x1 (Intel): ECX=7ffafbbf";
        // SVM's bit and the extended leaves mean nothing on Intel.
        QTest::newRow("Intel without VMX")
            << Leaves{{0, intel}, {1, {0x906ea, 0, ~VmxBit, 0}}, {0x80000000u, extended}, {0x80000001u, {0, 0, SvmBit, 0}}}
            << "GenuineIntel" << false << "";
        QTest::newRow("Intel without basic leaves") << Leaves{{0, vendorLeaf(0, "Genu", "ineI", "ntel")}, {1, {0, 0, VmxBit, 0}}}
                                                    << "GenuineIntel" << false << "";
        QTest::newRow("AMD with SVM") << Leaves{{0, amd}, {0x80000000u, extended}, {0x80000001u, {0, 0, 0x75c237ff, 0}}}
                                      << "AuthenticAMD" << true << "CPUID 0x80000001 (AMD): ECX=75c237ff";
        // VMX's bit in leaf 1 means nothing on AMD.
        QTest::newRow("AMD without SVM")
            << Leaves{{0, amd}, {1, {0, 0, VmxBit, 0}}, {0x80000000u, extended}, {0x80000001u, {0, 0, ~SvmBit, 0}}}
            << "AuthenticAMD" << false << "";
        QTest::newRow("unknown vendor checked as AMD")
            << Leaves{{0, vendorLeaf(0xd, "Hygo", "nGen", "uine")}, {0x80000000u, extended}, {0x80000001u, {0, 0, SvmBit, 0}}}
            << "HygonGenuine" << true << "";
        QTest::newRow("lower-case Intel is another vendor")
            << Leaves{{0, vendorLeaf(0xd, "genu", "ineI", "ntel")}, {1, {0, 0, VmxBit, 0}}} << "genuineIntel" << false << "";
        // A processor without extended leaves may still answer garbage for 0x80000001; ECX stays 0.
        QTest::newRow("no extended leaves")
            << Leaves{{0, amd}, {0x80000000u, {0x80000000u, 0, 0, 0}}, {0x80000001u, {0, 0, SvmBit, 0}}}
            << "AuthenticAMD" << false << "CPUID 0x80000001 (AMD): ECX=0";
        QTest::newRow("extended leaf absent entirely") << Leaves{{0, amd}, {0x80000001u, {0, 0, SvmBit, 0}}}
                                                       << "AuthenticAMD" << false << "";
        QTest::newRow("vendor text stops at NUL") << Leaves{{0, vendorLeaf(1, "Ab\0c", "defg", "h\0\0i")}} << "Abdefgh"
                                                  << false << "";
        QTest::newRow("no CPUID at all") << Leaves{} << "" << false << "";
    }

    void hostCheck()
    {
        QFETCH(Leaves, leaves);
        QFETCH(QString, vendor);
        QFETCH(bool, supported);
        QFETCH(QString, cpuidLine);
        fakeLeaves = leaves;
        FakeEngine engine(fakeCpuid);
        QCOMPARE(engine.cpuVendor(), vendor);
        QCOMPARE(engine.virtualizationSupported(), supported);
        const QStringList messages = m_log->messages();
        QCOMPARE(messages.size(), 2);
        QCOMPARE(messages.at(0).trimmed(), QStringLiteral("[Debug] Chipset: %1").arg(vendor).trimmed());
        if (!cpuidLine.isEmpty())
            QCOMPARE(messages.at(1).toLower().remove(QLatin1Char(' ')), (QStringLiteral("[Debug]") + cpuidLine).toLower().remove(QLatin1Char(' ')));
    }

    void realProcessor()
    {
#if defined(__x86_64__) || defined(__i386__)
        FakeEngine engine;
        QVERIFY(!engine.cpuVendor().isEmpty());
        QVERIFY(engine.cpuVendor().size() <= 12);
        QVERIFY(m_log->contains(QStringLiteral("Chipset:")));
        QVERIFY(m_log->contains(QStringLiteral("CPUID 0x")));
#else
        QSKIP("the host check reads CPUID on x86 only");
#endif
    }
};

CALDERWICK_TEST_MAIN(TestVMToolsEngine)
#include "tst_vmtoolsengine.moc"
