#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>

class QIODevice;

// The central directory of a zip file and the contents of its entries (stored or deflated),
// read from any device. Every size is bounded before it is used: a damaged or hostile
// archive fails to open or to extract, it never makes this read more than the limits.
class ZipArchive
{
public:
    static constexpr int MaxEntries = 65535;
    static constexpr quint32 MaxDirectorySize = 16 * 1024 * 1024;
    static constexpr quint32 MaxExtractSize = 16 * 1024 * 1024;

    struct Entry
    {
        QByteArray name;
        quint16 method = 0;
        quint32 compressedSize = 0;
        quint32 size = 0;
        quint32 localOffset = 0;
        QDateTime modified;
    };

    // Reads the central directory; false with the reason when it is not a readable zip.
    bool open(QIODevice *device, QString *error = nullptr);
    const QList<Entry> &entries() const { return list; }
    // Index of the entry of that exact name, or -1.
    int find(const QByteArray &name) const;
    // The entry's uncompressed bytes; false for an unknown method, a size over
    // MaxExtractSize or damaged data.
    bool extract(int index, QByteArray *contents) const;

private:
    QIODevice *source = nullptr;
    QList<Entry> list;
};
