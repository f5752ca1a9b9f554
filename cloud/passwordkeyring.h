#pragma once

#include <QString>

// The cloud password in the desktop's keyring (Secret Service or KWallet, through QtKeychain).
// Every call blocks its caller, with a local event loop, for at most TimeoutMs.
class PasswordKeyring
{
public:
    enum Result { Done, NotFound, Unavailable };
    static constexpr int TimeoutMs = 10000;

    // Unavailable: no keyring answered, or it refused; errorText() tells why.
    static Result write(const QString &password);
    static Result read(QString &password);
    static Result remove();
    // The keyring's words for the last Unavailable, for the log.
    static QString errorText();
};
