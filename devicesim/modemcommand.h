#pragma once

#include <QString>

// One line for the simulated modem, as the player's baseband commands send it:
//   "gsm call NUMBER"             an incoming call from NUMBER rings
//   "sms sendb64 NUMBER BASE64"   an incoming text message, its UTF-8 in Base64
// parse() refuses what a modem would not take: an unknown command, a number that is not
// 1 to 20 digits with an optional leading "+", Base64 that is not strict, a text that is
// empty, not UTF-8 or longer than MaxTextBytes.
class ModemCommand
{
public:
    enum class Kind { Invalid, Call, Sms };

    static constexpr int MaxLineBytes = 4096;
    static constexpr int MaxTextBytes = 2048;
    static constexpr int MaxNumberDigits = 20;

    // The line without its line feed; on refusal kind() is Invalid and reason() tells why.
    static ModemCommand parse(const QString &line);

    Kind kind() const { return type; }
    QString number() const { return caller; }
    QString text() const { return message; }
    QString reason() const { return refusal; }

private:
    static ModemCommand refused(const QString &why);

    Kind type = Kind::Invalid;
    QString caller;
    QString message;
    QString refusal;
};
