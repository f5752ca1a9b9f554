// The driver of the fuzz targets in the normal build: every file given (or found in a folder
// given) goes through the target as it is, then as a fixed series of mutations - bytes
// flipped, cut short, spliced with another seed, lengths overwritten with extreme values - so
// that a plain CTest run already throws malformed input at each parser. The series is fixed:
// a failure repeats on the next run, and the input that crashed is written out.

#include <QByteArray>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace {

constexpr int MutationsPerSeed = 400;
constexpr qint64 MaxSeedBytes = 4 * 1024 * 1024;

QByteArray mutate(const QByteArray &seed, const QByteArray &other, QRandomGenerator &random)
{
    QByteArray out = seed;
    const int steps = 1 + int(random.bounded(4));
    for (int s = 0; s < steps; ++s) {
        const int size = out.size();
        switch (random.bounded(7)) {
        case 0: // flip a bit
            if (size > 0) {
                const int at = int(random.bounded(size));
                out[at] = char(out.at(at) ^ (1 << random.bounded(8)));
            }
            break;
        case 1: // cut short
            if (size > 0)
                out.truncate(int(random.bounded(size)));
            break;
        case 2: // a random byte somewhere
            if (size > 0)
                out[int(random.bounded(size))] = char(random.bounded(256));
            break;
        case 3: { // an extreme 32-bit value where a length or count may sit
            static const quint32 extremes[] = {0, 1, 0x7f, 0x80, 0xff, 0xffff, 0x7fffffff, 0x80000000, 0xffffffff};
            if (size >= 4) {
                const quint32 v = extremes[random.bounded(int(sizeof extremes / sizeof *extremes))];
                const int at = int(random.bounded(size - 3));
                for (int i = 0; i < 4; ++i)
                    out[at + i] = char(v >> (8 * i));
            }
            break;
        }
        case 4: // repeat a slice
            if (size > 0) {
                const int from = int(random.bounded(size));
                const int len = int(random.bounded(qMin(size - from, 64) + 1));
                out.insert(int(random.bounded(size + 1)), out.mid(from, len));
            }
            break;
        case 5: // splice with another seed
            if (!other.isEmpty())
                out = out.left(size > 0 ? int(random.bounded(size)) : 0) +
                      other.mid(int(random.bounded(other.size())));
            break;
        default: // drop a slice
            if (size > 0) {
                const int from = int(random.bounded(size));
                out.remove(from, int(random.bounded(size - from) + 1));
            }
            break;
        }
    }
    return out;
}

// The input under test, written out by the crash handler so that a failure can be replayed.
const QByteArray *current = nullptr;

void writeCurrentInput(int sig)
{
    if (current) {
        const int fd = ::open("fuzz-crash-input", O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (fd >= 0) {
            const ssize_t written = ::write(fd, current->constData(), size_t(current->size()));
            Q_UNUSED(written)
            ::close(fd);
        }
        static const char note[] = "fuzzreplay: crashed; input written to fuzz-crash-input\n";
        const ssize_t said = ::write(2, note, sizeof note - 1);
        Q_UNUSED(said)
    }
    ::signal(sig, SIG_DFL);
    ::raise(sig);
}

void run(const QByteArray &input)
{
    current = &input;
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(input.constData()), size_t(input.size()));
    current = nullptr;
}

} // namespace

int main(int argc, char **argv)
{
    for (int sig : {SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL})
        ::signal(sig, writeCurrentInput);
    std::vector<QByteArray> seeds;
    for (int i = 1; i < argc; ++i) {
        const QString arg = QString::fromLocal8Bit(argv[i]);
        QStringList files;
        if (QFileInfo(arg).isDir()) {
            QDirIterator it(arg, QDir::Files, QDirIterator::Subdirectories);
            while (it.hasNext())
                files << it.next();
            files.sort();
        } else {
            files << arg;
        }
        for (const QString &path : files) {
            QFile file(path);
            if (file.size() > MaxSeedBytes || !file.open(QIODevice::ReadOnly)) {
                std::fprintf(stderr, "fuzzreplay: cannot use %s\n", qPrintable(path));
                return 2;
            }
            seeds.push_back(file.readAll());
        }
    }
    seeds.push_back(QByteArray()); // the empty input, always

    QRandomGenerator random(0x43574b21);
    size_t runs = 0;
    for (size_t i = 0; i < seeds.size(); ++i) {
        run(seeds[i]);
        ++runs;
        const QByteArray &other = seeds[(i + 1) % seeds.size()];
        for (int m = 0; m < MutationsPerSeed; ++m, ++runs)
            run(mutate(seeds[i], other, random));
    }
    std::printf("fuzzreplay: %zu seeds, %zu inputs, no failure\n", seeds.size(), runs);
    return 0;
}
