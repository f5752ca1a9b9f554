#include "nginxserver.h"

#include "testenvironment.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QProcess>
#include <QFile>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>
#include <QVector>

NginxServer::NginxServer()
{
    QDir(m_dir.path()).mkpath(QStringLiteral("www/files"));
    QDir(m_dir.path()).mkpath(QStringLiteral("tmp"));
    // A free port on this test's own loopback address, kept for restarts: no other test
    // run can take it while the server is down.
    QTcpServer probe, proxyProbe;
    if (probe.listen(QHostAddress(host())) && proxyProbe.listen(QHostAddress(host()))) {
        m_port = probe.serverPort();
        m_proxyPort = proxyProbe.serverPort();
    }
}

QString NginxServer::host() const
{
    return TestEnvironment::loopback(2);
}

bool NginxServer::enableTls()
{
    QTcpServer probe;
    if (!probe.listen(QHostAddress(host())))
        return false;
    QProcess openssl;
    openssl.setStandardOutputFile(QProcess::nullDevice());
    openssl.setStandardErrorFile(QProcess::nullDevice());
    openssl.start(
        QStringLiteral("openssl"),
        {"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj", "/CN=" + host(), "-addext",
         "subjectAltName=IP:" + host(), "-keyout", m_dir.filePath(QStringLiteral("key.pem")), "-out", certificatePath()});
    if (!openssl.waitForFinished(30000) || openssl.exitCode() != 0)
        return false;
    m_tlsPort = probe.serverPort();
    return true;
}

QString NginxServer::tlsUrl(const QString &path) const
{
    return QStringLiteral("https://%1:%2%3").arg(host()).arg(m_tlsPort).arg(path);
}

NginxServer::~NginxServer()
{
    kill();
}

QString NginxServer::executable()
{
    return QStandardPaths::findExecutable(QStringLiteral("nginx"), {"/usr/sbin", "/usr/bin", "/sbin"});
}

QString NginxServer::url(const QString &path) const
{
    return QStringLiteral("http://%1:%2%3").arg(host()).arg(m_port).arg(path);
}

bool NginxServer::start()
{
    const QString d = m_dir.path();
    const QString config = QStringLiteral(
        "daemon off; master_process off; worker_processes 1;\n"
        "pid %1/nginx.pid; error_log %1/error.log;\n"
        "events { worker_connections 256; }\n"
        "http {\n"
        "  access_log off; default_type application/octet-stream; sendfile on;\n"
        "  client_body_temp_path %1/tmp; proxy_temp_path %1/tmp; fastcgi_temp_path %1/tmp;\n"
        "  uwsgi_temp_path %1/tmp; scgi_temp_path %1/tmp;\n"
        "  server {\n"
        "    listen %3:%2; root %1/www;\n"
        "    location /noranges/ { alias %1/www/files/; max_ranges 0; }\n"
        "    location /slow/ { alias %1/www/files/; limit_rate 512k; }\n"
        "    location /moved/ { rewrite ^/moved/(.*)$ /files/$1 redirect; }\n"
        "    location /moved301/ { rewrite ^/moved301/(.*)$ /files/$1 permanent; }\n"
        "    location = /loop/a { return 302 /loop/b; }\n"
        "    location = /loop/b { return 302 /loop/a; }\n"
        "%4"
        "  }\n"
        "  server { listen %3:%5; location / { proxy_pass http://%3:%2; } }\n"
        "}\n").arg(d).arg(m_port).arg(host())
        .arg(m_tlsPort ? QStringLiteral("    listen %1:%2 ssl; ssl_certificate %3/cert.pem; ssl_certificate_key %3/key.pem;\n")
                             .arg(host()).arg(m_tlsPort).arg(d)
                       : QString())
        .arg(m_proxyPort);
    QFile file(m_dir.filePath(QStringLiteral("nginx.conf")));
    if (!file.open(QIODevice::WriteOnly) || file.write(config.toUtf8()) < 0)
        return false;
    file.close();

    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.start(executable(), {"-c", file.fileName(), "-p", d});
    if (!m_process.waitForStarted(5000))
        return false;
    // Ready when it accepts a connection.
    const QDeadlineTimer deadline(5000);
    while (!deadline.hasExpired()) {
        QTcpSocket socket;
        socket.connectToHost(host(), m_port);
        if (socket.waitForConnected(200))
            return true;
        if (m_process.state() != QProcess::Running)
            return false;
        QThread::msleep(20);
    }
    return false;
}

void NginxServer::kill()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.kill();
    m_process.waitForFinished(5000);
}

bool NginxServer::writePattern(const QString &path, qint64 size)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    QVector<qint64> block(128 * 1024);
    for (qint64 offset = 0; offset < size;) {
        for (int i = 0; i < block.size(); ++i)
            block[i] = offset + 8 * i;
        const qint64 n = qMin<qint64>(size - offset, block.size() * 8);
        if (file.write(reinterpret_cast<const char *>(block.constData()), n) != n)
            return false;
        offset += n;
    }
    return true;
}
