#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

// Debian's nginx on the test's own loopback address with a generated configuration, for
// the download tests. The document root is root(); besides plain files it serves:
//   /noranges/<f>  the file of /files/<f> without byte ranges (no Accept-Ranges, Range ignored)
//   /moved/<f>     302 to /files/<f>;   /moved301/<f>  301 to /files/<f>
//   /loop/a, /loop/b  302 to each other
//   /slow/<f>      /files/<f> at 512 KB/s
// With TLS enabled the same files are served over HTTPS on tlsPort(), under a self-signed
// certificate for the loopback address (certificatePath()). proxyUrl() is a forward HTTP
// proxy that sends every request to the plain server, whatever host it names.
class NginxServer
{
public:
    NginxServer();
    ~NginxServer();

    static QString executable();
    // Writes size bytes in which every 8 hold their own offset: a byte lost or doubled
    // anywhere in a copy changes its hash.
    static bool writePattern(const QString &path, qint64 size);
    bool isValid() const { return m_dir.isValid(); }
    QString root() const { return m_dir.filePath(QStringLiteral("www")); }
    quint16 port() const { return m_port; }
    QString url(const QString &path) const;
    QString host() const;

    // Makes the certificate with openssl; call before start().
    bool enableTls();
    QString certificatePath() const { return m_dir.filePath(QStringLiteral("cert.pem")); }
    QString tlsUrl(const QString &path) const;
    quint16 proxyPort() const { return m_proxyPort; }

    // Starts (again, on the same port) and waits until it accepts connections.
    bool start();
    // Kills the server at once, as a crash or a pulled cable would.
    void kill();

private:
    QTemporaryDir m_dir;
    quint16 m_port = 0;
    quint16 m_tlsPort = 0;   // 0 until enableTls()
    quint16 m_proxyPort = 0;
    QProcess m_process;
};
