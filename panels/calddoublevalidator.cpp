#include "calddoublevalidator.h"

CaldDoubleValidator::CaldDoubleValidator(int decimals, QObject *parent, double bottom, double top)
    : QDoubleValidator(bottom, top, decimals, parent)
{
}

QValidator::State CaldDoubleValidator::check(QString &input, int &pos) const
{
    const State state = QDoubleValidator::validate(input, pos);
    if (state != Intermediate)
        return state;
    // Only the beginnings of a number may stay unfinished; anything else the base calls
    // intermediate is out of range and must not be typed at all.
    if (input.isEmpty() || input == QLatin1String(".") || input == QLatin1String("-") || input == QLatin1String(",")
        || input.endsWith(QLatin1Char('e')))
        return Intermediate;
    return Invalid;
}

QValidator::State CaldDoubleValidator::validate(QString &input, int &pos) const
{
    QString withComma = input;
    withComma.replace(QLatin1Char('.'), QLatin1Char(','));
    State state = check(withComma, pos);
    if (state != Invalid) {
        input = withComma;
        return state;
    }
    QString withPoint = input;
    withPoint.replace(QLatin1Char(','), QLatin1Char('.'));
    state = check(withPoint, pos);
    if (state != Invalid)
        input = withPoint;
    return state;
}
