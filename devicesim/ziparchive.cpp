#include "ziparchive.h"

#include <QIODevice>
#include <QtEndian>

#include <zlib.h>

namespace {

constexpr quint32 EndSignature = 0x06054b50;
constexpr quint32 CentralSignature = 0x02014b50;
constexpr quint32 LocalSignature = 0x04034b50;
constexpr int EndSize = 22;
constexpr int CentralSize = 46;
constexpr int LocalSize = 30;

quint16 u16(const char *at) { return qFromLittleEndian<quint16>(at); }
quint32 u32(const char *at) { return qFromLittleEndian<quint32>(at); }

QDateTime dosTime(quint16 time, quint16 date)
{
    return QDateTime(QDate(1980 + (date >> 9), (date >> 5) & 0xf, date & 0x1f),
                     QTime((time >> 11) & 0x1f, (time >> 5) & 0x3f, (time & 0x1f) * 2));
}

bool fail(QString *error, const QString &reason)
{
    if (error)
        *error = reason;
    return false;
}

bool inflateRaw(const QByteArray &input, quint32 size, QByteArray *output)
{
    output->resize(static_cast<int>(size));
    z_stream stream{};
    if (inflateInit2(&stream, -MAX_WBITS) != Z_OK)
        return false;
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(input.constData()));
    stream.avail_in = static_cast<uInt>(input.size());
    stream.next_out = reinterpret_cast<Bytef *>(output->data());
    stream.avail_out = size;
    const int result = inflate(&stream, Z_FINISH);
    const bool whole = result == Z_STREAM_END && stream.total_out == size;
    inflateEnd(&stream);
    return whole;
}

} // namespace

bool ZipArchive::open(QIODevice *device, QString *error)
{
    source = device;
    list.clear();
    const qint64 total = device->size();
    if (total < EndSize)
        return fail(error, QStringLiteral("too short for a zip file"));
    const qint64 tailSize = qMin<qint64>(total, EndSize + 0xffff);
    if (!device->seek(total - tailSize))
        return fail(error, device->errorString());
    const QByteArray tail = device->read(tailSize);
    int end = -1;
    for (int at = tail.size() - EndSize; at >= 0 && end < 0; --at) {
        if (u32(tail.constData() + at) == EndSignature)
            end = at;
    }
    if (end < 0)
        return fail(error, QStringLiteral("no end of central directory"));
    const char *record = tail.constData() + end;
    const quint16 count = u16(record + 10);
    const quint32 directorySize = u32(record + 12);
    const quint32 directoryOffset = u32(record + 16);
    if (directorySize > MaxDirectorySize || qint64(directoryOffset) + directorySize > total)
        return fail(error, QStringLiteral("central directory out of bounds"));
    if (!device->seek(directoryOffset))
        return fail(error, device->errorString());
    const QByteArray directory = device->read(directorySize);
    if (directory.size() != int(directorySize))
        return fail(error, QStringLiteral("central directory cut short"));
    int at = 0;
    for (int i = 0; i < count; ++i) {
        if (directory.size() - at < CentralSize || u32(directory.constData() + at) != CentralSignature)
            return fail(error, QStringLiteral("damaged central directory entry %1").arg(i));
        const char *head = directory.constData() + at;
        const int nameLength = u16(head + 28);
        const int variable = nameLength + u16(head + 30) + u16(head + 32);
        if (directory.size() - at - CentralSize < variable)
            return fail(error, QStringLiteral("central directory entry %1 cut short").arg(i));
        Entry entry;
        entry.method = u16(head + 10);
        entry.modified = dosTime(u16(head + 12), u16(head + 14));
        entry.compressedSize = u32(head + 20);
        entry.size = u32(head + 24);
        entry.localOffset = u32(head + 42);
        entry.name = directory.mid(at + CentralSize, nameLength);
        list << entry;
        at += CentralSize + variable;
    }
    return true;
}

int ZipArchive::find(const QByteArray &name) const
{
    for (int i = 0; i < list.size(); ++i) {
        if (list.at(i).name == name)
            return i;
    }
    return -1;
}

bool ZipArchive::extract(int index, QByteArray *contents) const
{
    if (!source || index < 0 || index >= list.size())
        return false;
    const Entry &entry = list.at(index);
    if (entry.size > MaxExtractSize || entry.compressedSize > MaxExtractSize)
        return false;
    if (!source->seek(entry.localOffset))
        return false;
    const QByteArray local = source->read(LocalSize);
    if (local.size() != LocalSize || u32(local.constData()) != LocalSignature)
        return false;
    const qint64 dataStart = qint64(entry.localOffset) + LocalSize + u16(local.constData() + 26) + u16(local.constData() + 28);
    if (!source->seek(dataStart))
        return false;
    const QByteArray raw = source->read(entry.compressedSize);
    if (raw.size() != int(entry.compressedSize))
        return false;
    if (entry.method == 0) {
        *contents = raw;
        return entry.size == entry.compressedSize;
    }
    return entry.method == 8 && inflateRaw(raw, entry.size, contents);
}
