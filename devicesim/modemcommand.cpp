#include "modemcommand.h"

#include <QByteArray>
#include <QStringList>
#include <QTextCodec>

namespace {

bool isPhoneNumber(const QString &number)
{
    const int start = number.startsWith(QLatin1Char('+')) ? 1 : 0;
    const int digits = number.size() - start;
    if (digits < 1 || digits > ModemCommand::MaxNumberDigits)
        return false;
    for (int i = start; i < number.size(); ++i) {
        const ushort c = number.at(i).unicode();
        if (c < '0' || c > '9')
            return false;
    }
    return true;
}

// Only the standard alphabet with its padding: QByteArray::fromBase64 skips what it does not
// know, which would let a damaged text through as another message.
bool isStrictBase64(const QString &text)
{
    if (text.isEmpty() || text.size() % 4 != 0)
        return false;
    int padding = 0;
    for (int i = 0; i < text.size(); ++i) {
        const ushort c = text.at(i).unicode();
        if (c == '=') {
            ++padding;
            continue;
        }
        const bool alphabet = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+'
                              || c == '/';
        if (!alphabet || padding > 0)
            return false;
    }
    return padding <= 2;
}

bool decodeUtf8(const QByteArray &bytes, QString &text)
{
    QTextCodec::ConverterState state(QTextCodec::ConvertInvalidToNull);
    text = QTextCodec::codecForName("UTF-8")->toUnicode(bytes.constData(), bytes.size(), &state);
    return state.invalidChars == 0 && state.remainingChars == 0;
}

} // namespace

ModemCommand ModemCommand::refused(const QString &why)
{
    ModemCommand command;
    command.refusal = why;
    return command;
}

ModemCommand ModemCommand::parse(const QString &line)
{
    if (line.size() > MaxLineBytes)
        return refused(QStringLiteral("a modem command of %1 characters is too long").arg(line.size()));
    const QStringList words = line.split(QLatin1Char(' '));
    const QString verb = words.mid(0, 2).join(QLatin1Char(' '));
    const bool call = verb == QLatin1String("gsm call");
    const bool sms = verb == QLatin1String("sms sendb64");
    if (!call && !sms)
        return refused(QStringLiteral("unknown modem command \"%1\"").arg(verb.left(40)));
    if (words.size() != (call ? 3 : 4))
        return refused(QStringLiteral("\"%1\" takes %2").arg(verb, call ? QStringLiteral("a number")
                                                                         : QStringLiteral("a number and a text")));
    const QString &number = words.at(2);
    if (!isPhoneNumber(number))
        return refused(QStringLiteral("bad number \"%1\"").arg(number.left(40)));

    ModemCommand command;
    command.caller = number;
    if (call) {
        command.type = Kind::Call;
        return command;
    }
    const QString &encoded = words.at(3);
    if (encoded.isEmpty())
        return refused(QStringLiteral("empty text message"));
    if (!isStrictBase64(encoded))
        return refused(QStringLiteral("the text is not Base64"));
    const QByteArray bytes = QByteArray::fromBase64(encoded.toLatin1());
    if (bytes.isEmpty())
        return refused(QStringLiteral("empty text message"));
    if (bytes.size() > MaxTextBytes)
        return refused(QStringLiteral("a text message of %1 bytes is longer than %2").arg(bytes.size()).arg(MaxTextBytes));
    if (!decodeUtf8(bytes, command.message))
        return refused(QStringLiteral("the text is not UTF-8"));
    command.type = Kind::Sms;
    return command;
}
