#include "logreader.h"
#include "testenvironment.h"
#include "vmtoolsengine.h"

#include <QMap>
#include <QRegularExpression>

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

private slots:
    void initTestCase();
    void init();

    void hostCheck_data();
    void hostCheck();
    void vendorTextStopsAtNul();
    void logLines_data();
    void logLines();
    void realProcessor();

private:
    std::unique_ptr<LogReader> m_log;
};

void TestVMToolsEngine::initTestCase()
{
    m_log = std::make_unique<LogReader>();
}

void TestVMToolsEngine::init()
{
    fakeLeaves.clear();
    m_log->clear();
}

void TestVMToolsEngine::hostCheck_data()
{
    QTest::addColumn<Leaves>("leaves");
    QTest::addColumn<QString>("vendor");
    QTest::addColumn<bool>("supported");

    const Registers intel = vendorLeaf(0x16, "Genu", "ineI", "ntel");
    const Registers amd = vendorLeaf(0x10, "Auth", "enti", "cAMD");
    const Registers extended{0x80000008u, 0, 0, 0};

    QTest::newRow("Intel with VMX")
        << Leaves{{0, intel}, {1, {0x906ea, 0, 0x7ffafbbf, 0xbfebfbff}}} << "GenuineIntel" << true;
    // SVM's bit and the extended leaves mean nothing on Intel.
    QTest::newRow("Intel without VMX")
        << Leaves{{0, intel}, {1, {0x906ea, 0, ~VmxBit, 0}}, {0x80000000u, extended},
                                     {0x80000001u, {0, 0, SvmBit, 0}}}
        << "GenuineIntel" << false;
    QTest::newRow("Intel without basic leaves")
        << Leaves{{0, vendorLeaf(0, "Genu", "ineI", "ntel")}, {1, {0, 0, VmxBit, 0}}}
        << "GenuineIntel" << false;
    QTest::newRow("AMD with SVM")
        << Leaves{{0, amd}, {0x80000000u, extended}, {0x80000001u, {0, 0, 0x75c237ff, 0}}}
        << "AuthenticAMD" << true;
    // VMX's bit in leaf 1 means nothing on AMD.
    QTest::newRow("AMD without SVM")
        << Leaves{{0, amd}, {1, {0, 0, VmxBit, 0}}, {0x80000000u, extended},
                                     {0x80000001u, {0, 0, ~SvmBit, 0}}}
        << "AuthenticAMD" << false;
    QTest::newRow("unknown vendor checked as AMD")
        << Leaves{{0, vendorLeaf(0xd, "Hygo", "nGen", "uine")},
                                     {0x80000000u, extended},
                                     {0x80000001u, {0, 0, SvmBit, 0}}}
        << "HygonGenuine" << true;
    QTest::newRow("lower-case Intel is another vendor")
        << Leaves{{0, vendorLeaf(0xd, "genu", "ineI", "ntel")}, {1, {0, 0, VmxBit, 0}}}
        << "genuineIntel" << false;
    // A processor without extended leaves may still answer garbage for 0x80000001.
    QTest::newRow("no extended leaves")
        << Leaves{{0, amd}, {0x80000000u, {0x80000000u, 0, 0, 0}},
                                     {0x80000001u, {0, 0, SvmBit, 0}}}
        << "AuthenticAMD" << false;
    QTest::newRow("extended leaf absent entirely")
        << Leaves{{0, amd}, {0x80000001u, {0, 0, SvmBit, 0}}} << "AuthenticAMD" << false;
    QTest::newRow("no CPUID at all") << Leaves{} << "" << false;
}

void TestVMToolsEngine::hostCheck()
{
    QFETCH(Leaves, leaves);
    QFETCH(QString, vendor);
    QFETCH(bool, supported);

    fakeLeaves = leaves;
    FakeEngine engine(fakeCpuid);
    QCOMPARE(engine.cpuVendor(), vendor);
    QCOMPARE(engine.virtualizationSupported(), supported);
    QVERIFY(m_log->contains(QStringLiteral("Chipset:")));
}

void TestVMToolsEngine::vendorTextStopsAtNul()
{
    fakeLeaves = {{0, vendorLeaf(1, "Ab\0c", "defg", "h\0\0i")}};
    FakeEngine engine(fakeCpuid);
    QCOMPARE(engine.cpuVendor(), QStringLiteral("Abdefgh"));
}

void TestVMToolsEngine::logLines_data()
{
    QTest::addColumn<Leaves>("leaves");
    QTest::addColumn<QString>("vendor");
    QTest::addColumn<QString>("cpuidLine"); // up to "ECX="
    QTest::addColumn<QString>("ecx");

    QTest::newRow("Intel") << Leaves{{0, vendorLeaf(0x16, "Genu", "ineI", "ntel")}, {1, {0, 0, 0x7ffafbbf, 0}}}
                           << "GenuineIntel" << "CPUID 0x1 (Intel): ECX=" << "7ffafbbf";
    QTest::newRow("AMD") << Leaves{{0, vendorLeaf(0x10, "Auth", "enti", "cAMD")},
                                   {0x80000000u, {0x8000001fu, 0, 0, 0}},
                                   {0x80000001u, {0, 0, 0x75c237ff, 0}}}
                         << "AuthenticAMD" << "CPUID 0x80000001 (AMD): ECX=" << "75c237ff";
    // Without extended leaves ECX stays 0.
    QTest::newRow("AMD without extended leaves") << Leaves{{0, vendorLeaf(0x10, "Auth", "enti", "cAMD")}}
                                                 << "AuthenticAMD" << "CPUID 0x80000001 (AMD): ECX=" << "0";
}

void TestVMToolsEngine::logLines()
{
    QFETCH(Leaves, leaves);
    QFETCH(QString, vendor);
    QFETCH(QString, cpuidLine);
    QFETCH(QString, ecx);

    fakeLeaves = leaves;
    FakeEngine engine(fakeCpuid);
    const QStringList messages = m_log->messages();
    QCOMPARE(messages.size(), 2);
    const QRegularExpression chipset(
        QStringLiteral("^\\[Debug\\] Chipset: %1$").arg(QRegularExpression::escape(vendor)));
    QVERIFY2(chipset.match(messages.at(0)).hasMatch(), qPrintable(messages.at(0)));
    const QRegularExpression cpuid(QStringLiteral("^\\[Debug\\] %1 ?%2$")
                                       .arg(QRegularExpression::escape(cpuidLine), ecx),
                                   QRegularExpression::CaseInsensitiveOption);
    QVERIFY2(cpuid.match(messages.at(1)).hasMatch(), qPrintable(messages.at(1)));
}

void TestVMToolsEngine::realProcessor()
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

CALDERWICK_TEST_MAIN(TestVMToolsEngine)
#include "tst_vmtoolsengine.moc"
