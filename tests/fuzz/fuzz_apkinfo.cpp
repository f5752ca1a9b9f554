// An APK handed to devicesim's package manager: the zip directory and entries, the binary
// manifest and the PKCS#7 signature block, each also fed the raw input directly.

#include "apkinfo.h"
#include "fuzzsupport.h"
#include "ziparchive.h"

#include <QBuffer>

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzSupport::silenceLog();
    QByteArray input(reinterpret_cast<const char *>(data), static_cast<int>(size));
    QBuffer device(&input);
    device.open(QIODevice::ReadOnly);
    ApkInfo info;
    QString failure;
    ApkInfo::read(&device, &info, &failure);
    ZipArchive archive;
    if (archive.open(&device)) {
        QByteArray contents;
        for (int i = 0; i < archive.entries().size() && i < 64; ++i)
            archive.extract(i, &contents);
    }
    ApkInfo::manifestPackage(input);
    ApkInfo::firstCertificate(input);
    return 0;
}
