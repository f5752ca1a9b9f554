#include "passwordkeyring.h"

#include <qt5keychain/keychain.h>

#include <QEventLoop>
#include <QMutex>
#include <QMutexLocker>
#include <QTimer>

namespace {

const char Service[] = "Calderwick Player";
const char Key[] = "cloud.password";

QMutex errorMutex;
QString lastError; // guarded by errorMutex

// Runs a job (which deletes itself when it ends, even after our wait gave up on it) and
// gives its outcome; password receives what a read found.
PasswordKeyring::Result run(QKeychain::Job *job, QString *password = nullptr)
{
    job->setAutoDelete(true);
    job->setInsecureFallback(false); // a plain-text copy is exactly what the keyring avoids
    job->setKey(QLatin1String(Key));
    QEventLoop loop;
    QTimer limit;
    limit.setSingleShot(true);
    QObject::connect(&limit, &QTimer::timeout, &loop, &QEventLoop::quit);
    PasswordKeyring::Result result = PasswordKeyring::Unavailable;
    QString error = QStringLiteral("no answer in time");
    bool ended = false;
    QObject::connect(job, &QKeychain::Job::finished, &loop, [&](QKeychain::Job *done) {
        ended = true;
        error = done->errorString();
        if (done->error() == QKeychain::NoError) {
            result = PasswordKeyring::Done;
            if (auto *reader = qobject_cast<QKeychain::ReadPasswordJob *>(done); reader && password)
                *password = reader->textData();
        } else if (done->error() == QKeychain::EntryNotFound) {
            result = PasswordKeyring::NotFound;
        }
        loop.quit();
    });
    job->start();
    limit.start(PasswordKeyring::TimeoutMs);
    while (!ended && limit.isActive()) {
        if (loop.exec() < 0)
            break;
    }
    if (result == PasswordKeyring::Unavailable) {
        QMutexLocker lock(&errorMutex);
        lastError = error;
    }
    return result;
}

} // namespace

PasswordKeyring::Result PasswordKeyring::write(const QString &password)
{
    auto *job = new QKeychain::WritePasswordJob(QLatin1String(Service));
    job->setTextData(password);
    return run(job);
}

PasswordKeyring::Result PasswordKeyring::read(QString &password)
{
    return run(new QKeychain::ReadPasswordJob(QLatin1String(Service)), &password);
}

PasswordKeyring::Result PasswordKeyring::remove()
{
    return run(new QKeychain::DeletePasswordJob(QLatin1String(Service)));
}

QString PasswordKeyring::errorText()
{
    QMutexLocker lock(&errorMutex);
    return lastError;
}
