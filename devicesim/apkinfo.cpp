#include "apkinfo.h"

#include "ziparchive.h"

#include <QCryptographicHash>
#include <QStringList>
#include <QtEndian>

namespace {

constexpr quint16 XmlStringPool = 0x0001;
constexpr quint16 XmlStartElement = 0x0102;
constexpr quint32 NoIndex = 0xffffffffu;
constexpr quint8 TypeString = 0x03;

quint16 u16(const QByteArray &bytes, int at) { return qFromLittleEndian<quint16>(bytes.constData() + at); }
quint32 u32(const QByteArray &bytes, int at) { return qFromLittleEndian<quint32>(bytes.constData() + at); }

bool fits(const QByteArray &bytes, qint64 at, qint64 size)
{
    return at >= 0 && size >= 0 && at + size <= bytes.size();
}

// The strings of a string pool chunk that starts at chunk and is size bytes long.
QStringList readStringPool(const QByteArray &xml, int chunk, int size)
{
    QStringList strings;
    if (size < 28)
        return strings;
    const quint32 count = u32(xml, chunk + 8);
    const bool utf8 = u32(xml, chunk + 16) & 0x100;
    const quint32 start = u32(xml, chunk + 20);
    const int headerSize = u16(xml, chunk + 2);
    if (count > 65536 || !fits(xml, chunk + qint64(headerSize), qint64(count) * 4))
        return strings;
    for (quint32 i = 0; i < count; ++i) {
        const qint64 at = chunk + qint64(start) + u32(xml, chunk + headerSize + int(i) * 4);
        QString text;
        if (utf8 && fits(xml, at, 2)) {
            qint64 p = at + ((quint8(xml.at(int(at))) & 0x80) ? 2 : 1); // the length in UTF-16 units
            if (!fits(xml, p, 2))
                break;
            int length = quint8(xml.at(int(p)));
            if (length & 0x80) {
                length = ((length & 0x7f) << 8) | quint8(xml.at(int(p + 1)));
                ++p;
            }
            ++p;
            if (fits(xml, p, length))
                text = QString::fromUtf8(xml.constData() + p, length);
        } else if (!utf8 && fits(xml, at, 2)) {
            qint64 p = at + 2;
            int length = u16(xml, int(at));
            if (length & 0x8000) {
                if (!fits(xml, at, 4))
                    break;
                length = ((length & 0x7fff) << 16) | u16(xml, int(at + 2));
                p += 2;
            }
            if (fits(xml, p, qint64(length) * 2)) {
                for (int c = 0; c < length; ++c)
                    text += QChar(u16(xml, int(p + 2 * c)));
            }
        }
        strings << text;
    }
    return strings;
}

// One DER element at offset: its tag, where its contents start and how long they are.
bool derElement(const QByteArray &der, int offset, quint8 *tag, int *contents, int *length)
{
    if (!fits(der, offset, 2))
        return false;
    *tag = quint8(der.at(offset));
    int at = offset + 1;
    int first = quint8(der.at(at++));
    qint64 size = first;
    if (first & 0x80) {
        const int bytes = first & 0x7f;
        if (bytes == 0 || bytes > 4 || !fits(der, at, bytes))
            return false;
        size = 0;
        for (int i = 0; i < bytes; ++i)
            size = (size << 8) | quint8(der.at(at++));
    }
    if (!fits(der, at, size))
        return false;
    *contents = at;
    *length = int(size);
    return true;
}

} // namespace

QString ApkInfo::manifestPackage(const QByteArray &xml)
{
    if (xml.size() < 8 || u16(xml, 0) != 0x0003)
        return QString();
    QStringList strings;
    int at = u16(xml, 2);
    while (fits(xml, at, 8)) {
        const quint16 type = u16(xml, at);
        const quint32 size = u32(xml, at + 4);
        if (size < 8 || !fits(xml, at, size))
            return QString();
        if (type == XmlStringPool) {
            strings = readStringPool(xml, at, int(size));
        } else if (type == XmlStartElement && size >= 36) {
            const int headerSize = u16(xml, at + 2);
            const int body = at + headerSize;
            if (!fits(xml, body, 20))
                return QString();
            const int attributeStart = u16(xml, body + 8);
            const int attributeSize = u16(xml, body + 10);
            const int attributeCount = u16(xml, body + 12);
            for (int i = 0; i < attributeCount && attributeSize >= 20; ++i) {
                const qint64 offset = body + attributeStart + qint64(i) * attributeSize;
                if (!fits(xml, offset, 20) || offset + 20 > at + qint64(size))
                    return QString();
                const int attribute = int(offset);
                const quint32 name = u32(xml, attribute + 4);
                if (name >= quint32(strings.size()) || strings.at(int(name)) != QLatin1String("package"))
                    continue;
                quint32 value = u32(xml, attribute + 8);
                if (value == NoIndex && quint8(xml.at(attribute + 15)) == TypeString)
                    value = u32(xml, attribute + 16);
                return value < quint32(strings.size()) ? strings.at(int(value)) : QString();
            }
            return QString(); // only the first element, <manifest>, is of interest
        }
        at += int(size);
    }
    return QString();
}

QByteArray ApkInfo::firstCertificate(const QByteArray &pkcs7)
{
    // ContentInfo { OID, [0] { SignedData { version, digests, content, [0] certificates } } }
    quint8 tag = 0;
    int contents = 0;
    int length = 0;
    if (!derElement(pkcs7, 0, &tag, &contents, &length) || tag != 0x30)
        return QByteArray();
    int next = contents;
    if (!derElement(pkcs7, next, &tag, &contents, &length) || tag != 0x06)
        return QByteArray();
    next = contents + length;
    if (!derElement(pkcs7, next, &tag, &contents, &length) || tag != 0xa0)
        return QByteArray();
    if (!derElement(pkcs7, contents, &tag, &contents, &length) || tag != 0x30)
        return QByteArray();
    const int signedEnd = contents + length;
    next = contents;
    while (next < signedEnd && derElement(pkcs7, next, &tag, &contents, &length)) {
        if (tag == 0xa0) {
            const int certificate = contents;
            if (!derElement(pkcs7, certificate, &tag, &contents, &length) || tag != 0x30)
                return QByteArray();
            return pkcs7.mid(certificate, contents + length - certificate);
        }
        next = contents + length;
    }
    return QByteArray();
}

bool ApkInfo::read(QIODevice *device, ApkInfo *info, QString *failure)
{
    ZipArchive archive;
    QByteArray manifest;
    if (!archive.open(device) || !archive.extract(archive.find("AndroidManifest.xml"), &manifest)) {
        *failure = QStringLiteral("INSTALL_PARSE_FAILED_NOT_APK");
        return false;
    }
    info->packageName = manifestPackage(manifest);
    if (info->packageName.isEmpty()) {
        *failure = QStringLiteral("INSTALL_PARSE_FAILED_MANIFEST_MALFORMED");
        return false;
    }
    for (int i = 0; i < archive.entries().size(); ++i) {
        const QByteArray name = archive.entries().at(i).name.toUpper();
        if (!name.startsWith("META-INF/")
            || !(name.endsWith(".RSA") || name.endsWith(".DSA") || name.endsWith(".EC")))
            continue;
        QByteArray signature;
        const QByteArray certificate = archive.extract(i, &signature) ? firstCertificate(signature) : QByteArray();
        if (!certificate.isEmpty()) {
            info->certificateDigest = QCryptographicHash::hash(certificate, QCryptographicHash::Sha256).toHex();
            return true;
        }
    }
    *failure = QStringLiteral("INSTALL_PARSE_FAILED_NO_CERTIFICATES");
    return false;
}
