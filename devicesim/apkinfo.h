#pragma once

#include <QByteArray>
#include <QString>

class QIODevice;

// What the package manager needs of an APK: the package name from the binary
// AndroidManifest.xml and the signing certificate of its JAR signature (the first
// certificate of META-INF/*.RSA, *.DSA or *.EC), as a SHA-256 digest.
struct ApkInfo
{
    QString packageName;
    QByteArray certificateDigest; // hex

    // Fills info; false with the package manager's failure word ("INSTALL_PARSE_FAILED_NOT_APK",
    // "INSTALL_PARSE_FAILED_NO_CERTIFICATES", ...) otherwise.
    static bool read(QIODevice *device, ApkInfo *info, QString *failure);
    // The "package" attribute of the first element of a binary XML document; empty if none.
    static QString manifestPackage(const QByteArray &binaryXml);
    // The DER bytes of the first certificate of a PKCS#7 SignedData; empty if none.
    static QByteArray firstCertificate(const QByteArray &pkcs7);
};
